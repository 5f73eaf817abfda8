#pragma once

namespace kt {

/// How the page looks, light or dark as the reader's system has it, and on paper.
inline constexpr const char* kPageStyle = R"css(
:root {
  --page: #f6f7f8; --card: #fff; --text: #1c2228; --dim: #5d6873; --line: #dfe3e7; --soft: #eef1f4;
  --bad: #b3261e; --bad-soft: #fdecea; --link: #1d5fa8;
  --t1: #2468b4; --t2: #c25a0e; --t3: #2b7f55; --t4: #8a4bb0; --t5: #b03456; --t6: #56707f;
}
@media (prefers-color-scheme: dark) {
  :root {
    --page: #14181c; --card: #1c2228; --text: #e4e8eb; --dim: #98a4af; --line: #323b44; --soft: #262e36;
    --bad: #ff8a80; --bad-soft: #3b2020; --link: #7db7f2;
    --t1: #6aaeec; --t2: #f29a55; --t3: #62c08f; --t4: #c192e2; --t5: #ee8aa3; --t6: #94b0c0;
  }
}
* { box-sizing: border-box; }
body {
  margin: 0 auto; padding: 1.5rem clamp(.8rem, 3vw, 2.5rem); max-width: 76rem;
  background: var(--page); color: var(--text); font: 15px/1.5 system-ui, sans-serif;
}
h1 { margin: 0; font-size: 1.5rem; line-height: 1.25; overflow-wrap: anywhere; }
h2 { margin: 2.2rem 0 .7rem; font-size: 1.15rem; }
h3 { margin: 0 0 .5rem; font-size: 1rem; }
p { margin: .4rem 0; }
a { color: var(--link); }
code, td, th, dd { unicode-bidi: isolate; overflow-wrap: anywhere; }
code, td, .num { font-family: ui-monospace, "DejaVu Sans Mono", monospace; font-size: .9em; }
.dim, footer, .axis, figcaption { color: var(--dim); }
nav { margin: .9rem 0 0; display: flex; flex-wrap: wrap; gap: .3rem 1.1rem; }
.glance { display: flex; flex-wrap: wrap; gap: .2rem 1.6rem; margin: .5rem 0 0; color: var(--dim); }
.glance b { color: var(--text); font-weight: 600; }
.card { background: var(--card); border: 1px solid var(--line); border-radius: 8px; padding: .9rem 1.1rem; }
.card + .card, .cards + .card, figure.card { margin-top: .9rem; }
.cards > .card { margin-top: 0; }
.cards { display: grid; grid-template-columns: repeat(auto-fit, minmax(min(21rem, 100%), 1fr)); gap: .9rem; }
.bad { border-color: var(--bad); background: var(--bad-soft); margin-top: 1rem; }
.bad b:first-child { color: var(--bad); }
.note { border-left: 4px solid var(--t2); margin-top: .8rem; }
.key { display: inline-block; width: .75em; height: .75em; border-radius: 2px; background: var(--c); margin-right: .45em; }
.t1 { --c: var(--t1); } .t2 { --c: var(--t2); } .t3 { --c: var(--t3); }
.t4 { --c: var(--t4); } .t5 { --c: var(--t5); } .t6 { --c: var(--t6); }
ol { margin: 0; padding-left: 1.5rem; }
dl { display: grid; grid-template-columns: minmax(6rem, max-content) 1fr; gap: .1rem .9rem; margin: 0; }
dt { color: var(--dim); } dd { margin: 0; min-width: 0; }
figure { margin: 0; }
figcaption { margin-top: .35rem; font-size: .92em; }
.plot { position: relative; border-bottom: 1px solid var(--line); margin-top: 1.5rem; }
.plot svg { display: block; width: 100%; height: 7.5rem; overflow: visible; }
.plot.tall svg { height: 15rem; }
.plot .top { position: absolute; left: 0; top: -1.35rem; font-size: .82em; color: var(--dim); }
.axis { display: flex; justify-content: space-between; font-size: .82em; margin-top: .15rem; }
.area { fill: var(--c); fill-opacity: .28; stroke: var(--c); stroke-width: 1.5; vector-effect: non-scaling-stroke; stroke-linejoin: round; }
.mean { stroke: var(--text); stroke-width: 1; stroke-dasharray: 4 4; vector-effect: non-scaling-stroke; opacity: .6; }
.grid { stroke: var(--line); stroke-width: 1; vector-effect: non-scaling-stroke; }
.line { fill: none; stroke: var(--c); stroke-width: 2; vector-effect: non-scaling-stroke; }
.plot svg.syncs { height: .7rem; margin-top: .2rem; }
.syncs path { stroke: var(--c); stroke-width: 1; vector-effect: non-scaling-stroke; }
.bars { display: flex; align-items: flex-end; gap: 2px; height: 8rem; border-bottom: 1px solid var(--line); margin-top: .5rem; }
.bars div { flex: 1; display: flex; flex-direction: column; justify-content: flex-end; height: 100%; min-width: 0; }
.bars i { display: block; background: var(--c); opacity: .55; }
.bars i:first-child { border-radius: 3px 3px 0 0; }
.bars i.sync { opacity: 1; border-radius: 0; }
.under { display: flex; gap: 2px; font-size: .75em; color: var(--dim); }
.under span { flex: 1; text-align: left; min-width: 0; white-space: nowrap; overflow: visible; }
.map { display: flex; height: 1.5rem; border-radius: 4px; overflow: hidden; background: var(--soft); margin: .4rem 0; }
.map span { min-width: 2px; border-right: 1px solid var(--card); background: var(--t6); }
.map .b-moov, .map .b-moof { background: var(--t4); } .map .b-mdat { background: var(--t1); } .map .b-ftyp { background: var(--t3); }
.map .b-free, .map .b-skip { background: var(--line); } .map .b-lost { background: var(--bad); }
.legend { display: flex; flex-wrap: wrap; gap: .15rem 1.2rem; font-size: .92em; }
.scroll { overflow: auto; max-width: 100%; max-height: 24rem; }
table { border-collapse: collapse; margin: .3rem 0; }
th { text-align: left; font-weight: 500; color: var(--dim); font-size: .88em; }
th, td { padding: .1rem 1.1rem .1rem 0; vertical-align: top; white-space: pre-wrap; }
tr + tr td { border-top: 1px solid var(--soft); }
td.more { color: var(--dim); font-style: italic; }
details > summary { cursor: pointer; }
:focus-visible { outline: 2px solid var(--link); outline-offset: 2px; border-radius: 3px; }
.tree { font-size: .95em; }
.tree details, .tree .leaf { border-left: 1px solid var(--line); padding-left: .7rem; margin-left: .3rem; }
.tree > details, .tree > .leaf { border-left: 0; padding-left: 0; margin-left: 0; }
.tree .leaf { padding-left: 1.75rem; }
.tree > .leaf { padding-left: 1.05rem; }
.tree summary, .tree .leaf { display: list-item; padding-top: .08rem; padding-bottom: .08rem; }
.tree .leaf { list-style: none; }
.tree summary:hover { background: var(--soft); }
.tree code { font-weight: 600; font-size: 1em; margin-right: .5em; white-space: pre; }
.tree .num { color: var(--dim); margin-right: .7em; white-space: nowrap; }
.tree .in { margin: .2rem 0 .5rem 1.1rem; }
.tree .broken > summary, .tree .leaf.broken { background: var(--bad-soft); color: var(--bad); }
.fault { color: var(--bad); margin-left: 1.1rem; }
footer { margin-top: 2.5rem; padding-top: .8rem; border-top: 1px solid var(--line); font-size: .88em; }
@media (max-width: 36rem) { .axis span:nth-child(even) { display: none; } }
@media print { body { max-width: none; background: #fff; } nav { display: none; } .card { break-inside: avoid; } }
)css";

}  // namespace kt

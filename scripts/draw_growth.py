#!/usr/bin/env python3
"""draw_growth.py JSON SVG: draws the growth table of `ktmp4_bench --json=JSON`, one panel for each kind of row.

Both axes are logarithmic: what grows with the length of the film climbs as steeply as the dotted line, what does
not lies flat.
"""
import json
import math
import sys

PANEL_WIDTH, PANEL_HEIGHT, PANELS_IN_ROW = 400, 210, 2
LEFT, RIGHT, TOP, BOTTOM = 64, 24, 44, 40
STYLE = """
text { font: 13px sans-serif; fill: #24292f; stroke: none } .title { font-weight: bold } .number { font-size: 11px }
.axis { stroke: #8c959f } .slope { stroke: #8c959f; stroke-dasharray: 2 4 } polyline { stroke-width: 2.5 }
.ours { stroke: #0969da } .theirs { stroke: #bc4c00 } .ours-name { fill: #0969da } .theirs-name { fill: #bc4c00 }
@media (prefers-color-scheme: dark) {
  text { fill: #e6edf3 } .ours { stroke: #58a6ff } .theirs { stroke: #f0883e }
  .ours-name { fill: #58a6ff } .theirs-name { fill: #f0883e }
}
"""


def read_panels(path):
    """What is drawn: {title: (unit, [(seconds, ours, theirs), ...])}, and the names of both sides."""
    with open(path, encoding="utf-8") as file:
        table = next(table for table in json.load(file) if table["table"] == "growth")
    panels = {}
    for row in table["rows"]:
        title, length = row["row"].rsplit(", ", 1)
        unit, points = panels.setdefault(title, (row["unit"], []))
        points.append((float(length.removesuffix(" s")), *row["values"]))
    return panels, table["columns"]


def length_text(seconds):
    for unit, size in (("h", 3600), ("min", 60)):
        if seconds >= size:
            return f"{seconds / size:g} {unit}"
    return f"{seconds:g} s"


def text(x, y, words, kind="", anchor="start"):
    return f'<text x="{x:.1f}" y="{y:.1f}" class="{kind}" text-anchor="{anchor}">{words}</text>'


def line(x1, y1, x2, y2, kind):
    return f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" class="{kind}"/>'


def draw_panel(x, y, title, unit, points, names):
    lengths = [math.log10(seconds) for seconds, _, _ in points]
    costs = [value for _, *values in points for value in values]
    low, high = math.floor(math.log10(min(costs))), math.ceil(math.log10(max(costs)))
    high = max(high, low + 2)
    left, right, top, bottom = x + LEFT, x + PANEL_WIDTH - RIGHT, y + TOP, y + PANEL_HEIGHT - BOTTOM

    def at(length, cost):
        across = (length - lengths[0]) / (lengths[-1] - lengths[0])
        up = (cost - low) / (high - low)
        return left + across * (right - left), bottom - up * (bottom - top)

    parts = [text(x + 16, y + 22, f"{title}, {unit}", "title")]
    for power in range(low, high + 1):
        _, height = at(lengths[0], power)
        parts += [line(left - 4, height, left, height, "axis"),
                  text(left - 8, height + 4, f"{10.0 ** power:g}", "number", "end")]
    parts += [line(left, top, left, bottom, "axis"), line(left, bottom, right, bottom, "axis")]
    for seconds, _, _ in points:
        across, _ = at(math.log10(seconds), low)
        parts += [line(across, bottom, across, bottom + 4, "axis"),
                  text(across, bottom + 18, length_text(seconds), "number", "middle")]
    first, rise = math.log10(points[0][1]), lengths[-1] - lengths[0]
    reach = min(1.0, (high - first) / rise)
    parts.append(line(*at(lengths[0], first), *at(lengths[0] + reach * rise, first + reach * rise), "slope"))
    for column, kind in ((1, "ours"), (2, "theirs")):
        marks = [at(math.log10(point[0]), math.log10(point[column])) for point in points]
        places = " ".join(f"{across:.1f},{height:.1f}" for across, height in marks)
        parts.append(f'<polyline fill="none" class="{kind}" points="{places}"/>')
        above = points[-1][column] >= points[-1][3 - column]
        parts.append(text(right, marks[-1][1] + (-8 if above else 24), names[column - 1], f"{kind}-name", "end"))
    return parts


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__.splitlines()[0])
    panels, names = read_panels(sys.argv[1])
    width = PANELS_IN_ROW * PANEL_WIDTH
    height = math.ceil(len(panels) / PANELS_IN_ROW) * PANEL_HEIGHT
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" width="{width}">',
             f"<style>{STYLE}</style>"]
    for index, (title, (unit, points)) in enumerate(panels.items()):
        row, column = divmod(index, PANELS_IN_ROW)
        parts += draw_panel(column * PANEL_WIDTH, row * PANEL_HEIGHT, title, unit, points, names)
    with open(sys.argv[2], "w", encoding="utf-8") as file:
        file.write("\n".join(parts + ["</svg>"]) + "\n")


main()

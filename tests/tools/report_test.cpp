// The page about a file.

#include "support/movie_builder.h"
#include "tools/program.h"

namespace kt::test {
namespace {

TEST(Report, ShowsWhatIsInAFile) {
  const std::string page = ExpectRun({"report", Media("bframes-aac.mp4")});
  ExpectParts(page,
              {"<title>bframes-aac.mp4</title>", "Track 1: video", "mp4v (MPEG-4 visual", "Track 2: audio",
               "<dd>9 of 100, at most 0.48 s apart", "aria-label=\"bit rate over the time\"",
               "aria-label=\"time over the place in the file\"", "<th>ticks later", "&hellip; 150 more\n",
               "Content-Security-Policy content=\"default-src 'none'; style-src 'unsafe-inline'\""});
  // A table costs the same however long it is.
  const Track track = Track().With(&Track::chunkOffsets, TableBox("stco", 30'000, Bytes().Zeros(120'000)));
  EXPECT_LT(ExpectRun({"report", TempFile(MovieOf(track).Build()).Name()}).size(), 20'000u);
}

// Two edits of which the first delays by 2^54 seconds: a double has no room for a part of one beside them.
TEST(Report, TakesTimesBeyondAllBounds) {
  const Bytes records = Bytes().U64(u64{1} << 54).U64(~u64{0}).U32(0x10000).U64(1).U64(0).U32(0x10000);
  const Bytes edits = FullBox("elst", 1, 0, Bytes().U32(2).Add(records));
  Movie movie = MovieOf(Track().With(&Track::edts, Box("edts", {edits})));
  movie.mvhd = Mvhd(1);
  ExpectParts(ExpectRun({"report", TempFile(movie.Build()).Name()}),
              {"<dt>sync samples<dd>all", "nothing for 18014398509481984.000 s"});
}

// Names, texts and codes of a stranger are no markup.
TEST(Report, TakesNoMarkupFromAFile) {
  const std::string evil = "<script>alert(1)</script>\"'><img src=x onerror=alert(1)>&\x1B\xFF";
  Movie movie = MovieOf(Track().With(&Track::hdlr, Hdlr("vide", evil)));
  movie.udta = Box("udta", {Box("name", Bytes().Text(evil)), Box("<b>\"", {}), Box("free", {})});
  const std::string page = ExpectRun({"report", TempFile(movie.Build()).Name()});
  for (const char* markup : {"<script", "<img", "<b>\"", "\x1B", "\xFF"})
    EXPECT_EQ(page.find(markup), std::string::npos) << markup;
  ExpectParts(page, {"&lt;script&gt;", "&quot;&#39;&gt;&lt;img src=x", "&amp;\\x1B\\xFF",
                     "<code>&lt;b&gt;&quot;</code>"});
}

TEST(Report, ShowsWhichBoxBrokeAFile) {
  const TempFolder folder;
  const std::string file = Media("refused-btrt.mp4"), out = folder / "page.html";
  ExpectRun({"report", file, "-o", out}, 1, {"MP4_CORRUPT"});
  const std::string page = ReadText(out);
  ExpectParts(page,
              {"This file was refused.", "behind &quot;esds&quot;; --adapt may read it", "href=\"#broken\"",
               "class=\"broken\" id=broken open><summary><code>mp4v</code><span class=num>at 2,859"});
  ExpectRun({"report", "--adapt", file, "-o", out}, 1, {"--force"});
  EXPECT_EQ(ReadText(out), page);
  ExpectParts(ExpectRun({"report", "--adapt", file}), {"further boxes of its sample entries are left out"});
}

#ifdef KTMP4_CHROMIUM
// A browser has nothing to complain about, and would complain about what the policy forbids.
TEST(Report, OpensInABrowser) {
  const TempFolder folder;
  const auto console = [&](const std::string& page) {
    WriteFile(folder / "page.html", std::vector<u8>(page.begin(), page.end()));
    const std::string files = ShellWord(folder / "profile") + " " + ShellWord(folder / "page.html");
    const Outcome outcome = RunShell("timeout 60 " KTMP4_CHROMIUM
                                     " --headless --no-sandbox --disable-gpu "
                                     "--enable-logging=stderr --dump-dom --user-data-dir=" +
                                     files);
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_NE(outcome.out.find("</footer>"), std::string::npos) << outcome.out;
    return outcome.err.find("CONSOLE") == std::string::npos ? "" : outcome.err;
  };
  const std::string page = ExpectRun({"report", Media("bframes-aac.mp4")});
  EXPECT_EQ(console(page), "");
  EXPECT_NE(console(page + "<script>alert(1)</script>"), "");
}
#endif

}  // namespace
}  // namespace kt::test

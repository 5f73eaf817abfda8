// Captions of the three modes, read, written and decoded by the program and by ffmpeg, whose code is
// another's work: pairs and rows have to be the same.

#include <cstdio>
#include <set>

#include "support/line21_script.h"
#include "tools/program.h"

namespace kt::test {
namespace {

using Rows = std::vector<std::string>;

// Each behind the second at which it begins.
using Scripts = std::vector<std::pair<u32, std::string>>;

// A Scenarist file: a time code and the pairs as hexadecimal words in each line.
std::string SccText(const Scripts& scripts) {
  std::string text = "Scenarist_SCC V1.0\n";
  char word[32];
  for (const auto& [second, script] : scripts) {
    std::snprintf(word, sizeof word, "\n00:%02u:%02u:00\t", second / 60, second % 60);
    text += word;
    for (const Line21Pair& pair : Line21Pairs(script)) {
      std::snprintf(word, sizeof word, "%02x%02x ", pair[0], pair[1]);
      text += word;
    }
    text += "\n";
  }
  return text;
}

// What ffmpeg makes of a file.
std::string Converted(const std::string& text, const std::string& format, const std::string& options) {
  const TempFile file{Bytes().Text(text)};
  std::string out = ExpectShell(ShellWord(KTMP4_FFMPEG) + " -v error -nostdin -f " + format + " -i " +
                                    ShellWord(file.Name()) + " " + options + " -",
                                0, {});
  std::erase(out, '\r');
  return out;
}

// A line of SubRip text without its marks.
std::string Plain(const std::string& line) {
  std::string plain;
  bool mark = false;
  for (const char letter : line) {
    if (letter == '<' || letter == '{') mark = true;
    if (!mark) plain += letter;
    if (letter == '>' || letter == '}') mark = false;
  }
  return plain;
}

// The rows that the program prints, each behind its time.
Rows PrintedRows(const std::string& out) {
  Rows rows;
  for (const std::string& line : Lines(out)) rows.push_back(line.substr(line.find("  ") + 2));
  return rows;
}

// 1350, 1370, 1450 and 1470 address the rows 12 to 15. In the modes without a buffer the next return or
// address completes a row, so that the last one needs one, too.
const Scripts kRollUp = {{1, "{RU3}{RU3}{CR}{CR}{1470}{1470}>> In other news today"},
                         {3, "{CR}{1470}and a second."},
                         {5, "{CR}{CR}{-}{-}>> Thank you"},
                         {7, "{CR}{CR}{1470}{1470}Back to{-}you."},
                         {9, "{CR}"},
                         {11, "{EDM}{EDM}"}};
const Scripts kPopOn = {
    {1, "{RCL}{RCL}{ENM}{ENM}{1470}{1470}Good morning!{EDM}{EDM}{EOC}{EOC}"},
    {4, "{RCL}{RCL}{ENM}{ENM}{1350}{1350}Three{1370}{1370}rows, one{1450}{1450}below{EDM}{EDM}{EOC}{EOC}"},
    {7, "{EDM}{EDM}"},
    {9, "{RCL}{ENM}{1370}1, 2, 3 & 4{1450}[5 + 6] = 11; $1 @ 50%{EOC}"},
    {12, "{EDM}{EDM}"}};
const Scripts kPaintOn = {{1, "{RDC}{RDC}{1450}{1450}Painted as{1470}{1470}it comes"},
                          {4, "{EDM}{EDM}{RDC}{RDC}{1470}{1470}one row"},
                          {7, "{EDM}{EDM}{1470}"}};

TEST(CaptionPeer, HasTheSamePairsAndRows) {
  const std::tuple<const char*, Scripts, std::size_t> cases[] = {
      {"pop-on", kPopOn, 6}, {"roll-up", kRollUp, 4}, {"paint-on", kPaintOn, 3}};
  for (const auto& [mode, scripts, count] : cases) {
    SCOPED_TRACE(mode);
    const std::string text = SccText(scripts);
    const TempFolder folder;
    const std::string movie = folder / "movie.mp4";
    const std::string theirs = Converted(text, "scc", "-map 0 -c copy -f scc");
    ExpectRun({"add-captions", Media("aac.m4a"), TempFile(Bytes().Text(theirs)).Name(), movie}, 0,
              {"SoundHandler"});
    const std::string packets = "-map 0 -c copy -f framemd5";
    EXPECT_EQ(Converted(ExpectRun({"captions", "--format", "scc", movie}), "scc", packets),
              Converted(theirs, "scc", packets));
    std::set<std::string> theirRows;
    for (const std::string& line : Lines(Converted(text, "scc", "-f srt"))) theirRows.insert(Plain(line));
    const Rows rows = PrintedRows(ExpectRun({"captions", movie}));
    EXPECT_EQ(rows.size(), count);
    for (const std::string& shown : rows) EXPECT_TRUE(theirRows.contains(shown)) << shown;
    const std::string srt = ExpectRun({"captions", "--format", "srt", movie});
    EXPECT_EQ(Converted(srt, "srt", "-f srt"), srt + "\n");
    ExpectParts(srt, rows);
    const std::string vtt = ExpectRun({"captions", "--format", "vtt", movie});
    EXPECT_EQ(Converted(vtt, "webvtt", "-f srt"), srt + "\n");
  }
}

// What is made of subtitles says the same to both.
TEST(CaptionPeer, ReadsTheCaptionsThatSubtitlesBecome) {
  const std::string text =
      "1\n00:00:02,002 --> 00:00:03,003\nGood morning,\n\u00C9milie! \u266A\n\n"
      "2\n00:00:05,005 --> 00:00:06,006\nThis is a row that has to be broken between two words.\n";
  const TempFolder folder;
  const std::string movie = folder / "movie.mp4";
  ExpectRun({"add-captions", Media("aac.m4a"), TempFile(Bytes().Text(text)).Name(), movie}, 0,
            {"SoundHandler"});
  const std::string theirs = Converted(ExpectRun({"captions", "--format", "scc", movie}), "scc", "-f srt");
  ExpectParts(theirs, {"Good morning,", "\u00C9milie! \u266A", "This is a row that has to be",
                       "broken between two words."});
  ExpectParts(ExpectRun({"captions", "--json", movie}),
              {"\"begin\":2.002,\"end\":3.003,\"rows\":[\"Good morning,\",\"Emilie!\"]"});
}

}  // namespace
}  // namespace kt::test

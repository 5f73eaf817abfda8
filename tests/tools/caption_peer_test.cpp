// Captions of the three modes, decoded by the program and by ffmpeg, whose decoder is another's work: the
// rows have to be the same, in the same order.

#include <gtest/gtest.h>

#include <cstdio>
#include <optional>
#include <sstream>

#include "tools/caption_movie.h"
#include "tools/program.h"

namespace kt::test {
namespace {

struct Script {
  u32 second;
  const char* script;
};

/// What the other decoder shows from some time on.
struct Event {
  double start = 0;
  std::vector<std::string> rows;

  friend bool operator==(const Event&, const Event&) = default;
};

struct Row {
  double time = 0;
  std::string text;
};

// A Scenarist file: a time code and the pairs as hexadecimal words in each line.
std::string SccText(const std::vector<Script>& scripts) {
  std::string text = "Scenarist_SCC V1.0\n";
  char word[32];
  for (const Script& line : scripts) {
    std::snprintf(word, sizeof word, "\n00:%02u:%02u:00\t", line.second / 60, line.second % 60);
    text += word;
    for (const Line21Pair& pair : Line21Pairs(line.script)) {
      std::snprintf(word, sizeof word, "%02x%02x ", pair[0], pair[1]);
      text += word;
    }
    text += "\n";
  }
  return text;
}

// What ffmpeg makes of the file, as text or bytes.
std::string Converted(const std::string& file, const std::string& options,
                      const std::string& format = "scc") {
  const Outcome outcome = RunShell(ShellWord(KTMP4_FFMPEG) + " -v error -nostdin -f " + format + " -i " +
                                   ShellWord(file) + " " + options + " -");
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  return outcome.out;
}

// The pairs as ffmpeg has read them: three bytes each, of which the first says that a pair follows.
std::vector<Line21Pair> PairsOf(const std::string& bytes) {
  std::vector<Line21Pair> pairs;
  for (std::size_t i = 0; i + 3 <= bytes.size(); i += 3) {
    EXPECT_EQ(static_cast<u8>(bytes[i]), 0xFC);
    pairs.push_back({static_cast<u8>(bytes[i + 1]), static_cast<u8>(bytes[i + 2])});
  }
  return pairs;
}

// A line of SubRip text without its marks.
std::string Plain(const std::string& line) {
  std::string plain;
  bool mark = false;
  for (const char letter : line) {
    if (letter == '<' || letter == '{') mark = true;
    if (!mark && letter != '\r') plain += letter;
    if (letter == '>' || letter == '}') mark = false;
  }
  return plain;
}

std::vector<Event> Events(const std::string& subRip) {
  std::vector<Event> events;
  bool inText = false;
  for (const std::string& line : Lines(subRip)) {
    unsigned hours = 0, minutes = 0, seconds = 0, thousandths = 0;
    if (std::sscanf(line.c_str(), "%u:%u:%u,%u --> ", &hours, &minutes, &seconds, &thousandths) == 4) {
      events.push_back({hours * 3600 + minutes * 60 + seconds + thousandths / 1000.0, {}});
      inText = true;
    } else if (line.empty()) {
      inText = false;
    } else if (inText) {
      events.back().rows.push_back(Plain(line));
    }
  }
  return events;
}

// The rows that each event brings: those that do not stand in the one before, further down.
std::vector<Row> NewRows(const std::vector<Event>& events) {
  std::vector<Row> rows;
  std::vector<std::string> before;
  for (const Event& event : events) {
    std::size_t kept = std::min(before.size(), event.rows.size());
    while (kept > 0 &&
           !std::equal(before.end() - static_cast<std::ptrdiff_t>(kept), before.end(), event.rows.begin()))
      --kept;
    for (std::size_t i = kept; i < event.rows.size(); ++i) rows.push_back({event.start, event.rows[i]});
    before = event.rows;
  }
  return rows;
}

// The rows that the program prints.
std::vector<Row> PrintedRows(const std::string& out) {
  std::vector<Row> rows;
  for (const std::string& line : Lines(out)) {
    double time = 0;
    if (std::sscanf(line.c_str(), "row at %lf", &time) != 1) continue;
    const std::size_t begin = line.find('"') + 1;
    rows.push_back({time, line.substr(begin, line.size() - 1 - begin)});
  }
  return rows;
}

std::vector<std::string> Texts(const std::vector<Row>& rows) {
  std::vector<std::string> texts;
  for (const Row& row : rows) texts.push_back(row.text);
  return texts;
}

struct Decoded {
  std::vector<Row> here;
  std::vector<Row> there;
};

// Both decoders get the same bytes: those that ffmpeg has read from the Scenarist file.
Decoded DecodeTwice(const std::vector<Script>& scripts) {
  const TempFile scc{Bytes().Text(SccText(scripts))};
  const std::vector<Line21Pair> pairs = PairsOf(Converted(scc.Name(), "-map 0 -c copy -f data"));
  std::vector<CaptionLine> lines;
  auto next = pairs.begin();
  for (const Script& script : scripts) {
    const auto count = static_cast<std::ptrdiff_t>(Line21Pairs(script.script).size());
    if (pairs.end() - next < count) {
      ADD_FAILURE() << "pairs were lost";
      return {};
    }
    lines.push_back({script.second, {next, next + count}});
    next += count;
  }
  EXPECT_EQ(next, pairs.end());
  const TempFile movie(CaptionMovie(lines).Build());
  const Outcome outcome = RunProgram({"play", movie.Name()});
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  return {PrintedRows(outcome.out), NewRows(Events(Converted(scc.Name(), "-f srt")))};
}

void ExpectSameRows(const Decoded& decoded, std::size_t count) {
  EXPECT_EQ(decoded.here.size(), count);
  EXPECT_EQ(Texts(decoded.here), Texts(decoded.there));
}

// 1350, 1370, 1450 and 1470 address the rows 12 to 15.
TEST(CaptionPeer, PopOn) {
  const Decoded decoded = DecodeTwice({
      {1, "{RCL}{RCL}{ENM}{ENM}{1470}{1470}Good morning!{EDM}{EDM}{EOC}{EOC}"},
      {4,
       "{RCL}{RCL}{ENM}{ENM}{1450}{1450}- Where have you been?{1470}{1470}- At "
       "home.{-}{-}{EDM}{EDM}{EOC}{EOC}"},
      {7,
       "{RCL}{RCL}{ENM}{ENM}{1350}{1350}Three{1370}{1370}rows, one below{1450}{1450}another"
       "{EDM}{EDM}{EOC}{EOC}"},
      {10, "{EDM}{EDM}"},
      {12, "{RCL}{ENM}{1370}1, 2, 3 & 4{1450}(5 + 6) = 11;{EOC}"},
      {15, "{RCL}{RCL}{ENM}{ENM}{1470}{1470}[END] $1 @ 50%{EDM}{EDM}{EOC}{EOC}"},
      {18, "{EDM}{EDM}"},
  });
  ExpectSameRows(decoded, 9);
  for (std::size_t i = 0; i < std::min(decoded.here.size(), decoded.there.size()); ++i) {
    // They come with the pair that shows them, which stands some frames behind the line's time code.
    EXPECT_GE(decoded.here[i].time, decoded.there[i].time);
    EXPECT_LE(decoded.here[i].time, decoded.there[i].time + 2);
  }
}

// The return behind a row completes it; so the last one needs one, too.
TEST(CaptionPeer, RollUp) {
  for (const char* const mode : {"{RU2}", "{RU3}", "{RU4}"}) {
    SCOPED_TRACE(mode);
    const std::string start = std::string(mode) + mode + "{CR}{CR}{1470}{1470}>> In other news today";
    ExpectSameRows(DecodeTwice({{1, start.c_str()},
                                {3, "{CR}{CR}{1470}{1470}a second line is said"},
                                {5, "{CR}{1470}and a third."},
                                {7, "{CR}{CR}{-}{-}>> Thank you"},
                                {9, "{CR}{CR}{1470}{1470}Back to{-}you."},
                                {11, "{CR}"},
                                {13, "{EDM}{EDM}"}}),
                   5);
  }
}

// Here the next address completes a row.
TEST(CaptionPeer, PaintOn) {
  ExpectSameRows(DecodeTwice({{1, "{RDC}{RDC}{1450}{1450}Painted as{1470}{1470}it comes"},
                              {4, "{EDM}{EDM}{RDC}{RDC}{1470}{1470}one row"},
                              {7, "{EDM}{EDM}{RDC}{RDC}{1370}{1370}and{1450}{1450}three{1470}{1470}more"},
                              {10, "{EDM}{EDM}{1470}"}}),
                 6);
}

// Its caption file is added to a movie here, and it reads both sorts of captions that come back.
TEST(CaptionPeer, ReadsWhatIsWrittenAndWritesWhatIsRead) {
  const std::string text =
      SccText({{1, "{RCL}{RCL}{ENM}{ENM}{1450}{1450}Good{1470}{1470}morning{EDM}{EOC}{EOC}"},
               {4, "{RCL}{ENM}{1470}[sighs]{EDM}{EDM}{EOC}"},
               {7, "{EDM}{EDM}"},
               {9, "{RU2}{RU2}{CR}{CR}{1470}{1470}>> Breaking news{CR}today"},
               {12, "{EDM}{EDM}"}});
  const TempFile scc{Bytes().Text(text)};
  const std::string copy = "-map 0 -c copy -f ";
  const TempFile theirs{Bytes().Text(Converted(scc.Name(), copy + "scc"))};
  const TempFolder folder;
  const std::string movie = folder / "movie.mp4";
  const Outcome outcome = RunProgram({"add-captions", Media("aac.m4a"), theirs.Name(), movie});
  ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
  const TempFile back{Bytes().Text(RunProgram({"captions", "--format", "scc", movie}).out)};
  const TempFile srt{Bytes().Text(RunProgram({"captions", "--format", "srt", movie}).out)};

  const std::string packets = Converted(scc.Name(), copy + "framemd5");
  EXPECT_GT(Lines(packets).size(), 9u);
  EXPECT_EQ(Converted(back.Name(), copy + "framemd5"), packets);
  const std::vector<Event> events = Events(ReadText(srt.Path()));
  EXPECT_EQ(events.size(), 4u) << ReadText(srt.Path());
  EXPECT_EQ(Events(Converted(srt.Name(), "-f srt", "srt")), events);
  EXPECT_EQ(Texts(NewRows(events)), Texts(NewRows(Events(Converted(scc.Name(), "-f srt")))));
}

}  // namespace
}  // namespace kt::test

// Caption files read and written, their pairs laid out as samples, and screens made subtitles of.

#include <gtest/gtest.h>

#include "tools/caption_samples.h"
#include "tools/failure.h"
#include "tools/srt_text.h"

namespace kt::test {
namespace {

SccFile Read(const std::string& lines, std::optional<FrameRate> rate = {}) {
  return ReadScc("Scenarist_SCC V1.0\n\n" + lines, rate);
}

std::string FailureOf(std::string_view text, std::optional<FrameRate> rate = {}) {
  try {
    static_cast<void>(ReadScc(text, rate));
  } catch (const Failure& failure) {
    return failure.what();
  }
  return "none";
}

// Counted out one by one: the numbers 0 and 1 are missing where a minute begins, but for every tenth.
TEST(SccFile, DropFrameCodesAreThoseOfPlainCounting) {
  u64 frame = 0;
  for (u32 second = 0; second < 3700; ++second) {
    for (u32 number = second % 60 == 0 && second / 60 % 10 != 0 ? 2 : 0; number < 30; ++number, ++frame) {
      char code[16];
      std::snprintf(code, sizeof code, "%02u:%02u:%02u;%02u", second / 3600, second / 60 % 60, second % 60,
                    number);
      ASSERT_EQ(TimeCode(frame, FrameCount::kDrop), code);
      ASSERT_EQ(Read(std::string(code) + " 9420").cues[0].frame, frame);
    }
  }
}

TEST(SccFile, CodesOfAllSorts) {
  const struct {
    const char* code;
    std::optional<FrameRate> rate;
    FrameCount count;
    u64 frame;
  } rows[] = {
      {"01:02:03:04", {}, FrameCount::kNonDrop, 111694},
      {"01:02:03:04", FrameRate::kNtsc, FrameCount::kNonDrop, 111694},
      {"01:02:03:04", FrameRate::kThirty, FrameCount::kThirty, 111694},
      {"00:00:01:30", {}, FrameCount::kNonDrop, 60},
      {"00:01:00;00", {}, FrameCount::kDrop, 1800},
      {"99:59:59;29", FrameRate::kNtsc, FrameCount::kDrop, kLastFrame},
  };
  for (const auto& row : rows) {
    const SccFile file = Read(std::string(row.code) + "\t9420", row.rate);
    EXPECT_EQ(file.count, row.count) << row.code;
    EXPECT_EQ(file.cues.at(0).frame, row.frame) << row.code;
    EXPECT_EQ(FrameCountOf(ClockOf(row.count).timeScale), row.count);
  }
}

TEST(SccFile, IsReadFromWhateverSystem) {
  const SccFile file =
      ReadScc("\xEF\xBB\xBFScenarist_SCC V1.0\r\n\r\n00:00:01:00\t94AE  c8e9 \r\n\r\n00:00:02:00 942c", {});
  EXPECT_EQ(WriteScc(file), "Scenarist_SCC V1.0\n\n00:00:01:00\t94ae c8e9\n\n00:00:02:00\t942c\n");
  EXPECT_EQ(file.cues.at(1).line, 5u);
  EXPECT_TRUE(ReadScc("Scenarist_SCC V1.0", {}).cues.empty());
}

TEST(SccFile, FailuresNameTheLine) {
  const std::string head = "Scenarist_SCC V1.0\n\n";
  const struct {
    std::string text;
    std::optional<FrameRate> rate;
    const char* failure;
  } rows[] = {
      {"", {}, "line 1: a caption file begins with"},
      {"1\n00:00:01,000 --> 00:00:02,000\n", {}, "line 1: a caption file begins with"},
      {head + "00:00:01.00 9420", {}, "line 3: \"00:00:01.00\" is no time code"},
      {head + "00:61:01:00 9420", {}, "line 3: \"00:61:01:00\" is no time code"},
      {head + "00:00:0x:00 9420", {}, "line 3: \"00:00:0x:00\" is no time code"},
      {head + "00:00:01:31 9420", {}, "line 3: \"00:00:01:31\" is no time code"},
      {head + "00:00:01:00", {}, "line 3: there is no byte pair"},
      {head + "00:00:01:00 9420 942", {}, "line 3: \"942\" is no byte pair"},
      {head + "00:00:01:00 942g", {}, "line 3: \"942g\" is no byte pair"},
      {head + "00:00:02:00 9420\n\n00:00:01:29 942c", {}, "line 5: its time code lies before that of line 3"},
      {head + "00:00:02:00 9420\n00:00:03;00 942c", {}, "line 4: its time code is drop frame"},
      {head + "00:00:02;00 9420", FrameRate::kThirty, "line 3: a drop frame time code"},
  };
  for (const auto& row : rows) {
    EXPECT_TRUE(FailureOf(row.text, row.rate).starts_with(row.failure)) << FailureOf(row.text, row.rate);
  }
}

// Frame and pair of each sample; ">" where decoding can begin, "-" for a filler.
std::string Told(const std::vector<CaptionSample>& samples) {
  std::string text;
  for (const CaptionSample& sample : samples) {
    const auto bytes = SampleBytes(sample);
    CaptionSample read;
    SetSampleBytes(bytes.data(), &read);
    EXPECT_EQ(read.isFiller, sample.isFiller);
    text += (sample.beginsCue ? " >" : " ") + std::to_string(sample.frame) +
            (read.isFiller ? "-" : ":" + std::to_string(read.pair[1] & 0xF));
  }
  return text;
}

TEST(CaptionSamples, AreLaidOutFrameByFrameAndGatheredAgain) {
  const struct {
    const char* lines;
    const char* samples;
    const char* note;
    const char* gathered;  // when not the lines themselves
  } rows[] = {
      {"00:00:00:00 9401 9402", " >0:1 1:2 2-", "", nullptr},
      {"00:00:00:05 8080\n00:00:00:06 9401", " >0- >5:0 >6:1 7-", "", nullptr},
      {"00:00:00:01 9401 9402 9483\n00:00:00:03 9404\n00:00:00:05 9485", " >0- >1:1 2:2 3:3 >4:4 >5:5 6-",
       "line 4 begins while the pairs before it still go out; its own follow behind them",
       "00:00:00:01 9401 9402 9483\n00:00:00:04 9404\n00:00:00:05 9485"},
      {"00:00:00:00 9401 9402\n00:00:00:01 9483 9404\n00:00:00:02 9485", " >0:1 1:2 >2:3 3:4 >4:5 5-",
       "line 4 begins while the pairs before it still go out; its own follow behind them (the first of 2 "
       "lines)",
       "00:00:00:00 9401 9402\n00:00:00:02 9483 9404\n00:00:00:04 9485"},
      {"00:00:00:00 9403 9401\n00:00:01:00 0380", " >0:3 1:1 >21- >30:0 31-",
       "line 3 has a byte of even parity, over which decoders stumble; it is kept (the first of 2 lines)",
       nullptr},
      {"00:00:00:02 9401\n00:00:01:15 9402", " >0- >2:1 >22- >42- >45:2 46-", "", nullptr},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.lines);
    const SccFile file = Read(row.lines);
    std::string notes;
    const auto samples = LayOut(file, 20, [&](const std::string& note) { notes += note; });
    EXPECT_EQ(Told(samples), row.samples);
    EXPECT_EQ(notes, row.note);
    const SccFile gathered{FrameCount::kNonDrop, GatherCues(samples)};
    EXPECT_EQ(WriteScc(gathered), WriteScc(Read(row.gathered == nullptr ? row.lines : row.gathered)));
  }
  // A track of somebody else's, all of whose samples are sync samples.
  const auto cues =
      GatherCues({{3, {1, 1}, true, false}, {4, {2, 2}, true, false}, {6, {3, 3}, true, false}});
  ASSERT_EQ(cues.size(), 2u);
  EXPECT_EQ(cues[0].pairs.size(), 2u);
}

struct Screen {
  i64 milliseconds;
  const char* text;
};

TEST(SrtText, AScreenLastsUntilItChanges) {
  const struct {
    const char* what;
    std::vector<Screen> screens;
    const char* text;
  } rows[] = {
      {"nothing", {{0, "<br>"}}, ""},
      {"flips",
       {{1000, "<br><br>One<br>\tTwo"}, {2500, "<br>"}, {3723004, "<br><br><br>1 --> 2\x7F"}},
       "1\n00:00:01,000 --> 00:00:02,500\nOne\nTwo\n\n2\n01:02:03,004 --> 02:00:00,000\n1 -> 2\n"},
      {"the same again",
       {{1000, "<br><br><br>One"}, {1500, "<br>"}, {1600, "<br><br><br>One"}, {1700, "<br>"}},
       "1\n00:00:01,000 --> 00:00:01,500\nOne\n\n2\n00:00:01,600 --> 00:00:01,700\nOne\n"},
      {"letter by letter",
       {{1000, "<br><br>A<br>"},
        {1033, "<br><br>A<br>On"},
        {1066, "<br><br>A<br>On "},
        {1100, "<br><br>A<br>On t"},
        {1133, "<br><br>A<br>On"},
        {1166, "<br><br>A<br>One"},
        {1200, "<br><br>One<br>"}},
       "1\n00:00:01,000 --> 00:00:01,033\nA\n\n2\n00:00:01,033 --> 00:00:01,200\nA\nOne\n\n"
       "3\n00:00:01,200 --> 02:00:00,000\nOne\n"},
      {"a later screen that begins alike",
       {{1000, "<br><br><br>One"}, {3000, "<br><br><br>One."}, {4000, "<br>"}},
       "1\n00:00:01,000 --> 00:00:03,000\nOne\n\n2\n00:00:03,000 --> 00:00:04,000\nOne.\n"},
      {"erased, and sent again by a decoder that keeps its rows",
       {{1000, "<br><br><br>One"},
        {2000, "<br>"},
        {2000, "<br><br><br>One"},
        {2033, "<br><br>One<br>"},
        {3000, "<br><br><br>Two"},
        {3000, "<br>"}},
       "1\n00:00:01,000 --> 00:00:02,000\nOne\n"},
  };
  for (const auto& row : rows) {
    SrtCues cues;
    for (const Screen& screen : row.screens) cues.Show(screen.milliseconds * 10'000, screen.text);
    EXPECT_EQ(SrtText(cues.Finish(7200'000 * i64{10'000})), row.text) << row.what;
  }
}

}  // namespace
}  // namespace kt::test

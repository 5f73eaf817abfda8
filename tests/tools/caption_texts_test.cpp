// Caption files read and written, their pairs laid out as samples, and screens made subtitles of.

#include <gtest/gtest.h>

#include <tuple>

#include "tools/caption_samples.h"
#include "tools/failure.h"
#include "tools/srt_text.h"

namespace kt::test {
namespace {

SccFile Read(const std::string& lines, std::optional<FrameRate> rate = {}) {
  return ReadScc("Scenarist_SCC V1.0\n\n" + lines, rate);
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
  const std::tuple<const char*, std::optional<FrameRate>, FrameCount, u64> rows[] = {
      {"01:02:03:04", {}, FrameCount::kNonDrop, 111694},
      {"01:02:03:04", FrameRate::kThirty, FrameCount::kThirty, 111694},
      {"00:00:01:30", {}, FrameCount::kNonDrop, 60},
      {"00:01:00;00", {}, FrameCount::kDrop, 1800},
      {"99:59:59;29", FrameRate::kNtsc, FrameCount::kDrop, kLastFrame},
  };
  for (const auto& [code, rate, count, frame] : rows) {
    const SccFile file = Read(std::string(code) + "\t9420", rate);
    EXPECT_EQ(file.count, count) << code;
    EXPECT_EQ(file.cues.at(0).frame, frame) << code;
    EXPECT_EQ(FrameCountOf(ClockOf(count).timeScale), count);
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
  const std::tuple<std::string, std::optional<FrameRate>, const char*> rows[] = {
      {"00:00:01.00 9420", {}, "line 3: \"00:00:01.00\" is no time code"},
      {"00:61:01:00 9420", {}, "line 3: \"00:61:01:00\" is no time code"},
      {"00:00:0x:00 9420", {}, "line 3: \"00:00:0x:00\" is no time code"},
      {"00:00:01:31 9420", {}, "line 3: \"00:00:01:31\" is no time code"},
      {"00:00:01:00", {}, "line 3: there is no byte pair"},
      {"00:00:01:00 9420 942", {}, "line 3: \"942\" is no byte pair"},
      {"00:00:01:00 942g", {}, "line 3: \"942g\" is no byte pair"},
      {"00:00:02:00 9420\n\n00:00:01:29 942c", {}, "line 5: its time code lies before that of line 3"},
      {"00:00:02:00 9420\n00:00:03;00 942c", {}, "line 4: its time code is drop frame"},
      {"00:00:02;00 9420", FrameRate::kThirty, "line 3: a drop frame time code"},
  };
  const auto expectFailure = [](const auto& read, const char* message) {
    try {
      static_cast<void>(read());
      ADD_FAILURE() << message;
    } catch (const Failure& failure) {
      EXPECT_TRUE(std::string(failure.what()).starts_with(message)) << failure.what();
    }
  };
  for (const auto& [lines, rate, message] : rows) {
    expectFailure([&text = lines, &wanted = rate] { return Read(text, wanted); }, message);
  }
  for (const char* const text : {"", "1\n00:00:01,000 --> 00:00:02,000\n"}) {
    expectFailure([&] { return ReadScc(text, {}); }, "line 1: a caption file begins with");
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
  constexpr const char* kLate =
      "line 4 begins while the pairs before it still go out; its own follow behind them";
  // The lines, their samples, what is noted of them, and the lines that are gathered when they are others.
  const std::tuple<const char*, const char*, std::string, const char*> rows[] = {
      {"00:00:00:00 9401 9402", " >0:1 1:2 2-", "", nullptr},
      {"00:00:00:05 8080\n00:00:00:06 9401", " >0- >5:0 >6:1 7-", "", nullptr},
      {"00:00:00:01 9401 9402 9483\n00:00:00:03 9404\n00:00:00:05 9485", " >0- >1:1 2:2 3:3 >4:4 >5:5 6-",
       kLate, "00:00:00:01 9401 9402 9483\n00:00:00:04 9404\n00:00:00:05 9485"},
      {"00:00:00:00 9401 9402\n00:00:00:01 9483 9404\n00:00:00:02 9485", " >0:1 1:2 >2:3 3:4 >4:5 5-",
       kLate + std::string(" (the first of 2 lines)"),
       "00:00:00:00 9401 9402\n00:00:00:02 9483 9404\n00:00:00:04 9485"},
      {"00:00:00:00 9403\n00:00:01:00 0380", " >0:3 >20- >30:0 31-",
       "line 3 has a byte of even parity, over which decoders stumble; it is kept (the first of 2 lines)",
       nullptr},
      {"00:00:00:02 9401\n00:00:01:15 9402", " >0- >2:1 >22- >42- >45:2 46-", "", nullptr},
  };
  for (const auto& [lines, told, note, gathered] : rows) {
    SCOPED_TRACE(lines);
    std::string notes;
    const auto samples = LayOut(Read(lines), 20, [&](const std::string& line) { notes += line; });
    EXPECT_EQ(Told(samples), told);
    EXPECT_EQ(notes, note);
    EXPECT_EQ(WriteScc({FrameCount::kNonDrop, GatherCues(samples)}),
              WriteScc(Read(gathered ? gathered : lines)));
  }
  // A track of somebody else's, all of whose samples are sync samples.
  const auto cues =
      GatherCues({{3, {1, 1}, true, false}, {4, {2, 2}, true, false}, {6, {3, 3}, true, false}});
  ASSERT_EQ(cues.size(), 2u);
  EXPECT_EQ(cues[0].pairs.size(), 2u);
}

// Screens each behind the milliseconds of its time, and the subtitles that become of them.
TEST(SrtText, AScreenLastsUntilItChanges) {
  const std::pair<std::vector<std::pair<i64, const char*>>, const char*> rows[] = {
      {{{0, "<br>"}}, ""},
      {{{1000, "<br><br>One<br>\tTwo"}, {2500, "<br>"}, {3723004, "<br><br><br>1 --> 2\x7F"}},
       "1\n00:00:01,000 --> 00:00:02,500\nOne\nTwo\n\n2\n01:02:03,004 --> 02:00:00,000\n1 -> 2\n"},
      // The same again, and then letter by letter.
      {{{1000, "<br><br><br>One"}, {1500, "<br>"}, {1600, "<br><br><br>One"}, {1700, "<br>"}},
       "1\n00:00:01,000 --> 00:00:01,500\nOne\n\n2\n00:00:01,600 --> 00:00:01,700\nOne\n"},
      {{{1000, "<br><br>A<br>"},
        {1033, "<br><br>A<br>On"},
        {1066, "<br><br>A<br>On "},
        {1133, "<br><br>A<br>On"},
        {1166, "<br><br>A<br>One"},
        {1200, "<br><br>One<br>"}},
       "1\n00:00:01,000 --> 00:00:01,033\nA\n\n2\n00:00:01,033 --> 00:00:01,200\nA\nOne\n\n"
       "3\n00:00:01,200 --> 02:00:00,000\nOne\n"},
      // A later screen that begins alike is none that grows.
      {{{1000, "<br><br><br>One"}, {3000, "<br><br><br>One."}, {4000, "<br>"}},
       "1\n00:00:01,000 --> 00:00:03,000\nOne\n\n2\n00:00:03,000 --> 00:00:04,000\nOne.\n"},
      // Erased, and sent again by a decoder that keeps its rows.
      {{{1000, "<br><br><br>One"},
        {2000, "<br>"},
        {2000, "<br><br><br>One"},
        {2033, "<br><br>One<br>"},
        {3000, "<br><br><br>Two"},
        {3000, "<br>"}},
       "1\n00:00:01,000 --> 00:00:02,000\nOne\n"},
  };
  for (const auto& [screens, text] : rows) {
    SrtCues cues;
    for (const auto& [milliseconds, screen] : screens) cues.Show(milliseconds * 10'000, screen);
    EXPECT_EQ(SrtText(cues.Finish(7200'000 * i64{10'000})), text);
  }
}

}  // namespace
}  // namespace kt::test

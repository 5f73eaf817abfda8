// Caption files read and written, their pairs laid out as samples, and screens made subtitles of.

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>
#include <utility>

#include "tools/captions/caption_samples.h"
#include "tools/captions/cues.h"
#include "tools/captions/pop_on.h"
#include "tools/terminal/failure.h"

namespace kt::test {
namespace {

// Expects that the call fails with a message that begins so.
template <class Call>
void ExpectFailure(Call call, const std::string& message) {
  try {
    call();
    ADD_FAILURE() << message;
  } catch (const Failure& failure) {
    EXPECT_TRUE(std::string(failure.what()).starts_with(message)) << failure.what();
  }
}

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

TEST(SccFile, IsReadFromWhateverSystem) {
  const SccFile file =
      ReadScc("\xEF\xBB\xBFScenarist_SCC V1.0\r\n\r\n00:00:01:00\t94AE  c8e9 \r\n\r\n00:00:02:00 942c", {});
  ASSERT_EQ(file.cues.size(), 2u);
  EXPECT_EQ(file.cues[0].pairs, (std::vector<BytePair>{{0x94, 0xAE}, {0xC8, 0xE9}}));
  EXPECT_EQ(file.cues[1].line, 5u);
  EXPECT_TRUE(ReadScc("Scenarist_SCC V1.0", {}).cues.empty());
}

TEST(SccFile, FailuresNameTheLine) {
  const std::tuple<std::string, std::optional<FrameRate>, const char*> rows[] = {
      {"00:00:01.00 9420", {}, "line 3: \"00:00:01.00\" is no time code"},
      {"00:61:01:00 9420", {}, "line 3: \"00:61:01:00\" is no time code"},
      {"00:00:0x:00 9420", {}, "line 3: \"00:00:0x:00\" is no time code"},
      {"00:00:01:31 9420", {}, "line 3: \"00:00:01:31\" is no time code"},
      {"00:00:01:00", {}, "line 3: there is no byte pair"},
      {"00:00:01:00 942g", {}, "line 3: \"942g\" is no byte pair"},
      {"00:00:02:00 9420\n\n00:00:01:29 942c", {}, "line 5: its time code lies before that of line 3"},
      {"00:00:02:00 9420\n00:00:03;00 942c", {}, "line 4: its time code is drop frame"},
      {"00:00:02;00 9420", FrameRate::kThirty, "line 3: a drop frame time code"},
  };
  for (const auto& [lines, rate, message] : rows)
    ExpectFailure([&text = lines, &wanted = rate] { static_cast<void>(Read(text, wanted)); }, message);
  for (const char* const text : {"", "1\n00:00:01,000 --> 00:00:02,000\n"})
    ExpectFailure([&] { static_cast<void>(ReadScc(text, {})); }, "line 1: a caption file begins with");
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

// The lines of the caption file that is made of them.
std::string Written(const std::vector<CaptionSample>& samples, FrameCount count = FrameCount::kNonDrop) {
  std::string text;
  const bool marked = !std::ranges::all_of(samples, &CaptionSample::beginsCue);
  SccWriter writer(count, marked, [&](const std::string& piece) { text += piece; });
  for (const CaptionSample& sample : samples) writer.Add(sample);
  writer.Finish();
  const std::string head = "Scenarist_SCC V1.0\n\n";
  EXPECT_TRUE(text.starts_with(head));
  return text.substr(head.size());
}

TEST(CaptionSamples, AreLaidOutFrameByFrameAndGatheredAgain) {
  constexpr const char* kLate =
      "line 5 begins while the pairs before it still go out; its own follow behind them";
  // The lines, their samples, what is noted of them, and the lines that are written when they are others.
  const std::tuple<const char*, const char*, std::string, const char*> rows[] = {
      {"00:00:00:00\t9401 9402\n", " >0:1 1:2 2-", "", nullptr},
      {"00:00:00:05\t8080\n\n00:00:00:06\t9401\n", " >0- >5:0 >6:1 7-", "", nullptr},
      {"00:00:00:01\t9401 9402 9483\n\n00:00:00:03\t9404\n\n00:00:00:05\t9485\n",
       " >0- >1:1 2:2 3:3 >4:4 >5:5 6-", kLate,
       "00:00:00:01\t9401 9402 9483\n\n00:00:00:04\t9404\n\n00:00:00:05\t9485\n"},
      {"00:00:00:00\t9401 9402\n\n00:00:00:01\t9483 9404\n\n00:00:00:02\t9485\n",
       " >0:1 1:2 >2:3 3:4 >4:5 5-", kLate + std::string(" (the first of 2 lines)"),
       "00:00:00:00\t9401 9402\n\n00:00:00:02\t9483 9404\n\n00:00:00:04\t9485\n"},
      {"00:00:00:00\t9403\n\n00:00:00:30\t0380\n", " >0:3 >20- >30:0 31-",
       "line 3 has a byte of even parity, over which decoders stumble; it is kept (the first of 2 lines)",
       "00:00:00:00\t9403\n\n00:00:01:00\t0380\n"},
      {"00:00:00:02\t9401\n\n00:00:01:15\t9402\n", " >0- >2:1 >22- >42- >45:2 46-", "", nullptr},
  };
  for (const auto& [lines, told, note, written] : rows) {
    SCOPED_TRACE(lines);
    std::string notes;
    const auto samples = LayOut(Read(lines), 20, [&](const std::string& line) { notes += line; });
    EXPECT_EQ(Told(samples), told);
    EXPECT_EQ(notes, note);
    EXPECT_EQ(Written(samples), written ? written : lines);
  }
  // A track of somebody else's, all of whose samples are sync samples.
  EXPECT_EQ(Written({{3, {1, 1}, true, false}, {4, {2, 2}, true, false}, {6, {3, 3}, true, false}}),
            "00:00:00:03\t0101 0202\n\n00:00:00:06\t0303\n");
}

// A later one would have a code of 100 hours.
TEST(CaptionSamples, EndWithTheLastTimeCode) {
  for (const char* const code : {"99:59:59:29", "99:59:59;29"}) {
    const auto layOut = [&](const std::string& line) { return LayOut(Read(line), u64{1} << 30, {}); };
    const std::string whole = std::string(code) + "\t9401\n";
    const FrameCount count = Read(whole).count;
    std::vector<CaptionSample> samples = layOut(whole);
    EXPECT_EQ(Written(samples, count), whole);
    ++samples[1].frame;
    ExpectFailure([&] { Written(samples, count); }, "the captions last longer than time codes");
    for (const std::string& line : {std::string(code) + " 9401 9402", std::string(code, 9) + "30 9401"}) {
      ExpectFailure([&] { layOut(line); },
                    "line 3: its pairs run past the last time code, " + std::string(code));
    }
  }
}

// Subtitles, the pairs that they become behind their frames (without parity), and what is noted.
TEST(Subtitles, BecomePopOnCaptions) {
  const std::tuple<std::string, const char*, const char*> rows[] = {
      {"1\r\n00:00:02,002 --> 00:00:03,003\r\n<i>Hi</i>\r\n",
       "51: 1420 1420 142e 142e 1476 1476 1723 1723 4869 142f 142f 90: 142c 142c", ""},
      // An erasure between the pairs of the next; characters of further sets, and one of none.
      {"00:00:01.001 --> 00:00:02,002\nA\n\n00:00:02,302 --> 00:00:09,000\n\u00C9\u266A\u2603b\n",
       "21: 1420 1420 142e 142e 1476 1476 1723 1723 4100 142f 142f 53: 1420 1420 142e 142e 1476 1476 1722 "
       "1722 "
       "142c 142c 4500 1221 1221 1137 1137 3f62 142f 142f 270: 142c 142c",
       "line 4: a character that captions do not have becomes \"?\""},
      // Four rows take longer to send than there is time.
      {"00:00:02,000 --> 00:00:30,030\n" + std::string(31, 'w') + " x y\n" + std::string(97, 'z'), nullptr,
       "line 1: there is no time to send it ahead of its own, so it comes late"
       "line 1: it takes more than four rows of 32 characters, and the others are left out"},
  };
  for (const auto& [text, expected, note] : rows) {
    std::string told, noted;
    const auto take = [&noted](const std::string& line) { noted += line; };
    for (const SccCue& cue : PopOnCaptions(ReadSrt(text), FrameCount::kDrop, take).cues) {
      told += (told.empty() ? "" : " ") + std::to_string(cue.frame) + ":";
      char word[16];
      for (const BytePair& pair : cue.pairs) {
        std::snprintf(word, sizeof word, " %02x%02x", pair[0] & 0x7F, pair[1] & 0x7F);
        told += word;
      }
    }
    EXPECT_EQ(told, expected != nullptr ? expected : told);
    EXPECT_EQ(noted, note);
  }
  ExpectFailure([] { ReadSrt("1\n00:00:02,000 -> 00:00:03,000\n"); }, "line 2: \"00:00:02,000 -> ");
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
    std::string printed;
    ScreenCues cues([&](const Cue& cue) { printed += SrtText(cue); });
    i64 last = 0;
    for (const auto& [milliseconds, screen] : screens) {
      // A pair may show two.
      if (milliseconds != std::exchange(last, milliseconds)) cues.EndPair();
      cues.Show(milliseconds * 10'000, screen);
    }
    cues.Finish(7200'000 * i64{10'000});
    EXPECT_EQ(printed, text);
  }
}

}  // namespace
}  // namespace kt::test

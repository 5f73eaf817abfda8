// Changes of position and state of the module in the platform's filter graph manager.

#include <algorithm>
#include <map>
#include <random>

#include "filter/platform/source_host.h"

namespace kt::test {
namespace {

using SeekingTest = SourceTest;

const std::wstring kFilm = MediaFile(L"bframes-aac.mp4");
// Its first track has 100 pictures of 40 ms.
constexpr i64 kLength = 40'000'000;

enum class When { Stopped, Paused, Running };

TEST_F(SeekingTest, LandsOnTheSyncSampleInEveryState) {
  for (const When when : {When::Stopped, When::Paused, When::Running}) {
    PlayedSource played(kFilm);
    for (const i64 position : {i64{0}, i64{1}, i64{399'999}, i64{400'000}, i64{17'654'321}, kLength - 400'001,
                               kLength - 400'000, kLength - 1, kLength, i64{-5}}) {
      SCOPED_TRACE(testing::Message() << "to " << position << " when " << static_cast<int>(when));
      if (when == When::Paused) played.Pause();
      if (when == When::Running) played.Run();
      EXPECT_EQ(played.Seek(position), S_OK);
      if (when != When::Running) played.Run();
      for (u32 pin = 0; pin < 2; ++pin) {
        EXPECT_EQ(played.LastSegment(pin), SamplesFrom(kFilm, pin + 1, std::max<i64>(position, 0)));
        EXPECT_EQ(played.Sink(pin).SegmentRate(), 0.0);
      }
      played.Stop();
    }
  }
}

/// Checks what a sink was told, and that each segment begins with the sample that its seek leads to: nothing
/// from before a flush comes behind it, and a stream ends once.
void ExpectOrder(const std::vector<SinkEvent>& events, u32 track) {
  // What each event may follow: sample, end of stream, begin and end of a flush, new segment; ^ is the start.
  const std::pair<char, std::string_view> kOrder[] = {
      {'S', "NS"}, {'E', "NS"}, {'B', "^SEFN"}, {'F', "B"}, {'N', "^F"}};
  std::map<ULONG, u32> firstSamples = {{0, 1}};
  char before = '^';
  u32 due = 0;
  for (std::size_t i = 0; i < events.size(); ++i) {
    const auto& [kind, mayFollow] = kOrder[events[i].kind];
    const ULONG value = events[i].value;
    // That of a worker that runs since the seek before this one.
    if (kind == 'N' && before == 'B') continue;
    ASSERT_NE(mayFollow.find(before), mayFollow.npos) << kind << " behind " << before << ", event " << i;
    if (kind == 'N') {
      if (!firstSamples.contains(value)) firstSamples[value] = SamplesFrom(kFilm, track, value).front();
      due = firstSamples[value];
    }
    if (kind == 'S') {
      ASSERT_EQ(value, due++) << "event " << i;
    }
    before = kind;
  }
}

// As an application, a renderer and a graph do it, each seek up to three times over.
TEST_F(SeekingTest, AThousandTimesAtRandomWhilePlaying) {
  PlayedSource played(kFilm);
  const auto graph = As<IMediaSeeking>(played.Graph().m_builder);
  played.Run();
  std::mt19937 random(20);
  // The clock of the run goes on all the while: a few places, so that the library is asked for each once.
  const auto place = [&] { return static_cast<i64>(random() % 40) * 1'000'000 + 12'345; };
  for (int i = 0; i < 1000; ++i) {
    i64 position = place();
    if (i % 2 == 0) {
      ASSERT_EQ(played.Seek(position), S_OK);
    }
    if (i % 3 != 0) {
      ASSERT_EQ(
          played.As<IMediaSeeking>()->SetPositions(&position, AM_SEEKING_AbsolutePositioning, nullptr, 0),
          S_OK);
    }
    if (i % 10 == 0) {
      ASSERT_TRUE(SUCCEEDED(graph->SetPositions(&position, AM_SEEKING_AbsolutePositioning, nullptr, 0)));
    }
    if (i % 7 == 0) Sleep(static_cast<DWORD>(random() % 5));
  }
  const i64 last = 22'222'222;
  EXPECT_EQ(played.Seek(last), S_OK);
  for (u32 pin = 0; pin < 2; ++pin) {
    EXPECT_EQ(played.LastSegment(pin), SamplesFrom(kFilm, pin + 1, last));
  }
  played.Stop();
  for (u32 pin = 0; pin < 2; ++pin) {
    SCOPED_TRACE(pin);
    ExpectOrder(played.Sink(pin).Events(), pin + 1);
  }
}

TEST_F(SeekingTest, StopsAndSeeksWithASinkThatBlocks) {
  PlayedSource played(kFilm, {.sink = {.m_blockFrom = 10}});
  const auto blocked = [&] { return played.Sink(0).IsBlocked() && played.Sink(1).IsBlocked(); };
  for (int round = 0; round < 40; ++round) {
    played.Run();
    ASSERT_TRUE(Eventually(blocked));
    if (round >= 20) {
      ASSERT_EQ(played.Seek(0), S_OK);
      ASSERT_TRUE(Eventually(blocked));
      EXPECT_EQ(played.Sink(0).Events().back(), (SinkEvent{SinkEvent::Sample, 10}));
    }
    played.Stop();
  }
  EXPECT_EQ(played.Sink(0).Count(SinkEvent::EndOfStream), 0u);
}

}  // namespace
}  // namespace kt::test

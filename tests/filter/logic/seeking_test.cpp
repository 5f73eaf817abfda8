#include "filter/logic/seeking.h"

#include "support/fake_worker.h"

namespace kt::test {
namespace {

using Log = std::vector<std::string>;
using Hns = Answer<i64, FilterResult>;

/// A loaded source with a track of each of these lengths in samples of 100 ms, all of them sync samples.
class Bench : public FakeWorkers {
 public:
  explicit Bench(std::initializer_list<u64> lengths) {
    for (const u64 length : lengths) {
      std::vector<u64> times;
      for (u64 i = 0; i < length; ++i) times.push_back(100 * i);
      file.tracks.push_back(TrackAt(times));
    }
    EXPECT_EQ(Source().Load("a.mp4"), FilterResult::Ok);
  }

  FilterResult Seek(i64 current) { return seeking.SetPositions({&current, 1, nullptr, 0}, Finder()); }

  FilterSeeking seeking{Source()};
};

constexpr i64 kSampleHns = 1'000'000;

// No format at all is accepted by the pins alone, and converted by none.
TEST(FilterSeeking, CapabilitiesAndFormats) {
  Bench bench({2, 2});
  const std::pair<u32, FilterResult> rows[] = {
      {63, FilterResult::Ok}, {32, FilterResult::Ok}, {64, FilterResult::Fail}, {65, FilterResult::False}};
  for (const auto& [caps, result] : rows) EXPECT_EQ(bench.seeking.CheckCapabilities(caps), result) << caps;
  EXPECT_EQ(bench.seeking.IsFormatSupported(TIME_FORMAT_MEDIA_TIME), FilterResult::Ok);
  EXPECT_EQ(bench.seeking.IsFormatSupported(GUID_NULL), FilterResult::False);
  EXPECT_EQ(bench.seeking.SetTimeFormat(GUID_NULL), FilterResult::InvalidArgument);
  for (const std::size_t i : {0u, 1u}) {
    const PinSeeking pin(bench.seeking, bench.Pin(i));
    EXPECT_EQ(pin.SetTimeFormat(GUID_NULL), FilterResult::Ok);
    i64 target = 5;
    EXPECT_EQ(pin.ConvertTimeFormat(&target, nullptr, -9, &GUID_NULL), FilterResult::InvalidArgument);
  }
}

TEST(FilterSeeking, MeasuresOnTheFirstPin) {
  Bench bench({4, 9});
  const PinSeeking second(bench.seeking, bench.Pin(1));
  const auto stop = [&] { return Got(bench.seeking, &FilterSeeking::GetStopPosition); };
  EXPECT_EQ(Got(bench.seeking, &FilterSeeking::GetDuration), 4 * kSampleHns);
  EXPECT_EQ(stop(), 4 * kSampleHns) << "the duration until a stop is set";
  SetPosition(bench.Pin(1), {.m_stopPosition = 5});
  EXPECT_EQ(stop(), 4 * kSampleHns);
  SetPosition(bench.Pin(0), {.m_stopPosition = 7});
  EXPECT_EQ(stop(), 7);
  EXPECT_EQ(Got(second, &PinSeeking::GetStopPosition), 4 * kSampleHns)
      << "a pin answers the duration, whatever stop was set";

  i64 first = -1;
  EXPECT_EQ(Ask(bench.seeking, &FilterSeeking::GetPositions, &first),
            (Hns{FilterResult::False, 4 * kSampleHns}))
      << "before the first sample the stop is filled all the same";
  EXPECT_EQ(first, 0);
  SetPosition(bench.Pin(0), {.m_currentSample = 3});
  EXPECT_EQ(Ask(second, &PinSeeking::GetCurrentPosition).result, FilterResult::NotImplemented);
  EXPECT_EQ(Got(bench.seeking, &FilterSeeking::GetPositions, &first), 4 * kSampleHns)
      << "the duration, not the stop";
  EXPECT_EQ(first, 2 * kSampleHns);
  EXPECT_EQ(Got(second, &PinSeeking::GetAvailable, &first), 4 * kSampleHns);
  EXPECT_EQ(first, 0);
  EXPECT_EQ(second.GetAvailable(nullptr, nullptr), FilterResult::Ok);
}

TEST(FilterSeeking, WhatTheTrackCanNotTellIsZero) {
  for (const bool withPin : {true, false}) {
    Bench bench(withPin ? std::initializer_list<u64>{4} : std::initializer_list<u64>{});
    if (withPin) bench.file.tracks[0].failing = {"GetSampleDecodingTime"};
    const Hns none = {FilterResult::False, 0};
    EXPECT_EQ(Ask(bench.seeking, &FilterSeeking::GetDuration), none);
    EXPECT_EQ(Ask(bench.seeking, &FilterSeeking::GetStopPosition), none);
    i64 current = -1;
    EXPECT_EQ(Ask(bench.seeking, &FilterSeeking::GetPositions, &current), none);
    EXPECT_EQ(current, 0);
    EXPECT_EQ(bench.Seek(0), FilterResult::Ok);
    EXPECT_EQ(bench.Seek(1), withPin ? FilterResult::False : FilterResult::Ok);
  }
  const Bench bench({4});
  EXPECT_EQ(Got(bench.seeking, &FilterSeeking::GetPositions, nullptr), 4 * kSampleHns);
  EXPECT_EQ(bench.seeking.GetDuration(nullptr), FilterResult::Pointer);
  EXPECT_EQ(bench.seeking.GetStopPosition(nullptr), FilterResult::Pointer);
  EXPECT_EQ(bench.seeking.GetCurrentPosition(nullptr), FilterResult::Pointer);
}

// No sample from ahead of the flush may come behind it, and the new segment tells both positions.
TEST(FilterSeeking, MovesAllPinsInOrder) {
  Bench bench({9, 4, 9});
  const i64 to = 2 * kSampleHns, end = 3 * kSampleHns;
  EXPECT_EQ(bench.seeking.SetPositions({&to, 1, &end, 1}, bench.Finder()), FilterResult::Ok);
  Log expected;
  for (const std::string pin : {"1", "2", "3"})
    for (const char* effect :
         {" begin flush", " stop behind 0", " end flush behind 2", " run 2000000 3000000 at rate 0.000000"})
      expected.push_back(pin + effect);
  EXPECT_EQ(bench.log, expected);

  // The first pin's length counts for all of them; a shorter track goes to its end.
  EXPECT_EQ(bench.Seek(8 * kSampleHns), FilterResult::Ok);
  EXPECT_EQ(bench.Pin(0).Position().m_currentSample, 8u);
  EXPECT_EQ(bench.Pin(1).Position().m_currentSample, 3u);
  bench.log.clear();
  EXPECT_EQ(bench.Seek(9 * kSampleHns + 1), FilterResult::False);
  EXPECT_EQ(bench.log, Log());
}

}  // namespace
}  // namespace kt::test

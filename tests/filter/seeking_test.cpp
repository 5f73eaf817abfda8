#include "filter/logic/seeking.h"

#include <gtest/gtest.h>

#include <tuple>

#include "support/fake_worker.h"

namespace kt {
namespace {

using namespace test;

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
constexpr Guid kFrames = {0x7b785570, 0x8c82, 0x11cf, {0xbc, 0x0c, 0x00, 0xaa, 0x00, 0xac, 0x74, 0xf6}};

TEST(FilterSeeking, Capabilities) {
  Bench bench({});
  EXPECT_EQ(bench.seeking.GetCapabilities(), 63u);
  const std::pair<u32, FilterResult> rows[] = {
      {63, FilterResult::Ok},  {1, FilterResult::Ok},     {32, FilterResult::Ok},    {64, FilterResult::Fail},
      {0, FilterResult::Fail}, {65, FilterResult::False}, {~0u, FilterResult::False}};
  for (const auto& [caps, result] : rows) EXPECT_EQ(bench.seeking.CheckCapabilities(caps), result) << caps;
}

TEST(Seeking, MediaTimeIsTheOnlyFormat) {
  Bench bench({2, 2});
  const PinSeeking master(bench.seeking, bench.Pin(0));
  const PinSeeking other(bench.seeking, bench.Pin(1));
  constexpr FilterResult kOk = FilterResult::Ok, kNo = FilterResult::NotImplemented;
  // Whether it is supported; what setting it answers on the filter, the first pin and another.
  const std::tuple<Guid, FilterResult, FilterResult, FilterResult, FilterResult> rows[] = {
      {TIME_FORMAT_MEDIA_TIME, kOk, kOk, kOk, kNo},
      {GUID_NULL, FilterResult::False, FilterResult::InvalidArgument, kOk, kOk},
      {kFrames, FilterResult::False, FilterResult::InvalidArgument, kNo, kNo},
  };
  for (const auto& [format, supported, onFilter, onMaster, onOther] : rows) {
    EXPECT_EQ(bench.seeking.IsFormatSupported(format), supported);
    EXPECT_EQ(bench.seeking.SetTimeFormat(format), onFilter);
    EXPECT_EQ(master.SetTimeFormat(format), onMaster);
    EXPECT_EQ(other.SetTimeFormat(format), onOther);
  }
}

TEST(PinSeeking, ConvertsMediaTimeAlone) {
  Bench bench({2});
  const PinSeeking pin(bench.seeking, bench.Pin(0));
  const std::tuple<const Guid*, const Guid*, bool> rows[] = {{nullptr, nullptr, true},
                                                             {&TIME_FORMAT_MEDIA_TIME, nullptr, true},
                                                             {nullptr, &TIME_FORMAT_MEDIA_TIME, true},
                                                             {&kFrames, nullptr, false},
                                                             {&TIME_FORMAT_MEDIA_TIME, &GUID_NULL, false}};
  for (const auto& [targetFormat, sourceFormat, converts] : rows) {
    i64 target = 5;
    EXPECT_EQ(pin.ConvertTimeFormat(&target, targetFormat, -9, sourceFormat),
              converts ? FilterResult::Ok : FilterResult::InvalidArgument);
    EXPECT_EQ(target, converts ? -9 : 5);
  }
  EXPECT_EQ(pin.ConvertTimeFormat(nullptr, nullptr, 1, nullptr), FilterResult::Pointer);
}

TEST(FilterSeeking, MeasuresOnTheFirstPin) {
  Bench bench({4, 9});
  const PinSeeking second(bench.seeking, bench.Pin(1));
  const auto stop = [&] { return Got(bench.seeking, &FilterSeeking::GetStopPosition); };
  EXPECT_EQ(Got(bench.seeking, &FilterSeeking::GetDuration), 4 * kSampleHns);
  EXPECT_EQ(stop(), 4 * kSampleHns) << "the duration until a stop is set";
  bench.Pin(1).Position().m_stopPosition = 5;
  EXPECT_EQ(stop(), 4 * kSampleHns);
  bench.Pin(0).Position().m_stopPosition = 7;
  EXPECT_EQ(stop(), 7);
  EXPECT_EQ(Got(second, &PinSeeking::GetStopPosition), 4 * kSampleHns)
      << "a pin answers the duration, whatever stop was set";

  const auto position = [&] { return Ask(bench.seeking, &FilterSeeking::GetCurrentPosition); };
  EXPECT_EQ(position(), (Hns{FilterResult::False, 0})) << "before the first sample";
  bench.Pin(0).Position().m_currentSample = 3;
  EXPECT_EQ(position(), (Hns{FilterResult::Ok, 2 * kSampleHns}));
  EXPECT_EQ(Ask(second, &PinSeeking::GetCurrentPosition).result, FilterResult::NotImplemented);
  i64 first = -1;
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
  Bench bench({4});
  i64 current = -1;
  EXPECT_EQ(Got(bench.seeking, &FilterSeeking::GetPositions, nullptr), 4 * kSampleHns);
  EXPECT_EQ(Ask(bench.seeking, &FilterSeeking::GetPositions, &current),
            (Hns{FilterResult::False, 4 * kSampleHns}))
      << "before the first sample the stop is filled all the same";
  EXPECT_EQ(bench.seeking.GetDuration(nullptr), FilterResult::Pointer);
  EXPECT_EQ(bench.seeking.GetStopPosition(nullptr), FilterResult::Pointer);
  EXPECT_EQ(bench.seeking.GetCurrentPosition(nullptr), FilterResult::Pointer);
}

TEST(FilterSeeking, MovesAllPinsInOrder) {
  Bench bench({9, 4, 9});
  EXPECT_EQ(bench.Seek(2 * kSampleHns), FilterResult::Ok);
  Log expected;
  for (const char* pin : {"1", "2", "3"}) {
    for (const char* effect : {" begin flush", " stop behind 0", " end flush behind 2", " run 2000000 0"}) {
      expected.push_back(std::string(pin) + effect);
    }
  }
  EXPECT_EQ(bench.log, expected);

  // The first pin's length counts for all of them; a shorter track goes to its end.
  EXPECT_EQ(bench.Seek(8 * kSampleHns), FilterResult::Ok);
  EXPECT_EQ(bench.Pin(0).Position().m_currentSample, 8u);
  EXPECT_EQ(bench.Pin(1).Position().m_currentSample, 3u);
  bench.log.clear();
  EXPECT_EQ(bench.Seek(9 * kSampleHns + 1), FilterResult::False);
  EXPECT_EQ(bench.log, Log());
  EXPECT_EQ(bench.Pin(2).Position().m_currentSample, 8u);
  EXPECT_EQ(bench.seeking.SetPositions({nullptr, 1, nullptr, 0}, bench.Finder()), FilterResult::Pointer);
}

TEST(FilterSeeking, WithoutWorkersOnlyThePositionsChange) {
  Bench bench({9});
  bench.running = false;
  EXPECT_EQ(bench.Seek(2 * kSampleHns), FilterResult::Ok);
  EXPECT_EQ(bench.log, Log());
  EXPECT_EQ(bench.Pin(0).Position().m_currentSample, 2u);
}

// Every renderer passes a seek on; it has to act once.
TEST(PinSeeking, SeeksActThroughTheFirstPinAlone) {
  Bench bench({9, 9});
  const i64 current = 2 * kSampleHns;
  const PositionChange change = {&current, 1, nullptr, 0};
  EXPECT_EQ(PinSeeking(bench.seeking, bench.Pin(1)).SetPositions(change, bench.Finder()), FilterResult::Ok);
  EXPECT_EQ(bench.log, Log());
  EXPECT_EQ(PinSeeking(bench.seeking, bench.Pin(0)).SetPositions(change, bench.Finder()), FilterResult::Ok);
  EXPECT_EQ(bench.log.size(), 8u);
}

TEST(Seeking, TheRateCanNotBeSet) {
  Bench bench({2});
  EXPECT_EQ(bench.seeking.SetRate(2.0), FilterResult::Ok);
  EXPECT_EQ(bench.seeking.GetRate(), 1.0);
  EXPECT_EQ(Got(PinSeeking(bench.seeking, bench.Pin(0)), &PinSeeking::GetPreroll), 0);
}

}  // namespace
}  // namespace kt

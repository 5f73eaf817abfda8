#include "filter/logic/seeking.h"

#include <gtest/gtest.h>

#include <optional>

#include "support/fake_worker.h"

namespace kt {
namespace {

using Log = std::vector<std::string>;

/// A loaded source with a track of each of these lengths in samples of 100 ms, all of them sync samples.
class Bench : public test::FakeWorkers {
 public:
  explicit Bench(std::initializer_list<u64> lengths) {
    for (const u64 length : lengths) {
      test::FakeTrackFacts track;
      for (u64 i = 0; i < length; ++i) track.samples.push_back({{1}, 100 * i, 100 * i, true});
      file.tracks.push_back(track);
    }
    EXPECT_EQ(Source().Load("a.mp4"), FilterResult::Ok);
  }

  CReaderPin& Pin(std::size_t index) { return *Source().Pins().at(index); }
  FilterResult Seek(i64 current) { return seeking.SetPositions({&current, 1, nullptr, 0}, Finder()); }

  FilterSeeking seeking{Source()};
};

constexpr i64 kSampleHns = 1'000'000;
constexpr Guid kFrames = {0x7b785570, 0x8c82, 0x11cf, {0xbc, 0x0c, 0x00, 0xaa, 0x00, 0xac, 0x74, 0xf6}};

TEST(FilterSeeking, Capabilities) {
  Bench bench({});
  EXPECT_EQ(bench.seeking.GetCapabilities(), 63u);
  const struct {
    u32 caps;
    FilterResult result;
  } rows[] = {{63, FilterResult::Ok},    {1, FilterResult::Ok},   {32, FilterResult::Ok},
              {64, FilterResult::Fail},  {0, FilterResult::Fail}, {65, FilterResult::False},
              {~0u, FilterResult::False}};
  for (const auto& row : rows) EXPECT_EQ(bench.seeking.CheckCapabilities(row.caps), row.result) << row.caps;
}

TEST(Seeking, MediaTimeIsTheOnlyFormat) {
  Bench bench({2, 2});
  const PinSeeking master(bench.seeking, bench.Pin(0));
  const PinSeeking other(bench.seeking, bench.Pin(1));
  const struct {
    Guid format;
    FilterResult supported, onFilter, onMaster, onOther;
  } rows[] = {
      {TIME_FORMAT_MEDIA_TIME, FilterResult::Ok, FilterResult::Ok, FilterResult::Ok,
       FilterResult::NotImplemented},
      {GUID_NULL, FilterResult::False, FilterResult::InvalidArgument, FilterResult::Ok, FilterResult::Ok},
      {kFrames, FilterResult::False, FilterResult::InvalidArgument, FilterResult::NotImplemented,
       FilterResult::NotImplemented},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(bench.seeking.IsFormatSupported(row.format), row.supported);
    EXPECT_EQ(bench.seeking.SetTimeFormat(row.format), row.onFilter);
    EXPECT_EQ(master.SetTimeFormat(row.format), row.onMaster);
    EXPECT_EQ(other.SetTimeFormat(row.format), row.onOther);
  }
}

TEST(PinSeeking, ConvertsMediaTimeAlone) {
  Bench bench({2});
  const PinSeeking pin(bench.seeking, bench.Pin(0));
  const struct {
    const Guid* target;
    const Guid* source;
    bool converts;
  } rows[] = {{nullptr, nullptr, true},
              {&TIME_FORMAT_MEDIA_TIME, nullptr, true},
              {nullptr, &TIME_FORMAT_MEDIA_TIME, true},
              {&kFrames, nullptr, false},
              {&TIME_FORMAT_MEDIA_TIME, &GUID_NULL, false}};
  for (const auto& row : rows) {
    i64 target = 5;
    EXPECT_EQ(pin.ConvertTimeFormat(&target, row.target, -9, row.source),
              row.converts ? FilterResult::Ok : FilterResult::InvalidArgument);
    EXPECT_EQ(target, row.converts ? -9 : 5);
  }
  EXPECT_EQ(pin.ConvertTimeFormat(nullptr, nullptr, 1, nullptr), FilterResult::Pointer);
}

TEST(FilterSeeking, MeasuresOnTheFirstPin) {
  Bench bench({4, 9});
  const PinSeeking second(bench.seeking, bench.Pin(1));
  const auto duration = [&] {
    i64 hns = -1;
    EXPECT_EQ(bench.seeking.GetDuration(&hns), FilterResult::Ok);
    return hns;
  };
  const auto stop = [&](const auto& seeking) {
    i64 hns = -1;
    EXPECT_EQ(seeking.GetStopPosition(&hns), FilterResult::Ok);
    return hns;
  };
  EXPECT_EQ(duration(), 4 * kSampleHns);
  EXPECT_EQ(stop(bench.seeking), 4 * kSampleHns) << "the duration until a stop is set";
  bench.Pin(1).Position().m_stopPosition = 5;
  EXPECT_EQ(stop(bench.seeking), 4 * kSampleHns);
  bench.Pin(0).Position().m_stopPosition = 7;
  EXPECT_EQ(stop(bench.seeking), 7);
  EXPECT_EQ(stop(second), 4 * kSampleHns) << "a pin answers the duration, whatever stop was set";

  i64 current = -1, last = -1;
  EXPECT_EQ(bench.seeking.GetCurrentPosition(&current), FilterResult::False) << "before the first sample";
  EXPECT_EQ(current, 0);
  bench.Pin(0).Position().m_currentSample = 3;
  EXPECT_EQ(bench.seeking.GetCurrentPosition(&current), FilterResult::Ok);
  EXPECT_EQ(current, 2 * kSampleHns);
  EXPECT_EQ(second.GetCurrentPosition(&current), FilterResult::NotImplemented);
  EXPECT_EQ(bench.seeking.GetPositions(&current, &last), FilterResult::Ok);
  EXPECT_EQ(current, 2 * kSampleHns);
  EXPECT_EQ(last, 4 * kSampleHns) << "the duration, not the stop";
  EXPECT_EQ(second.GetAvailable(&current, &last), FilterResult::Ok);
  EXPECT_EQ(current, 0);
  EXPECT_EQ(second.GetAvailable(nullptr, nullptr), FilterResult::Ok);
}

TEST(FilterSeeking, WhatTheTrackCanNotTellIsZero) {
  for (const bool withPin : {true, false}) {
    std::optional<Bench> bench;
    if (withPin) {
      bench.emplace(std::initializer_list<u64>{4});
      bench->file.tracks[0].failing = {"GetSampleDecodingTime"};
    } else {
      bench.emplace(std::initializer_list<u64>{});
    }
    i64 duration = -1, stop = -1, current = -1, last = -1;
    EXPECT_EQ(bench->seeking.GetDuration(&duration), FilterResult::False);
    EXPECT_EQ(bench->seeking.GetStopPosition(&stop), FilterResult::False);
    EXPECT_EQ(bench->seeking.GetPositions(&current, &last), FilterResult::False);
    EXPECT_EQ(duration, 0);
    EXPECT_EQ(stop, 0);
    EXPECT_EQ(current, 0);
    EXPECT_EQ(last, 0);
    EXPECT_EQ(bench->Seek(0), FilterResult::Ok);
    EXPECT_EQ(bench->Seek(1), withPin ? FilterResult::False : FilterResult::Ok);
  }
  Bench bench({4});
  i64 stop = -1;
  EXPECT_EQ(bench.seeking.GetPositions(nullptr, &stop), FilterResult::Ok);
  i64 current = -1;
  stop = -1;
  EXPECT_EQ(bench.seeking.GetPositions(&current, &stop), FilterResult::False) << "before the first sample";
  EXPECT_EQ(stop, 4 * kSampleHns) << "the stop is filled all the same";
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
  i64 preroll = -1;
  EXPECT_EQ(PinSeeking(bench.seeking, bench.Pin(0)).GetPreroll(&preroll), FilterResult::Ok);
  EXPECT_EQ(preroll, 0);
}

}  // namespace
}  // namespace kt

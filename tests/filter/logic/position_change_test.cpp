#include "filter/logic/position_change.h"

#include <limits>
#include <memory>
#include <tuple>

#include "support/fake_worker.h"
#include "support/movie_builder.h"

namespace kt::test {
namespace {

/// Samples of 100 ms from `first` on, sync samples where the string has an "I".
FakeTrackFacts Samples(u64 first, std::string_view sync) {
  FakeTrackFacts track;
  for (std::size_t i = 0; i < sync.size(); ++i)
    track.samples.push_back({{1}, first + 100 * i, first + 100 * i, sync[i] == 'I'});
  return track;
}

constexpr i64 kMillisecond = 10'000;
constexpr i64 kLength = 1000 * kMillisecond;

FilterResult MovePin(CReaderPin& pin, i64 current) {
  return ChangePosition(pin, {&current, kAbsolutePositioning, nullptr, 0}, kLength, nullptr);
}

// What can not be found keeps its value, and the rest goes on with it.
TEST(PositionChange, GoesOnAfterAFailure) {
  // The current sample and the base then.
  const std::tuple<const char*, u32, u64> rows[] = {
      {"FindSampleByDecodingTime", 3, 400},  // sample 5 stays, and its sync sample is 4
      {"GetSampleDecodingTime", 0, 77},
      {"GetSampleCompositionTime", 2, 200},
      {"FindSyncSample", 2, 200},
  };
  for (const auto& [failing, currentSample, base] : rows) {
    SCOPED_TRACE(failing);
    FakeHost host({Samples(0, "IPPIP")});
    CReaderPin& pin = host.LoadOnePin();
    SetPosition(pin, {5, 77, 0, 0});
    host.file.tracks[0].failing = {failing};
    EXPECT_EQ(MovePin(pin, 250 * kMillisecond), FilterResult::Ok);
    EXPECT_EQ(pin.Position(), (PinPosition{currentSample, base, 250 * kMillisecond, 0}));
  }
}

TEST(PositionChange, NothingCountsBelowZero) {
  FakeHost host({Samples(0, "")});
  CReaderPin& pin = host.LoadOnePin();
  EXPECT_EQ(MovePin(pin, 0), FilterResult::Ok);
  const std::unique_ptr<CMp4Track> track(pin.LoseTrack());
  host.file.open.clear();
  EXPECT_EQ(MovePin(pin, -7), FilterResult::Ok);
  EXPECT_EQ(pin.Position(), PinPosition());
}

// With the library's own search, which answers sample 0 and then refuses: it must not stick to that.
TEST(PositionChange, FindsTheFirstSampleOfADelayedTrackEachTime) {
  const TempFile file(MovieOf(Track().With(&Track::edts, Edts({{500, -1}, {40, 0}}))).Build());
  FakeHost host;
  CReaderSource source(host);
  ASSERT_EQ(source.Load(file.Name().c_str()), FilterResult::Ok);
  CReaderPin& pin = *source.Pins().at(0);
  for (const i64 milliseconds : {0, 100, 0, 520, 3, 510}) {
    SCOPED_TRACE(milliseconds);
    SetPosition(pin, {4, 77, 0, 0});
    ASSERT_EQ(MovePin(pin, milliseconds * kMillisecond), FilterResult::Ok);
    const u32 expected = std::max(static_cast<u32>(milliseconds), 500u);
    EXPECT_EQ(pin.Position(), (PinPosition{(expected - 500) / 10, expected, milliseconds * kMillisecond, 0}));
  }
  // Another's search may have left the library there.
  SetPosition(pin, {.m_currentSample = 4});
  u32 none = 5;
  ASSERT_EQ(TrackBehind(pin)->FindSampleByDecodingTime(0, &none), MP4_OK);
  ASSERT_EQ(none, 0u);
  EXPECT_EQ(MovePin(pin, 0), FilterResult::Ok);
  EXPECT_EQ(pin.Position().m_baseTime, 500u);
}

TEST(PositionChange, OnlyAbsolutePositionsCount) {
  const i64 current = 100 * kMillisecond, stop = 50 * kMillisecond;
  const i64 tooFar = kLength + 1, farthest = std::numeric_limits<i64>::max();
  // The answer, start and stop then, and whether the worker starts anew.
  const std::tuple<const char*, PositionChange, FilterResult, i64, i64, bool> rows[] = {
      {"nothing", {}, FilterResult::Ok, 7, 8, false},
      {"relative ones", {&current, 2, &stop, 2}, FilterResult::Ok, 7, 8, false},
      {"null ones that do not count", {nullptr, 4, nullptr, 8}, FilterResult::Ok, 7, 8, false},
      {"a null position", {nullptr, 1, &stop, 1}, FilterResult::Pointer, 7, 8, false},
      {"a null stop", {&current, 1, nullptr, 1}, FilterResult::Pointer, 7, 8, false},
      {"a stop alone leaves the worker", {&tooFar, 0, &stop, 1}, FilterResult::Ok, 7, 500'000, false},
      {"every stop is taken", {nullptr, 0, &farthest, 1}, FilterResult::Ok, 7, farthest, false},
      {"the bit among others", {&current, 0x17, &stop, 0}, FilterResult::Ok, 1'000'000, 8, true},
      {"beyond the length", {&tooFar, 1, &stop, 1}, FilterResult::False, 7, 8, false},
  };
  for (const auto& [what, change, result, newStart, newStop, restarts] : rows) {
    SCOPED_TRACE(what);
    FakeWorkers bench({Samples(0, "IIIII")});
    CReaderPin& pin = bench.LoadOnePin();
    SetPosition(pin, {5, 0, 7, 8});
    EXPECT_EQ(ChangePosition(pin, change, kLength, bench.WorkerOf(pin)), result);
    EXPECT_EQ(pin.Position(), (PinPosition{restarts ? 1u : 5u, restarts ? 100u : 0u, newStart, newStop}));
    EXPECT_EQ(bench.log.size(), restarts ? 4u : 0u);
  }
}

}  // namespace
}  // namespace kt::test

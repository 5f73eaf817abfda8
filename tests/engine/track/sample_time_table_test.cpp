#include "engine/track/sample_time_table.h"

#include <random>

#include "support/box_probe.h"
#include "support/track_boxes.h"

namespace kt::test {
namespace {

using Runs = std::vector<std::vector<u32>>;
using Sample = Answer<u32>;

struct Times {
  u64 decoding, composition;
  bool operator==(const Times&) const = default;
};

/// The plain way: every sample's times one after the other, and searches that walk over them.
class PlainTimeTable {
 public:
  PlainTimeTable(CTimeToSampleBox* stts, CCompositionOffsetBox* ctts, u64 startOffset) {
    u64 time = 0;
    for (u32 sample = 1; stts->GetSampleTime(sample, &time) == MP4_OK; ++sample) {
      u32 offset = 0;
      if (ctts == nullptr || ctts->GetSampleOffset(sample, &offset) != MP4_OK) offset = 0;
      m_times.push_back({time + startOffset, time + startOffset + offset});
    }
  }

  u32 Count() const { return static_cast<u32>(m_times.size()); }
  const Times& Of(u32 sample) const { return m_times[sample - 1]; }

  Sample FindByDecodingTime(u64 time) {
    if (m_lastFound > Count()) return {MP4_NOT_FOUND, 777};
    if (m_lastFound == 0) return {MP4_ZERO_INDEX, 777};
    u32 sample = Of(m_lastFound).decoding > time ? 1 : m_lastFound;
    for (; sample <= Count(); ++sample) {
      if (Of(sample).decoding < time) continue;
      m_lastFound = Of(sample).decoding > time ? sample - 1 : sample;
      return {MP4_OK, m_lastFound};
    }
    return {MP4_NOT_FOUND, Count()};
  }

  Sample FindByCompositionTime(u64 time) {
    if (Count() == 0) return {MP4_NOT_FOUND, 777};
    u32 best = 1, above = 0;
    for (u32 sample = 1; sample <= Count() && above < 2; ++sample) {
      if (Of(sample).composition > time) {
        ++above;
      } else if (Of(sample).composition > Of(best).composition) {
        best = sample;
      }
    }
    m_lastFound = best;
    return {MP4_OK, best};
  }

 private:
  std::vector<Times> m_times;
  u32 m_lastFound = 1;
};

Times TimesOf(CSampleTimeTable& table, u32 sample) {
  Times times{};
  EXPECT_EQ(table.GetSampleTimes(sample, &times.decoding, &times.composition), MP4_OK) << sample;
  return times;
}

/// Generated runs and the questions that are asked of them.
class Generator {
 public:
  explicit Generator(u32 seed) : m_random(seed) {}

  u32 Below(u32 bound) { return static_cast<u32>(m_random() % bound); }
  template <std::size_t Count>
  u64 OneOf(const u64 (&values)[Count]) {
    return values[Below(Count)];
  }

  Runs MakeRuns(u32 most, u32 longest, std::vector<u64> values) {
    Runs runs(Below(most + 1));
    for (auto& run : runs) {
      run = {Below(4) == 0 ? 0 : 1 + Below(longest),
             static_cast<u32>(values[Below(static_cast<u32>(values.size()))])};
    }
    return runs;
  }

  /// A time at or beside one of a sample, or anywhere.
  u64 MakeTime(const PlainTimeTable& plain) {
    const u64 wild[] = {0, 1, ~u64{0}, u64{1} << 63, u64{m_random()} << 32};
    if (plain.Count() == 0 || Below(20) == 0) return OneOf(wild);
    const Times& times = plain.Of(1 + Below(plain.Count()));
    return (Below(2) == 0 ? times.decoding : times.composition) + Below(3) - 1;
  }

 private:
  std::mt19937 m_random;
};

void CompareWithPlain(Generator& generator, const Runs& stts, const Runs* ctts, u64 startOffset,
                      u32 searches) {
  const auto times = ReadBoxAs<CTimeToSampleBox>(Table("stts", stts));
  const auto offsets = ctts == nullptr ? nullptr : ReadBoxAs<CCompositionOffsetBox>(Table("ctts", *ctts));
  PlainTimeTable plain(times.get(), offsets.get(), startOffset);
  CSampleTimeTable table;
  ASSERT_EQ(table.Build(times.get(), offsets.get(), startOffset), MP4_OK);

  const u32 count = Got(table, &CSampleTimeTable::GetSampleCount);
  ASSERT_EQ(count, plain.Count());
  for (u32 sample = 1; sample <= count; ++sample) ASSERT_EQ(TimesOf(table, sample), plain.Of(sample));
  for (u32 i = 0; i < searches; ++i) {
    const u64 time = generator.MakeTime(plain);
    if (count > 0) {
      const u32 sample = 1 + generator.Below(count);
      ASSERT_EQ(TimesOf(table, sample), plain.Of(sample));
    }
    const bool decoding = generator.Below(2) == 0;
    ASSERT_EQ(decoding ? Ask(table, &CSampleTimeTable::FindByDecodingTime, time)
                       : Ask(table, &CSampleTimeTable::FindByCompositionTime, time),
              decoding ? plain.FindByDecodingTime(time) : plain.FindByCompositionTime(time))
        << time;
  }
}

constexpr u64 kStarts[] = {0, 0, 7, ~u64{0}, ~u64{0} - 4, ~u64{0} - 40, 0 - (u64{1} << 32), u64{1} << 63};

// Empty runs, repeated times, offsets that read as negative, times that pass 2^64.
TEST(SampleTimeTable, AnswersSmallTablesLikeTheExpandedOne) {
  Generator generator(3);
  for (int i = 0; i < 20000 && !HasFatalFailure(); ++i) {
    const Runs stts = generator.MakeRuns(5, 4, {0, 0, 1, 1, 2, 10, 0x7FFFFFFF, 0xFFFFFFFF});
    const Runs ctts = generator.MakeRuns(6, 3, {0, 0, 1, 2, 3, 10, 20, 0xFFFFFFFE, 0xFFFFFFFF});
    SCOPED_TRACE(i);
    CompareWithPlain(generator, stts, generator.Below(8) == 0 ? nullptr : &ctts, generator.OneOf(kStarts),
                     20);
  }
}

// Tables long enough that searches begin in their midst: frames in reordered groups, single outliers, and
// times that pass 2^64 on the way.
TEST(SampleTimeTable, AnswersLongTablesLikeTheExpandedOne) {
  Generator generator(4);
  for (int i = 0; i < 60 && !HasFatalFailure(); ++i) {
    Runs ctts;
    const u32 pattern[] = {10, 25, 10, 0, 5};
    for (u32 sample = 0; sample < 700; ++sample) {
      const u32 outlier = generator.Below(150) == 0 ? generator.Below(3000) : 0;
      ctts.push_back({1 + generator.Below(2) * generator.Below(3), pattern[sample % 5] + outlier});
    }
    const Runs steady = {{1200, 5}};
    const Runs varied = generator.MakeRuns(400, 4, {0, 4, 5, 5, 6});
    SCOPED_TRACE(i);
    const u64 start = i % 3 == 0 ? 0 - u64{generator.Below(6000)} : generator.Below(100);
    CompareWithPlain(generator, i % 2 == 0 ? steady : varied, &ctts, start, 600);
  }
}

// An empty run adds nothing, but as the last one it makes the number behind the run before a sample: readers
// rely on it. Both tables above would agree on anything else.
TEST(SampleTimeTable, EndsWithASampleOfAnEmptyLastRun) {
  const auto times = ReadBoxAs<CTimeToSampleBox>(Table("stts", {{1, 10}, {0, 3}, {2, 20}, {0, 7}}));
  const auto offsets = ReadBoxAs<CCompositionOffsetBox>(Table("ctts", {{2, 5}, {0, 9}, {1, 0xFFFFFFFE}}));
  CSampleTimeTable table;
  ASSERT_EQ(table.Build(times.get(), offsets.get(), 100), MP4_OK);
  const Times expected[] = {{100, 105}, {110, 115}, {130, 130 + u64{0xFFFFFFFE}}, {150, 150}};
  ASSERT_EQ(Got(table, &CSampleTimeTable::GetSampleCount), 4u);
  for (u32 sample = 1; sample <= 4; ++sample) EXPECT_EQ(TimesOf(table, sample), expected[sample - 1]);
}

}  // namespace
}  // namespace kt::test

#include "boxes/composition_offset_box.h"

#include <tuple>

#include "boxes/time_to_sample_box.h"
#include "support/box_probe.h"
#include "support/track_boxes.h"

namespace kt::test {
namespace {

using Time = Answer<u64>;

Time TimeOf(CTimeToSampleBox& box, u32 sample) {
  return Ask(box, &CTimeToSampleBox::GetSampleTime, sample);
}

Answer<u32> OffsetOf(CCompositionOffsetBox& box, u32 sample) {
  return Ask(box, &CCompositionOffsetBox::GetSampleOffset, sample);
}

// The number one past the last sample has a time although it is not found, and an empty last run makes it a
// sample: readers rely on both.
TEST(TimeToSampleBox, KnowsTheTimesAndTheEnd) {
  // Runs, and the times of samples 1, 2, ...
  const std::tuple<const char*, std::vector<std::vector<u32>>, std::vector<Time>> rows[] = {
      {"two runs",
       {{2, 10}, {2, 20}},
       {{MP4_OK, 0}, {MP4_OK, 10}, {MP4_OK, 20}, {MP4_OK, 40}, {MP4_NOT_FOUND, 60}, {MP4_NOT_FOUND, 777}}},
      {"an empty last run",
       {{2, 10}, {0, 5}},
       {{MP4_OK, 0}, {MP4_OK, 10}, {MP4_OK, 20}, {MP4_NOT_FOUND, 777}}},
      {"an empty run between", {{1, 10}, {0, 5}, {1, 7}}, {{MP4_OK, 0}, {MP4_OK, 10}, {MP4_NOT_FOUND, 17}}},
      {"a lone empty run", {{0, 5}}, {{MP4_NOT_FOUND, 0}, {MP4_NOT_FOUND, 777}}},
      {"empty runs alone", {{0, 5}, {0, 5}}, {{MP4_OK, 0}, {MP4_NOT_FOUND, 777}}},
      {"no runs", {}, {{MP4_NOT_FOUND, 777}}},
      {"equal times", {{3, 0}}, {{MP4_OK, 0}, {MP4_OK, 0}, {MP4_OK, 0}, {MP4_NOT_FOUND, 0}}},
  };
  for (const auto& [name, runs, times] : rows) {
    SCOPED_TRACE(name);
    const auto box = ReadBoxAs<CTimeToSampleBox>(Table("stts", runs));
    const u32 count = static_cast<u32>(times.size());
    // Upwards; then downwards and with every number asked twice, where the cursor starts over.
    for (u32 step = 0; step < 3 * count; ++step) {
      const u32 index = step < count ? step : count - 1 - (step - count) / 2;
      EXPECT_EQ(TimeOf(*box, index + 1), times[index]) << index;
    }
  }
}

TEST(TimeToSampleBox, SumsIn64Bits) {
  const auto box = ReadBoxAs<CTimeToSampleBox>(Table("stts", {{0xFFFFFFF0, 0xFFFFFFFF}, {100, 1}}));
  const u64 total = u64{0xFFFFFFF0} * 0xFFFFFFFF;
  EXPECT_EQ(TimeOf(*box, 0xFFFFFFF1), (Time{MP4_OK, total}));
  EXPECT_EQ(TimeOf(*box, 0xFFFFFFF3), (Time{MP4_OK, total + 2}));
}

// A time that does not rise becomes the last one plus 2, and a step of 2^31 or more counts as not rising as
// long as its low half is negative: readers of written files rely on it.
TEST(TimeToSampleBox, WritesStepsAsRuns) {
  const std::tuple<const char*, std::vector<u64>, std::vector<std::vector<u32>>> rows[] = {
      {"one sample lasts one tick", {5000}, {{1, 1}}},
      {"the last sample lasts as long as the one before", {0, 10, 20, 50}, {{2, 10}, {2, 30}}},
      {"the first time is not kept", {100, 110, 120}, {{3, 10}}},
      {"repeated times rise by 2", {100, 100, 100}, {{3, 2}}},
      {"falling times rise by 2", {100, 50, 110}, {{1, 2}, {2, 8}}},
      {"a step of 2^31 counts as falling", {0, 0x80000000}, {{2, 2}}},
      {"a step of 2^31 - 1", {0, 0x7FFFFFFF}, {{2, 0x7FFFFFFF}}},
      {"a step of 2^32 counts as repeated", {0, 0x100000000}, {{2, 2}}},
      {"a step across 2^32", {0xFFFFFFFF, 0x100000001}, {{2, 2}}},
  };
  for (const auto& [name, times, runs] : rows) {
    SCOPED_TRACE(name);
    CTimeToSampleBox box;
    u32 sample = 0;
    for (const u64 time : times) ASSERT_EQ(box.AddSampleTime(++sample, time), MP4_OK);
    EXPECT_EQ(box.AddSampleTime(sample, 9999), MP4_BAD_ARGUMENT);
    ASSERT_EQ(box.FinishTimes(), MP4_OK);
    EXPECT_EQ(WrittenBytes(&box), Table("stts", runs));
  }
}

TEST(TimeToSampleBox, IsReadWhileItIsWritten) {
  CTimeToSampleBox box;
  for (u32 sample = 1; sample <= 4; ++sample) {
    ASSERT_EQ(box.AddSampleTime(sample, 10 * sample), MP4_OK);
    EXPECT_EQ(TimeOf(box, sample).result, MP4_NOT_FOUND);  // that sample has no duration yet
    if (sample == 1) continue;
    EXPECT_EQ(TimeOf(box, sample - 1), (Time{MP4_OK, 10 * (sample - 2)}));
  }
}

TEST(CompositionOffsetBox, FindsOffsetsInAnyOrder) {
  const auto box =
      ReadBoxAs<CCompositionOffsetBox>(Table("ctts", {{0, 9}, {2, 5}, {0, 9}, {1, 0xFFFFFFFE}, {0, 9}}));
  const Answer<u32> expected[] = {
      {MP4_OK, 5}, {MP4_OK, 5}, {MP4_OK, 0xFFFFFFFE}, {MP4_NOT_FOUND, 777}, {MP4_NOT_FOUND, 777}};
  for (const u32 sample : {1u, 2u, 3u, 4u, 5u, 3u, 2u, 1u, 3u, 4u, 1u}) {
    EXPECT_EQ(OffsetOf(*box, sample), expected[sample - 1]) << sample;
  }
  EXPECT_EQ(OffsetOf(*ReadBoxAs<CCompositionOffsetBox>(Table("ctts", {})), 1).result, MP4_NOT_FOUND);
  // Sums in 32 bits would wrap before the last run and find its offset for sample 3.
  const auto large = ReadBoxAs<CCompositionOffsetBox>(Table("ctts", {{2, 5}, {0xFFFFFFFF, 6}, {9, 7}}));
  EXPECT_EQ(OffsetOf(*large, 3), (Answer<u32>{MP4_OK, 6}));
  EXPECT_EQ(OffsetOf(*large, 0xFFFFFFFF), (Answer<u32>{MP4_OK, 6}));
}

// An end once met that is not forgotten when the table grows.
TEST(CompositionOffsetBox, WritesRunsAndIsReadWhileItIsWritten) {
  CCompositionOffsetBox box;
  EXPECT_EQ(box.AddSampleOffset(2, 5), MP4_BAD_ARGUMENT);
  u32 sample = 0;
  for (const u32 offset : {5u, 5u, 0u, 5u}) {
    EXPECT_EQ(OffsetOf(box, sample + 1).result, MP4_NOT_FOUND);
    ASSERT_EQ(box.AddSampleOffset(++sample, offset), MP4_OK);
    EXPECT_EQ(OffsetOf(box, sample), (Answer<u32>{MP4_OK, offset}));
  }
  EXPECT_EQ(WrittenBytes(&box), Table("ctts", {{2, 5}, {1, 0}, {1, 5}}));
}

}  // namespace
}  // namespace kt::test

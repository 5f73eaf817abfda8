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

}  // namespace
}  // namespace kt::test

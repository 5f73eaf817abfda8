#include <random>
#include <tuple>

#include "boxes/tables/sample_size_box.h"
#include "boxes/tables/sample_to_chunk_box.h"
#include "boxes/tables/sync_sample_box.h"
#include "support/box_probe.h"
#include "support/track_boxes.h"

namespace kt::test {
namespace {

using Number = Answer<u32>;

Number SizeOf(const CSampleSizeBox& box, u32 sample) {
  return Ask(box, &CSampleSizeBox::GetSampleSize, sample);
}

// Readers rely on the constant size being given for sample 0 too.
TEST(SampleSizeBox, GivesAConstantSizeForSampleZeroToo) {
  const auto box = ReadBoxAs<CSampleSizeBox>(ConstantStsz(500, 3));
  for (const u32 sample : {0u, 1u, 3u}) EXPECT_EQ(SizeOf(*box, sample), (Number{MP4_OK, 500}));
  EXPECT_EQ(SizeOf(*box, 4), (Number{MP4_NOT_FOUND, 777}));
  const auto table = ReadBoxAs<CSampleSizeBox>(Stsz({7, 8}));
  EXPECT_EQ(SizeOf(*table, 0), (Number{MP4_ZERO_INDEX, 777}));
  EXPECT_EQ(SizeOf(*table, 2), (Number{MP4_OK, 8}));
  EXPECT_EQ(SizeOf(*table, 3), (Number{MP4_NOT_FOUND, 777}));
}

Number ChunkOf(CSampleToChunkBox& box, u32 sample) {
  return Ask(box, &CSampleToChunkBox::GetChunkOfSample, sample);
}

Number FirstSampleOf(CSampleToChunkBox& box, u32 chunk) {
  return Ask(box, &CSampleToChunkBox::GetFirstSampleOfChunk, chunk);
}

// Chunks of 2, 2, 3, 3 and 1 samples, of which only the first two are alike. Any sample after any other: the
// search goes on, steps back or stays.
TEST(SampleToChunkBox, KeepsLikeChunksAsOneRunAndFindsThem) {
  CSampleToChunkBox box;
  EXPECT_EQ(ChunkOf(box, 1), (Number{MP4_NOT_FOUND, 1}));
  EXPECT_EQ(FirstSampleOf(box, 1), (Number{MP4_NOT_FOUND, 1}));
  const u32 chunks[][2] = {{2, 1}, {2, 1}, {3, 1}, {3, 2}, {1, 2}};  // samples and description
  for (u32 i = 0; i < 5; ++i) EXPECT_EQ(box.AddChunk(i + 1, chunks[i][0], chunks[i][1]), MP4_OK);
  EXPECT_EQ(box.AddChunk(5, 1, 2), MP4_BAD_ARGUMENT);
  EXPECT_EQ(WrittenBytes(&box), TableBox("stsc", 4, Bytes().U32s({1, 2, 1, 3, 3, 1, 4, 3, 2, 5, 1, 2})));
  const u32 chunkOf[] = {0, 1, 1, 2, 2, 3, 3, 3, 4, 4, 4, 5, 6};  // there is no end to the last run
  const u32 firstOf[] = {0, 1, 3, 5, 8, 11, 12};
  for (u32 i = 0; i < 144; ++i) {
    for (const u32 sample : {1 + i / 12, 1 + i % 12}) {
      ASSERT_EQ(ChunkOf(box, sample), (Number{MP4_OK, chunkOf[sample]})) << i;
      ASSERT_EQ(FirstSampleOf(box, chunkOf[sample]), (Number{MP4_OK, firstOf[chunkOf[sample]]})) << i;
    }
  }
  EXPECT_EQ(ChunkOf(*ReadBoxAs<CSampleToChunkBox>(Stsc({{1, 0}})), 1), (Number{MP4_CORRUPT, 1}));
}

constexpr auto kSyncBefore = &CSyncSampleBox::FindPrecedingSyncSample;

Number PlainSyncBefore(const std::vector<u32>& table, u32 sample) {
  if (table.empty() || table[0] > sample) return {MP4_NOT_FOUND, 1};
  std::size_t next = 1;
  while (next < table.size() && table[next] <= sample) ++next;
  return {MP4_OK, table[next - 1]};
}

// Blocks passed over that should not be, in tables that rise and tables that do not.
TEST(SyncSampleBox, AnswersLikeAWalkOverTheWholeTable) {
  std::mt19937 random(2);
  for (const u32 count : {0u, 1u, 2u, 99u, 100u, 101u, 200u, 731u}) {
    for (const u32 disorder : {0u, 1u, 2u, 5000u}) {
      std::vector<u32> table(count);
      CSyncSampleBox box;
      for (u32 i = 0; i < count; ++i) {
        table[i] = 5 + 3 * i + (disorder == 0 ? 0 : static_cast<u32>(random() % (disorder * 5)));
        ASSERT_EQ(box.AddSyncSample(table[i]), MP4_OK);
        // Searches between the additions: what was worked out must not go stale.
        const u32 sample = static_cast<u32>(random() % (3 * count + 20));
        ASSERT_EQ(Ask(box, kSyncBefore, sample),
                  PlainSyncBefore({table.data(), table.data() + i + 1}, sample));
      }
      for (u32 sample = 0; sample < 3 * count + 5 * disorder + 20; ++sample) {
        ASSERT_EQ(Ask(box, kSyncBefore, sample), PlainSyncBefore(table, sample)) << count << " " << disorder;
      }
    }
  }
}

}  // namespace
}  // namespace kt::test

#include <random>
#include <tuple>

#include "boxes/chunk_large_offset_box.h"
#include "boxes/chunk_offset_box.h"
#include "boxes/sample_size_box.h"
#include "boxes/sample_to_chunk_box.h"
#include "boxes/sync_sample_box.h"
#include "support/box_probe.h"
#include "support/track_boxes.h"

namespace kt::test {
namespace {

using Number = Answer<u32>;

Number SizeOf(const CSampleSizeBox& box, u32 sample) {
  return Ask(box, &CSampleSizeBox::GetSampleSize, sample);
}

Number ChunkOf(CSampleToChunkBox& box, u32 sample) {
  return Ask(box, &CSampleToChunkBox::GetChunkOfSample, sample);
}

Number FirstOf(CSampleToChunkBox& box, u32 chunk) {
  return Ask(box, &CSampleToChunkBox::GetFirstSampleOfChunk, chunk);
}

Number SyncBefore(CSyncSampleBox& box, u32 sample) {
  return Ask(box, &CSyncSampleBox::FindPrecedingSyncSample, sample);
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

TEST(SampleSizeBox, WritesATableOnlyForSizesThatDiffer) {
  const std::pair<std::vector<u32>, Bytes> rows[] = {{{}, ConstantStsz(0, 0)},
                                                     {{7, 7, 7}, ConstantStsz(7, 3)},
                                                     {{7, 7, 9}, Stsz({7, 7, 9})},
                                                     {{7, 9, 7, 7}, Stsz({7, 9, 7, 7})}};
  for (const auto& [sizes, written] : rows) {
    CSampleSizeBox box;
    u32 sample = 0;
    for (const u32 size : sizes) ASSERT_EQ(box.AddSampleSize(++sample, size), MP4_OK);
    EXPECT_EQ(box.AddSampleSize(sample + 2, 7), MP4_BAD_ARGUMENT);
    EXPECT_EQ(box.AddSampleSize(sample, 7), MP4_BAD_ARGUMENT);
    EXPECT_EQ(box.AddSampleSize(sample + 1, 0), MP4_BAD_ARGUMENT);
    EXPECT_EQ(WrittenBytes(&box), written);
  }
}

Number PlainSum(const CSampleSizeBox& box, u32 first, u32 end) {
  Number sum{MP4_OK, 0};
  for (u32 sample = first; sample < end; ++sample) {
    const Number size = SizeOf(box, sample);
    if (size.result != MP4_OK) return {size.result, 0};
    sum.value += size.value;
  }
  return sum;
}

// Sums over whole blocks and parts of blocks, wrapping, against the sizes added one by one.
TEST(SampleSizeBox, SumsLikeAddingEachSize) {
  std::mt19937 random(1);
  for (const u32 count : {0u, 1u, 99u, 100u, 101u, 1000u, 1234u}) {
    std::vector<u64> sizes(count);
    for (u64& size : sizes) size = static_cast<u32>(random());
    const auto table = ReadBoxAs<CSampleSizeBox>(Stsz(sizes));
    const auto constant = ReadBoxAs<CSampleSizeBox>(ConstantStsz(0x12345678, count));
    for (int i = 0; i < 300; ++i) {
      const u32 first = static_cast<u32>(random() % (count + 3));
      const u32 end = static_cast<u32>(random() % (count + 4));
      for (CSampleSizeBox* box : {table.get(), constant.get()}) {
        ASSERT_EQ(Ask(*box, &CSampleSizeBox::SumSampleSizes, first, end), PlainSum(*box, first, end))
            << count << ": " << first << " to " << end;
      }
    }
  }
}

TEST(SampleSizeBox, SumsSizesAddedAfterASum) {
  CSampleSizeBox box;
  for (u32 sample = 1; sample <= 350; ++sample) {
    ASSERT_EQ(box.AddSampleSize(sample, sample), MP4_OK);
    ASSERT_EQ(Got(box, &CSampleSizeBox::SumSampleSizes, 1u, sample + 1), sample * (sample + 1) / 2);
  }
}

TEST(SampleToChunkBox, FindsChunksAndTheirFirstSamplesInAnyOrder) {
  const auto box = ReadBoxAs<CSampleToChunkBox>(Table("stsc", {{1, 2, 1}, {3, 5, 1}, {4, 1, 1}}));
  const std::tuple<u32, u32, u32> rows[] = {{1, 1, 1},   {2, 1, 1},   {3, 2, 3},    {4, 2, 3},   {5, 3, 5},
                                            {9, 3, 5},   {10, 4, 10}, {11, 5, 11},  {10, 4, 10}, {1, 1, 1},
                                            {10, 4, 10}, {5, 3, 5},   {4, 2, 3},    {9, 3, 5},   {3, 2, 3},
                                            {2, 1, 1},   {5, 3, 5},   {99, 93, 99}, {1, 1, 1}};
  for (const auto& [sample, chunk, first] : rows) {
    EXPECT_EQ(ChunkOf(*box, sample), (Number{MP4_OK, chunk})) << sample;
    EXPECT_EQ(FirstOf(*box, chunk), (Number{MP4_OK, first})) << sample;
  }
}

TEST(SampleToChunkBox, AnswersOneWithTheFailureOfAnEmptyTable) {
  const auto box = ReadBoxAs<CSampleToChunkBox>(Table("stsc", {}));
  EXPECT_EQ(ChunkOf(*box, 1), (Number{MP4_NOT_FOUND, 1}));
  EXPECT_EQ(FirstOf(*box, 1), (Number{MP4_NOT_FOUND, 1}));
}

// A division by zero.
TEST(SampleToChunkBox, RefusesChunksOfNoSamples) {
  const auto box = ReadBoxAs<CSampleToChunkBox>(Table("stsc", {{1, 0, 1}}));
  EXPECT_EQ(ChunkOf(*box, 1), (Number{MP4_CORRUPT, 1}));
  const auto later = ReadBoxAs<CSampleToChunkBox>(Table("stsc", {{1, 2, 1}, {2, 0, 1}}));
  EXPECT_EQ(ChunkOf(*later, 2), (Number{MP4_OK, 1}));
  EXPECT_EQ(ChunkOf(*later, 4), (Number{MP4_CORRUPT, 1}));
}

// Falling first chunks wrap in 32 bits and end; the numbers are what the arithmetic gives.
TEST(SampleToChunkBox, WrapsWhereFirstChunksFall) {
  const auto box = ReadBoxAs<CSampleToChunkBox>(Table("stsc", {{5, 1, 1}, {1, 1, 1}}));
  EXPECT_EQ(ChunkOf(*box, 3), (Number{MP4_OK, 7}));
  EXPECT_EQ(FirstOf(*box, 7), (Number{MP4_OK, 3}));
  EXPECT_EQ(FirstOf(*box, 0), (Number{MP4_OK, 0xFFFFFFFC}));
}

TEST(SampleToChunkBox, WritesLikeChunksAsOneRunAndIsReadRightAfter) {
  CSampleToChunkBox box;
  EXPECT_EQ(box.AddChunk(2, 2, 1), MP4_BAD_ARGUMENT);
  const u32 chunks[][2] = {{2, 1}, {2, 1}, {3, 1}, {3, 2}};
  u32 chunk = 0;
  for (const auto& row : chunks) ASSERT_EQ(box.AddChunk(++chunk, row[0], row[1]), MP4_OK);
  EXPECT_EQ(box.AddChunk(4, 2, 1), MP4_BAD_ARGUMENT);
  EXPECT_EQ(WrittenBytes(&box), Table("stsc", {{1, 2, 1}, {3, 3, 1}, {4, 3, 2}}));
  EXPECT_EQ(ChunkOf(box, 7), (Number{MP4_OK, 3}));
  EXPECT_EQ(FirstOf(box, 3), (Number{MP4_OK, 5}));
  EXPECT_EQ(ChunkOf(box, 1), (Number{MP4_OK, 1}));
  EXPECT_EQ(box.AddChunk(5, 3, 2), MP4_OK);  // reading has not moved the writer's place
  EXPECT_EQ(WrittenBytes(&box), Table("stsc", {{1, 2, 1}, {3, 3, 1}, {4, 3, 2}}));
}

template <class Box, class Offset>
void ExpectAddsInTurn(Box&& box, Offset value) {
  EXPECT_EQ(box.AddChunkOffset(0, 5), MP4_BAD_ARGUMENT);
  EXPECT_EQ(box.AddChunkOffset(1, value), MP4_OK);
  EXPECT_EQ(box.AddChunkOffset(1, 5), MP4_BAD_ARGUMENT);
  EXPECT_EQ(box.AddChunkOffset(3, 5), MP4_BAD_ARGUMENT);
  EXPECT_EQ(Got(box, &CBox::GetSize), 20u);
  const Answer<Offset> answers[] = {{MP4_ZERO_INDEX, 777}, {MP4_OK, value}, {MP4_NOT_FOUND, 777}};
  for (u32 chunk = 0; chunk < 3; ++chunk) {
    EXPECT_EQ(Ask(box, &std::decay_t<Box>::GetChunkOffset, chunk), answers[chunk]);
  }
}

TEST(ChunkOffsetBox, AddsInTurnAndCountsItsSize) {
  ExpectAddsInTurn(CChunkOffsetBox(), u32{0xFFFFFFFF});
  ExpectAddsInTurn(CChunkLargeOffsetBox(), u64{0x100000000});
}

TEST(ChunkOffsetBox, IsCopiedWholeIntoTheWideOne) {
  CChunkOffsetBox narrow;
  CChunkLargeOffsetBox wide;
  EXPECT_EQ(wide.CopyFrom(&narrow), MP4_OK);
  for (u32 chunk = 1; chunk <= 150; ++chunk) ASSERT_EQ(narrow.AddChunkOffset(chunk, 1000 * chunk), MP4_OK);
  EXPECT_EQ(wide.CopyFrom(&narrow), MP4_OK);
  EXPECT_EQ(wide.GetEntryCount(), 150u);
  EXPECT_EQ(wide.AddChunkOffset(151, 0x123456789), MP4_OK);
  EXPECT_EQ(Got(wide, &CChunkLargeOffsetBox::GetChunkOffset, 150u), 150000u);
  EXPECT_EQ(wide.CopyFrom(&narrow), MP4_BAD_ARGUMENT);
}

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
        ASSERT_EQ(SyncBefore(box, sample), PlainSyncBefore({table.data(), table.data() + i + 1}, sample));
      }
      for (u32 sample = 0; sample < 3 * count + 5 * disorder + 20; ++sample) {
        ASSERT_EQ(SyncBefore(box, sample), PlainSyncBefore(table, sample)) << count << " " << disorder;
      }
    }
  }
}

}  // namespace
}  // namespace kt::test

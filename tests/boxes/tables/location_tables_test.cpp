#include <random>

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

constexpr auto kChunkOf = &CSampleToChunkBox::GetChunkOfSample;
constexpr auto kFirstSampleOf = &CSampleToChunkBox::GetFirstSampleOfChunk;

// The plain walks over the whole table, with the place in it that they keep from one question to the next.
struct PlainSampleToChunk {
  const std::vector<std::pair<u32, u32>> runs;
  std::size_t index = 0;
  u32 firstSample = 1, firstChunk = 1;

  Number ChunkOf(u32 sample) {
    if (firstSample > sample) index = 0, firstSample = 1;
    if (runs.empty()) return {MP4_NOT_FOUND, 1};
    std::size_t i = index;
    u32 first = firstSample;
    for (u32 next = 0; i + 1 < runs.size(); ++i, first = next) {
      next = first + (runs[i + 1].first - runs[i].first) * runs[i].second;
      if (sample <= next) break;
    }
    if (runs[i].second == 0) return {MP4_CORRUPT, 1};
    index = i, firstSample = first, firstChunk = runs[i].first;
    return {MP4_OK, (sample - first) / runs[i].second + firstChunk};
  }

  Number FirstSampleOf(u32 chunk) {
    if (firstChunk > chunk) index = 0, firstSample = 1;
    if (runs.empty()) return {MP4_NOT_FOUND, 1};
    auto run = runs[index];
    u32 first = firstSample;
    for (std::size_t i = index; i < runs.size() && runs[i].first <= chunk; run = runs[i++]) {
      first += (runs[i].first - run.first) * run.second;
    }
    return {MP4_OK, (chunk - run.first) * run.second + first};
  }
};

// Samples one after the other and at random, single questions among them, over runs that rise, fall, are
// empty and pass 2^32.
TEST(SampleToChunkBox, AnswersLikeAWalkFromItsPlace) {
  std::mt19937 random(5);
  const auto below = [&random](u32 bound) { return static_cast<u32>(random() % bound); };
  for (u32 round = 0; round < 1500; ++round) {
    std::vector<std::pair<u32, u32>> runs(below(4) == 0 ? 300 + below(300) : below(6));
    const u32 wildness = round % 4;  // 0: as files are
    for (u32 i = 0, chunk = 1; i < runs.size(); ++i, chunk += 1 + below(3)) {
      const bool wild = wildness > 0 && below(40 * wildness) == 0;
      if (wild) chunk = below(2) == 0 ? below(2 * chunk + 2) : 0u - below(1000) * below(100000);
      runs[i] = {chunk, wildness > 1 && below(50) == 0 ? 0 : 1 + below(wild && below(2) == 0 ? 1u << 31 : 4)};
    }
    const auto box = ReadBoxAs<CSampleToChunkBox>(Stsc(runs));
    PlainSampleToChunk plain{runs};
    CChunkOfSample found;
    u64 question = 0;
    u32 from = 0;
    for (u32 i = 0, sample = 1; i < 400; ++i) {
      const u32 far = wildness > 0 && below(8) == 0 ? ~0u - below(5) : 8 * static_cast<u32>(runs.size()) + 9;
      sample = below(12) == 0 ? below(far) : sample + (below(9) == 0 ? 0 : 1);
      // What was found holds for the samples behind it until the place in the table may have changed.
      const bool holds =
          sample > 0 && question == box->GetQuestionCount() && sample >= from && sample <= found.lastSample;
      const u32 heldChunk = found.chunk;
      Number chunk, first;
      chunk.result = first.result = box->FindChunk(sample, &found);
      chunk.value = found.chunk;
      first.value = found.firstSample;
      if (question != box->GetQuestionCount()) from = sample;
      question = box->GetQuestionCount();
      if (chunk.result != MP4_OK) chunk.value = 1, found = {};
      ASSERT_EQ(chunk, plain.ChunkOf(sample)) << round;
      if (holds) {
        ASSERT_EQ(chunk.value, heldChunk) << round;
      }
      if (chunk.result == MP4_OK) {
        ASSERT_EQ(first, plain.FirstSampleOf(chunk.value)) << round;
      }
      const u32 other = below(far), kind = below(30);
      if (kind == 0) {
        ASSERT_EQ(Ask(*box, kChunkOf, other), plain.ChunkOf(other)) << round;
      }
      if (kind == 1) {
        ASSERT_EQ(Ask(*box, kFirstSampleOf, other), plain.FirstSampleOf(other)) << round;
      }
    }
  }
}

// Chunks of 2, 2, 3, 3 and 1 samples, of which only the first two are alike, each looked for once it is
// there.
TEST(SampleToChunkBox, KeepsLikeChunksAsOneRun) {
  CSampleToChunkBox box;
  const u32 chunks[][3] = {{2, 1, 1}, {2, 1, 3}, {3, 1, 5}, {3, 2, 8}, {1, 2, 11}};  // with the first sample
  for (u32 number = 1; const auto& [samples, description, first] : chunks) {
    EXPECT_EQ(box.AddChunk(number, samples, description), MP4_OK);
    EXPECT_EQ(Ask(box, kChunkOf, first + samples - 1), (Number{MP4_OK, number}));
    EXPECT_EQ(Ask(box, kFirstSampleOf, number++), (Number{MP4_OK, first}));
  }
  EXPECT_EQ(box.AddChunk(5, 1, 2), MP4_BAD_ARGUMENT);
  EXPECT_EQ(WrittenBytes(&box), TableBox("stsc", 4, Bytes().U32s({1, 2, 1, 3, 3, 1, 4, 3, 2, 5, 1, 2})));
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
  for (const u32 count : {0u, 1u, 2u, 15u, 16u, 17u, 200u, 731u}) {
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
        const Number expected = PlainSyncBefore(table, sample);
        ASSERT_EQ(Ask(box, kSyncBefore, sample), expected) << count << " " << disorder;
        CSyncRange range;
        if (box.FindSyncRange(sample, &range) != MP4_OK) continue;
        ASSERT_TRUE(range.Holds(sample)) << count << " " << disorder;
        for (const u32 end : {range.first, range.last})
          ASSERT_EQ(PlainSyncBefore(table, end), expected) << end;
      }
    }
  }
}

}  // namespace
}  // namespace kt::test

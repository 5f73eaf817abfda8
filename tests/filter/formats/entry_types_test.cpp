#include "filter/formats/entry_types.h"

#include <gtest/gtest.h>

#include <tuple>

#include "support/movie_builder.h"

namespace kt {
namespace {

using namespace test;

// A set for sequences of three bytes and one for pictures of two.
const Bytes kAvc = {1, 0x64, 0x08, 0x1F, 0xFF, 0xE1, 0, 3, 0x67, 0x64, 0x1F, 1, 0, 2, 0x68, 0xEE};
const Bytes kAvcSets = {0, 3, 0x67, 0x64, 0x1F, 0, 2, 0x68, 0xEE};
const Bytes kNoSets = {1, 0x64, 0x08, 0x1F, 0xFD, 0xE0, 0};
const Bytes kHevc = {1,    0x02, 9, 9,    9,    9,    9,    9, 9, 9,    9, 9,
                     0x5D, 0xF0, 0, 0xFC, 0xFD, 0xFA, 0xFA, 0, 0, 0x0F, 0};
const Bytes kOpus = {0, 2, 0x01, 0x38, 0, 0, 0xAC, 0x44, 0xFF, 0xFE, 0};
const Bytes kOpusHead = Bytes().Text("OpusHead").Add({1, 2, 0x38, 0x01, 0x44, 0xAC, 0, 0, 0xFE, 0xFF, 0});
const Bytes kSurround = Bytes(kOpus.begin(), kOpus.end() - 1).Add({1, 1, 1, 0, 1});
const Bytes kAac = Esds(0x40, 5, {0x12, 0x10});
const Bytes kMp3 = Esds(0x6B, 5, {});

/// The types of a track of this code, whose entry holds these boxes and no byte more.
std::vector<MediaType> TypesOf(const char (&code)[5], const Bytes& boxes, const Bytes& firstSample = {}) {
  CodedTrack track;
  track.timePerSample = 0x01020304;
  track.firstSample = firstSample;
  track.entry = {.code = FourCc(code), .width = 0x0140, .height = 0x00F0, .channels = 2, .sampleRate = 44100};
  track.entry.boxes = boxes.data();
  track.entry.boxesSize = static_cast<u32>(boxes.size());
  return TypesOfEntry(track);
}

std::vector<u8> Block(std::size_t size, const std::vector<std::pair<std::size_t, u8>>& set,
                      const Bytes& behind) {
  std::vector<u8> block(size);
  for (const auto& [at, byte] : set) block[at] = byte;
  block.insert(block.end(), behind.begin(), behind.end());
  return block;
}

// The sides thrice, the time, the shape; the header of the bitmap; size of the sets, profile, level, flags.
TEST(EntryTypes, PicturesByteForByte) {
  const auto expected = [](const char* code, std::pair<u8, u8> shape, const Bytes& facts,
                           const Bytes& header) {
    std::vector<u8> block = Block(132,
                                  {{8, 0x40},
                                   {9, 1},
                                   {12, 0xF0},
                                   {24, 0x40},
                                   {25, 1},
                                   {28, 0xF0},
                                   {40, 4},
                                   {41, 3},
                                   {42, 2},
                                   {43, 1},
                                   {56, shape.first},
                                   {60, shape.second},
                                   {72, 40},
                                   {76, 0x40},
                                   {77, 1},
                                   {80, 0xF0},
                                   {84, 1},
                                   {86, 24},
                                   {116, static_cast<u8>(header.size())},
                                   {120, facts[0]},
                                   {124, facts[1]},
                                   {128, facts[2]}},
                                  header);
    std::copy_n(code, 4, block.begin() + 88);
    return block;
  };
  const Bytes wide = Bytes().Add(Box("pasp", Bytes().U32(4).U32(3))).Add(Box("avcC", kAvc));
  const std::vector<MediaType> avc = TypesOf("avc1", wide);
  ASSERT_EQ(avc.size(), 2u);
  EXPECT_EQ(avc[0], (MediaType{MEDIATYPE_Video, FourCcGuid("AVC1"), FORMAT_MPEG2Video, false, true, 0,
                               expected("AVC1", {16, 9}, {0x64, 0x1F, 4}, kAvcSets)}));
  EXPECT_EQ(avc[1].subtype, FourCcGuid("avc1"));
  EXPECT_EQ(avc[1].format, expected("avc1", {16, 9}, {0x64, 0x1F, 4}, kAvcSets));
  const Bytes huge = Box("pasp", Bytes().U32(0xFFFFFFFF).U32(1)).Add(Box("hvcC", kHevc));
  const std::vector<MediaType> hevc = TypesOf("hev1", huge);
  ASSERT_EQ(hevc.size(), 2u);
  std::vector<u8> square = expected("HVC1", {0x40, 0xF0}, {2, 0x5D, 4}, kHevc);
  square[57] = 1;
  EXPECT_EQ(hevc[0].subtype, FourCcGuid("HVC1"));
  EXPECT_EQ(hevc[0].format, square);
  EXPECT_EQ(hevc[1].subtype, FourCcGuid("hvc1"));
}

TEST(EntryTypes, SoundByteForByte) {
  const std::vector<std::pair<std::size_t, u8>> at48 = {{0, 0x4F}, {1, 0x70}, {2, 2},  {4, 0x80},
                                                        {5, 0xBB}, {12, 1},   {16, 19}};
  const Bytes wave = Box("wave", {Box("frma", Bytes().Text("mp4a")), kAac, Bytes().U32(8).U32(0)});
  const Bytes raw = {0xFF, 0, 2, 0, 0x44, 0xAC, 0, 0, 0, 0, 0, 0, 1, 0, 16, 0, 2, 0, 0x12, 0x10};
  const std::tuple<std::vector<MediaType>, std::vector<u32>, std::vector<u8>> rows[] = {
      {TypesOf("mp4a", kAac), {0x00FF, 0x1610}, raw},
      {TypesOf("mp4a", wave), {0x00FF, 0x1610}, raw},
      {TypesOf("Opus", Box("dOps", kOpus)), {0x704F, 0x7375704F, 0x5355504F}, Block(18, at48, kOpusHead)},
  };
  for (const auto& [types, subtypes, block] : rows) {
    ASSERT_EQ(types.size(), subtypes.size());
    for (std::size_t i = 0; i < types.size(); ++i) EXPECT_EQ(types[i].subtype.data1, subtypes[i]);
    EXPECT_EQ(types[0].format, block);
    EXPECT_EQ(types[0].formatType, FORMAT_WaveFormatEx);
  }
  EXPECT_EQ(TypesOf("Opus", Box("dOps", kSurround)).size(), 3u);
  for (const auto& types :
       {TypesOf("mp4a", kMp3), TypesOf(".mp3", {}), TypesOf("mp4a", kMp3, {0xFF, 0xFB})}) {
    ASSERT_EQ(types.size(), 1u);
    EXPECT_EQ(types[0].subtype, MEDIASUBTYPE_MP3);
  }
  EXPECT_TRUE(TypesOf("mp4a", kMp3, {0xFF, 0xFD}).empty()) << "layer 2";
  EXPECT_TRUE(TypesOf("mp4a", Esds(0xA5, 5, {0x12, 0x10})).empty()) << "another coding";
}

// Parameter sets may ride in the samples; here behind a unit that is none, with lengths of two bytes.
TEST(EntryTypes, FindsParameterSetsInTheFirstSample) {
  const Bytes sample = Bytes({0, 1, 0x09}).Add(kAvcSets).Add({0, 0, 0, 9, 0x65});
  const std::vector<MediaType> types = TypesOf("avc3", Box("avcC", kNoSets), sample);
  ASSERT_EQ(types.size(), 2u);
  EXPECT_EQ(Bytes(types[0].format.begin() + 132, types[0].format.end()), kAvcSets);
  EXPECT_TRUE(TypesOf("avc3", Box("avcC", kNoSets), {0, 1}).empty());
}

TEST(EntryTypes, ThereAreNoneForASetUpThatIsCut) {
  const auto beginOf = [](const Bytes& whole, std::size_t size) {
    return Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
  };
  const auto expectNone = [&](const char(&code)[5], const char* box, const Bytes& whole) {
    for (std::size_t size = 0; size <= whole.size(); ++size) {
      EXPECT_EQ(TypesOf(code, Box(box, beginOf(whole, size))).empty(), size < whole.size()) << code << size;
    }
  };
  expectNone("avc1", "avcC", kAvc);
  expectNone("hvc1", "hvcC", kHevc);
  expectNone("Opus", "dOps", kOpus);
  expectNone("Opus", "dOps", kSurround);
  for (std::size_t size = 0; size < kAac.size(); ++size)
    EXPECT_TRUE(TypesOf("mp4a", beginOf(kAac, size)).empty());
  EXPECT_TRUE(TypesOf("avc1", Bytes().U32(0).Text("avcC").Add(kAvc)).empty()) << "a box of no size";
  EXPECT_TRUE(TypesOf("hvc1", Box("hvcC", Bytes(kHevc).Zeros(1 << 20))).empty()) << "too large";
}

}  // namespace
}  // namespace kt

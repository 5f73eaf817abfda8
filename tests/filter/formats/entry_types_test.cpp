#include "filter/formats/entry_types.h"

#include <tuple>

#include "filter/formats/sound_types.h"
#include "support/movie_builder.h"

namespace kt::test {
namespace {

const Bytes kAvc = {1, 0x64, 0x08, 0x1F, 0xFF, 0xE1, 0, 3, 0x67, 0x64, 0x1F, 1, 0, 2, 0x68, 0xEE};
const Bytes kAvcSets = {0, 3, 0x67, 0x64, 0x1F, 0, 2, 0x68, 0xEE};
const Bytes kNoSets = Box("avcC", {1, 0x64, 0x08, 0x1F, 0xFD, 0xE0, 0});
const Bytes kHevc = {1,    2,    0, 0,    0,    0,    0,    0, 0, 0,    0, 0,
                     0x5D, 0xF0, 0, 0xFC, 0xFD, 0xFA, 0xFA, 0, 0, 0x0F, 0};
const Bytes kOpus = {0, 2, 0x01, 0x38, 0, 0, 0xAC, 0x44, 0xFF, 0xFE, 0};
const Bytes kSurround = Bytes(kOpus.begin(), kOpus.end() - 1).Add({1, 1, 1, 0, 1});
const Bytes kAac = Esds(0x40, 5, {0x12, 0x10}), kMp3 = Esds(0x6B, 5, {});

using Types = std::vector<MediaType>;

/// The types of a track of this code, whose entry holds these boxes and no byte more.
Types TypesOf(const char (&code)[5], const Bytes& boxes, const Bytes& firstSample = {}) {
  const AdaptedEntry entry = {
      1, 1, FourCc(code), 320, 240, 2, 44100, boxes.data(), static_cast<u32>(boxes.size())};
  return TypesOfEntry({entry, 0x01020304, firstSample});
}
Bytes From(const MediaType& type, std::ptrdiff_t offset) {
  return {type.format.begin() + offset, type.format.end()};
}

TEST(EntryTypes, PicturesByteForByte) {
  const Types avc = TypesOf("avc1", Bytes(Box("pasp", Bytes().U32(4).U32(3))).Add(Box("avcC", kAvc)));
  ASSERT_EQ(avc.size(), 2u);
  // The sides thrice, the time, the shape 16:9; the header of the bitmap; size of the sets, profile, level,
  // bytes of a length.
  const std::pair<std::size_t, u32> set[] = {
      {8, 320}, {12, 240},   {24, 320},   {28, 240}, {40, 0x01020304},   {56, 16},
      {60, 9},  {72, 40},    {76, 320},   {80, 240}, {84, 24 << 16 | 1}, {88, 0x31435641},
      {116, 9}, {120, 0x64}, {124, 0x1F}, {128, 4}};
  std::vector<u8> block(132);
  for (const auto& [at, value] : set) {
    for (std::size_t i = 0; i < 4; ++i) block[at + i] = static_cast<u8>(value >> 8 * i);
  }
  block.insert(block.end(), kAvcSets.begin(), kAvcSets.end());
  EXPECT_EQ(avc[0],
            (MediaType{MEDIATYPE_Video, FourCcGuid("AVC1"), FORMAT_MPEG2Video, false, true, 0, block}));
  EXPECT_EQ(avc[1].subtype, FourCcGuid("avc1"));

  const Types hevc = TypesOf("hev1", Box("hvcC", kHevc));
  ASSERT_EQ(hevc.size(), 2u);
  EXPECT_EQ(hevc[0].subtype, FourCcGuid("HVC1"));
  EXPECT_EQ(From(hevc[1], 116), Bytes({23, 0, 0, 0, 2, 0, 0, 0, 0x5D, 0, 0, 0, 4, 0, 0, 0}).Add(kHevc));

  // Parameter sets may ride in the samples; here behind a unit that is none, with lengths of two bytes.
  const Types inBand = TypesOf("avc3", kNoSets, Bytes({0, 1, 9}).Add(kAvcSets).Add({0, 0, 0, 9, 0x65}));
  ASSERT_EQ(inBand.size(), 2u);
  EXPECT_EQ(From(inBand[0], 132), kAvcSets);
  EXPECT_TRUE(TypesOf("avc3", kNoSets, {0, 1}).empty());
}

TEST(EntryTypes, SoundByteForByte) {
  const Bytes raw = {0xFF, 0, 2, 0, 0x44, 0xAC, 0, 0, 0, 0, 0, 0, 1, 0, 16, 0, 2, 0, 0x12, 0x10};
  for (const Bytes& boxes : {kAac, Box("wave", {Box("frma", Bytes().Text("mp4a")), kAac})}) {
    const Types aac = TypesOf("mp4a", boxes);
    ASSERT_EQ(aac.size(), 2u);
    EXPECT_EQ(From(aac[0], 0), raw);
  }
  const Types opus = TypesOf("Opus", Box("dOps", kOpus));
  ASSERT_EQ(opus.size(), 3u);
  EXPECT_EQ(opus[0].subtype, WaveTagGuid(0x704F));
  EXPECT_EQ(From(opus[0], 0), Bytes({0x4F, 0x70, 2, 0, 0x80, 0xBB, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 19, 0})
                                  .Text("OpusHead")
                                  .Add({1, 2, 0x38, 0x01, 0x44, 0xAC, 0, 0, 0xFE, 0xFF, 0}));
  // Rate and channels of the first frame, or of the entry without one.
  EXPECT_EQ(TypesOf("mp4a", kMp3, {0xFF, 0xE3, 0x88}), Mp3Types(44100, 2));
  EXPECT_EQ(TypesOf(".mp3", {}, {0xFF, 0xF3, 0x84, 0xC0}), Mp3Types(24000, 1));
  EXPECT_EQ(TypesOf("mp4a", kMp3, {0xFF, 0xE3, 0x88, 0x00}), Mp3Types(8000, 2));
  EXPECT_TRUE(TypesOf("mp4a", kMp3, {0xFF, 0xFD, 0x84, 0xC0}).empty()) << "layer 2";
  EXPECT_TRUE(TypesOf("mp4a", Esds(0xA5, 5, {0x12, 0x10})).empty()) << "another coding";
}

TEST(EntryTypes, ThereAreNoneForASetUpThatIsCut) {
  const auto expectNone = [](const char(&code)[5], const char* box, const Bytes& whole) {
    Bytes cut;
    for (const u8 byte : whole) {
      EXPECT_TRUE(TypesOf(code, Box(box, cut)).empty()) << code << cut.size();
      cut.push_back(byte);
    }
    EXPECT_FALSE(TypesOf(code, Box(box, cut)).empty()) << code;
  };
  expectNone("avc1", "avcC", kAvc);
  expectNone("hvc1", "hvcC", kHevc);
  expectNone("Opus", "dOps", kSurround);
  EXPECT_TRUE(TypesOf("mp4a", Bytes(kAac.begin(), kAac.end() - 1)).empty()) << "a box that is cut";
  EXPECT_TRUE(TypesOf("avc1", Bytes().U32(0).Text("avcC").Add(kAvc)).empty()) << "a box of no size";
  EXPECT_TRUE(TypesOf("hvc1", Box("hvcC", Bytes(kHevc).Zeros(1 << 20))).empty()) << "too large";
}

}  // namespace
}  // namespace kt::test

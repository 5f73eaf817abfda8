#include "boxes/box_factory.h"

#include <gtest/gtest.h>

#include <tuple>

#include "support/box_probe.h"

namespace kt::test {
namespace {

Bytes LargeBox(const char* code, u64 largeSize, const Bytes& payload = {}) {
  return Bytes().U32(1).Text(code).U64(largeSize).Add(payload);
}

// A size of 0 or 1, too small for its header, or in its long form.
TEST(BoxHeader, TakesEveryFormOfTheSize) {
  const Bytes user = Bytes().Text("0123456789abcdef");
  // The answer, and then the size and what remains of it behind the header.
  const std::tuple<const char*, Bytes, Mp4Result, u64, u64> cases[] = {
      {"plain", Box("free", Bytes().Zeros(3)), MP4_OK, 11, 3},
      {"to the end of the file", WithDeclaredSize(Box("free", Bytes().Zeros(9)), 0), MP4_OK, 17, 9},
      {"long form for a small size", LargeBox("free", 24, Bytes().Zeros(8)), MP4_OK, 24, 8},
      {"above 32 bits it counts 8 more", LargeBox("free", 0x100000010), MP4_OK, 0x100000018, 0x100000000},
      {"long form below its header", LargeBox("free", 15), MP4_CORRUPT, 0, 0},
      {"2", WithDeclaredSize(Box("free"), 2), MP4_CORRUPT, 0, 0},
      {"7", WithDeclaredSize(Box("free"), 7), MP4_CORRUPT, 0, 0},
      {"uuid", Box("uuid", user), MP4_OK, 24, 0},
      {"uuid below its header", WithDeclaredSize(Box("uuid", user), 20), MP4_CORRUPT, 0, 0},
      // The size is tested behind the user type, so the cut shows first.
      {"uuid cut and too small", WithDeclaredSize(Box("uuid", Bytes().Zeros(15)), 20), MP4_OUT_OF_RANGE, 0,
       0},
  };
  for (const auto& [name, bytes, result, size, remaining] : cases) {
    CBox box;
    EXPECT_EQ(result, box.Deserialize(MemoryBlock(bytes))) << name;
    if (result != MP4_OK) continue;
    EXPECT_EQ(size, Got(box, &CBox::GetSize)) << name;
    EXPECT_EQ(remaining, Got(box, &CBox::GetRemaining)) << name;
  }
}

TEST(BoxHeader, UserTypeIsKeptAndNeeded) {
  const Bytes bytes = Box("uuid", Bytes().Text("0123456789abcdef").Zeros(4));
  const auto box = ReadBoxAs(bytes);
  EXPECT_EQ(Box("uuid", Bytes().Text("0123456789abcdef")), WrittenBytes(box.get()));
  EXPECT_TRUE(Dumped(*box).find("User type = ") != std::string::npos);
  EXPECT_EQ(MP4_NOT_READY, CBox(FourCc("uuid")).Serialize(MemoryBlock(std::size_t{32})));
}

TEST(BoxWalk, EndsAtExactlyTheLastByte) {
  const Bytes rtp = Box("rtp ", Bytes().Zeros(16).Add(Box("tims", Bytes().U32(9))));
  // The answer, and the boxes in the list afterwards.
  const std::tuple<const char*, Bytes, Mp4Result, u32> cases[] = {
      {"nothing", {}, MP4_OK, 0},
      {"unknown payload is skipped", Bytes().Add(Box("abcd", Bytes().Zeros(7))).Add(Box("udta")), MP4_OK, 2},
      {"to the end of the file", Box("udta").Add(WithDeclaredSize(Box("free"), 0)), MP4_OK, 2},
      {"size 0 in another", WithDeclaredSize(Box("udta", {WithDeclaredSize(Box("free"), 0)}), 0), MP4_OK, 1},
      {"a child beyond its parent", Box("moov", {WithDeclaredSize(Box("udta"), 8)}).U8(0), MP4_FILE_IO, 1},
      {"box beyond the end", WithDeclaredSize(Box("free", Bytes().Zeros(2)), 11), MP4_CORRUPT, 1},
      {"fewer than 8 bytes behind the last box", Bytes().Add(Box("free")).Zeros(7), MP4_FILE_IO, 1},
      {"4 GiB", LargeBox("mdat", 0x100000010), MP4_CORRUPT, 1},
      {"a size that wraps", LargeBox("url ", ~u64{1}, Bytes().U32(1)).Add(Box("moov")), MP4_CORRUPT, 1},
      {"a size that wraps when 8 are added", LargeBox("mdat", ~u64{0}), MP4_FILE_IO, 0},
      {"\"rtp \" at the top", rtp, MP4_BAD_BOX, 0},
      {"\"rtp \" behind an unknown box", Bytes().Add(Box("free")).Add(rtp), MP4_BAD_BOX, 1},
      // What counts as the parent is the box before; only the first child sees its true parent.
      {"\"rtp \" first in \"stsd\"", FullBox("stsd", 0, 0, Bytes().U32(1).Add(rtp)), MP4_OK, 1},
      {"\"rtp \" twice in \"stsd\"", FullBox("stsd", 0, 0, Bytes().U32(2).Add(rtp).Add(rtp)), MP4_BAD_BOX, 0},
      {"\"rtp \" in another box", Box("udta", {rtp}), MP4_BAD_BOX, 0},
      {"\"rtp \" behind \"stsd\"", Bytes().Add(FullBox("stsd", 0, 0, Bytes().U32(0))).Add(rtp), MP4_OK, 2},
      // What these two leave unread is taken for the next box: here one that is refused.
      {"\"url \" with flags and a location", FullBox("url ", 0, 2, rtp).Add(Box("free")), MP4_BAD_BOX, 1},
      {"\"urn \" with texts", FullBox("urn ", 0, 0, rtp).Add(Box("free")), MP4_BAD_BOX, 1},
  };
  for (const auto& [name, bytes, result, kept] : cases) {
    CBoxList list(nullptr);
    // From a file, as the top level of one is read.
    u64 remaining = bytes.size();
    EXPECT_EQ(result, list.DeserializeAll(FileOf(bytes), &remaining)) << name;
    EXPECT_EQ(kept, list.GetCount()) << name;
  }
}

/// A file storage that tells whether a block was read, for which memory has to be reserved first.
class CBlockCountingStorage : public CStorage {
 public:
  Mp4Result ReadBlock(void* buffer, u32 count) override {
    ++blocks;
    return CStorage::ReadBlock(buffer, count);
  }
  u32 blocks = 0;
};

// 8 GiB claimed by a file of 100 bytes: refused with the code of the short read, before memory is taken.
TEST(BoxFactory, RefusesAClaimThatTheFileCannotFill) {
  constexpr u64 kEightGiB = u64{8} << 30;
  const std::tuple<const char*, Bytes, Mp4Result> cases[] = {
      {"hdlr", LargeBox("hdlr", kEightGiB, Bytes().Zeros(84)), MP4_FILE_IO},
      {"hdlr below its fields", FullBox("hdlr", 0, 0, Bytes().Zeros(4)).Zeros(84), MP4_FILE_IO},
      {"cprt", LargeBox("cprt", kEightGiB, Bytes().Zeros(84)), MP4_FILE_IO},
      {"cprt below its fields", Box("cprt", Bytes().Zeros(5)), MP4_CORRUPT},
      {"url ", LargeBox("url ", kEightGiB, Bytes().Zeros(84)), MP4_FILE_IO},
      {"url  without version and flags", Box("url ").Zeros(92), MP4_FILE_IO},
      {"ftyp", LargeBox("ftyp", kEightGiB, Bytes().Zeros(84)), MP4_FILE_IO},
      {"ftyp below its fields", Box("ftyp", Bytes().Zeros(7)).U8(0), MP4_CORRUPT},
      {"ftyp with a part of a brand", Box("ftyp", Bytes().Zeros(10)), MP4_CORRUPT},
      // Ids read to the end of a large file, or to the end of what a size claims.
      {"hint with a part of an id", Box("hint", Bytes().U32(1).U8(2)).Zeros(100), MP4_FILE_IO},
      {"hint cut in its id", Box("hint", Bytes().U24(1)), MP4_FILE_IO},
      {"hint", WithDeclaredSize(Box("hint", Bytes().U32(1)), 0xFFFFFFF0), MP4_FILE_IO},
      {"d263", WithDeclaredSize(Box("d263", Bytes().Zeros(92)), 0xFFFFFFFF), MP4_FILE_IO},
  };
  for (const auto& [what, bytes, expected] : cases) {
    SCOPED_TRACE(what);
    FileOf<CBlockCountingStorage> storage(bytes);
    EXPECT_EQ(expected, ReadBoxFrom(storage).result);
    EXPECT_EQ(0u, storage->blocks);
  }
}

}  // namespace
}  // namespace kt::test

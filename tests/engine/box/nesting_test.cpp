#include "support/box_probe.h"

namespace kt::test {
namespace {

Bytes NestedBoxes(u32 levels) {
  Bytes bytes;
  for (u32 i = 0; i < levels; ++i) bytes = Box("udta", bytes);
  return bytes;
}

// Without the bound a file of some megabytes would exhaust the stack; whatever can be read can be printed.
TEST(Nesting, IsBoundedAt64Levels) {
  const ReadBoxResult deepest = ReadBox(NestedBoxes(64));
  ASSERT_EQ(MP4_OK, deepest.result);
  EXPECT_EQ(NestedBoxes(64), WrittenBytes(deepest.box.get()));
  EXPECT_NE(std::string::npos, DumpText(deepest.box.get()).find(std::string(63 * 2, ' ') + "}\n"));
  DumpText(deepest.box.get(), 1, MP4_CORRUPT);
  for (const u32 levels : {65u, 3000u}) EXPECT_EQ(MP4_CORRUPT, ReadBox(NestedBoxes(levels)).result);
}

// Boxes and descriptors share the levels: here 4 boxes and "iods" hold a chain of descriptors.
TEST(Nesting, CountsBoxesAndDescriptorsTogether) {
  for (const u32 descriptors : {59u, 60u}) {
    Bytes chain;
    for (u32 i = 1; i < descriptors; ++i) {
      Bytes body = Bytes().Zeros(13).Add(chain);
      chain = Bytes().U8(4).U8(0x80 | body.size() >> 7).U8(body.size() & 0x7F).Add(body);
    }
    Bytes body = Bytes().U16(0x004F).Zeros(5).Add(chain);
    Bytes box =
        FullBox("iods", 0, 0, Bytes().U8(16).U8(0x80 | body.size() >> 7).U8(body.size() & 0x7F).Add(body));
    for (u32 i = 0; i < 4; ++i) box = Box("udta", box);
    EXPECT_EQ(descriptors == 59 ? MP4_OK : MP4_BAD_DESCRIPTOR, ReadBox(box).result);
  }
}

}  // namespace
}  // namespace kt::test

#include <tuple>

#include "boxes/containers/user_data_box.h"
#include "support/box_probe.h"
#include "support/descriptor_writer.h"

namespace kt::test {
namespace {

Bytes NestedBoxes(u32 levels, Bytes bytes = {}) {
  for (u32 i = 0; i < levels; ++i) bytes = Box("udta", bytes);
  return bytes;
}

// Without the bound a file of some megabytes would exhaust the stack. Boxes and descriptors share the levels.
// Whatever can be read can be printed, with any indent.
TEST(Nesting, IsBoundedAt64Levels) {
  const Bytes iod = Descriptor(16, Bytes().U16(0x004F).Zeros(5).Add(Descriptor(65)));
  const Bytes config = Descriptor(4, Bytes().U16(1).Zeros(11));
  const Bytes esds =
      FullBox("esds", 0, 0, Descriptor(3, Bytes().Zeros(3).Add(config).Add(Descriptor(6, {2}))));
  const std::tuple<Bytes, u32, Mp4Result> rows[] = {
      {Box("udta"), 1, MP4_CORRUPT},
      {FullBox("iods", 0, 0, iod), 3, MP4_BAD_DESCRIPTOR},
      {Box("mp4s", Bytes().Zeros(8).Add(esds)), 4, MP4_BAD_DESCRIPTOR},
  };
  for (const auto& [innermost, levels, tooDeep] : rows) {
    const Bytes bytes = NestedBoxes(64 - levels, innermost);
    ReadBoxResult deepest = ReadBox(bytes);
    ASSERT_EQ(MP4_OK, deepest.result);
    EXPECT_EQ(bytes, WrittenBytes(deepest.box.get()));
    Dumped(*deepest.box, 60);
    CUserDataBox oneMore;
    EXPECT_EQ(MP4_OK, oneMore.AddChild(std::move(deepest.box)));
    Dumped(oneMore, 0, tooDeep);
    EXPECT_EQ(tooDeep, ReadBox(Box("udta", bytes)).result);
  }
  EXPECT_EQ(MP4_CORRUPT, ReadBox(NestedBoxes(3000)).result);
  const Bytes entry = Box("s263", Bytes().Zeros(78).Add(Box("d263")));
  EXPECT_EQ(MP4_OK, ReadBox(NestedBoxes(62, entry)).result);
  EXPECT_EQ(MP4_CORRUPT, ReadBox(NestedBoxes(63, entry)).result) << "its child counts as a level";
}

}  // namespace
}  // namespace kt::test

#include "boxes/object_descriptor_box.h"

#include <tuple>

#include "support/box_probe.h"
#include "support/descriptor_writer.h"

namespace kt::test {
namespace {

const Bytes kIod = Descriptor(16, {0x00, 0x4F, 0xFF, 0xFF, 15, 3, 0xFF});
const Bytes kOd = Descriptor(17, {0x00, 0x5F});

TEST(ObjectDescriptorBox, HoldsEitherDescriptorInTheFileForm) {
  for (const bool isInitial : {true, false}) {
    const Bytes bytes = FullBox("iods", 0, 0, isInitial ? kIod : kOd);
    const ReadBoxResult read = ReadBox(bytes);
    ASSERT_EQ(MP4_OK, read.result);
    auto& box = dynamic_cast<CObjectDescriptorBox&>(*read.box);
    EXPECT_EQ(bytes, WrittenBytes(&box));
    CInitialObjectDescriptor* initial = nullptr;
    ASSERT_EQ(MP4_OK, box.GetInitialDescriptor(&initial));
    EXPECT_EQ(isInitial, initial != nullptr);
    EXPECT_EQ(isInitial ? MP4_OK : MP4_NOT_READY, box.AddEsId(1));
  }
}

TEST(ObjectDescriptorBox, Refuses) {
  Bytes overrun = FullBox("iods", 0, 0, kIod);
  overrun = WithDeclaredSize(overrun, static_cast<u32>(overrun.size() - 1));
  const std::tuple<const char*, Bytes, Mp4Result> rows[] = {
      {"the systems form", FullBox("iods", 0, 0, Descriptor(2, {0x00, 0x4F, 0, 0, 0, 0, 0})),
       MP4_BAD_DESCRIPTOR},
      {"another descriptor", FullBox("iods", 0, 0, Descriptor(5)), MP4_BAD_DESCRIPTOR},
      {"an unknown descriptor", FullBox("iods", 0, 0, Descriptor(99, {1})), MP4_BAD_DESCRIPTOR},
      {"a descriptor longer than the box", overrun, MP4_DESCRIPTOR_OVERRUN},
      {"a short descriptor", FullBox("iods", 0, 0, Descriptor(16, {0, 0x4F, 0})), MP4_DESCRIPTOR_OVERRUN},
      {"no descriptor", FullBox("iods", 0, 0), MP4_OUT_OF_RANGE},
  };
  for (const auto& [what, bytes, result] : rows) EXPECT_EQ(result, ReadBox(bytes).result) << what;
}

// An empty box answers sizing and writing with different codes.
TEST(ObjectDescriptorBox, EmptyBoxHasTwoAnswers) {
  CObjectDescriptorBox box;
  EXPECT_EQ(MP4_BAD_BOX, box.CalculateSize());
  EXPECT_EQ(MP4_BAD_DESCRIPTOR, box.Serialize(MemoryBlock(std::size_t{16})));
  EXPECT_EQ("\nBox type = iods  Size = 12\nVersion=0, Flags=0x000000\n{\n",
            DumpText(&box, 0, MP4_BAD_DESCRIPTOR));
  EXPECT_EQ(MP4_NOT_READY, box.AddEsId(1));
}

// Without streams a default descriptor has to be writable all the same: a plain file has none.
TEST(ObjectDescriptorBox, DefaultDescriptorCanBeWritten) {
  CObjectDescriptorBox box;
  ASSERT_EQ(MP4_OK, box.SetDefaultDescriptor(3, 15));
  EXPECT_EQ(FullBox("iods", 0, 0, kIod), WrittenBytes(&box));
  ASSERT_EQ(MP4_OK, box.AddEsId(0x01020304));
  ASSERT_EQ(MP4_OK, box.SetDefaultDescriptor(0x104, 0x110));
  EXPECT_EQ(FullBox("iods", 0, 0,
                    Descriptor(16, Bytes({0x00, 0x4F, 0xFF, 0xFF, 0x10, 4, 0xFF})
                                       .Add(Descriptor(14, Bytes().U32(0x01020304))))),
            WrittenBytes(&box));
}

}  // namespace
}  // namespace kt::test

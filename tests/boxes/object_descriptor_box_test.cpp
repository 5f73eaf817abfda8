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
      {"no descriptor", FullBox("iods", 0, 0), MP4_OUT_OF_RANGE},
  };
  for (const auto& [what, bytes, result] : rows) EXPECT_EQ(result, ReadBox(bytes).result) << what;
}

}  // namespace
}  // namespace kt::test

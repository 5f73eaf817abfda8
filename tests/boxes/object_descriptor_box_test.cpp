#include "boxes/object_descriptor_box.h"

#include <tuple>

#include "support/box_probe.h"
#include "support/descriptor_writer.h"

namespace kt::test {
namespace {

const Bytes kIod = FullBox("iods", 0, 0, Descriptor(16, {0x00, 0x4F, 0xFF, 0xFF, 15, 3, 0xFF}));

TEST(ObjectDescriptorBox, GivesInitialDescriptorsAlone) {
  for (const Bytes& bytes : {kIod, FullBox("iods", 0, 0, Descriptor(17, {0x00, 0x5F}))}) {
    const auto box = ReadBoxAs<CObjectDescriptorBox>(bytes);
    CInitialObjectDescriptor* initial = nullptr;
    ASSERT_EQ(MP4_OK, box->GetInitialDescriptor(&initial));
    EXPECT_EQ(bytes == kIod, initial != nullptr);
    EXPECT_EQ(initial ? MP4_OK : MP4_NOT_READY, box->AddEsId(1));
  }
}

TEST(ObjectDescriptorBox, Refuses) {
  const Bytes overrun = WithDeclaredSize(kIod, static_cast<u32>(kIod.size() - 1));
  const std::tuple<const char*, Bytes, Mp4Result> rows[] = {
      {"the systems form", FullBox("iods", 0, 0, Descriptor(2, Bytes().Zeros(7))), MP4_BAD_DESCRIPTOR},
      {"another descriptor", FullBox("iods", 0, 0, Descriptor(5)), MP4_BAD_DESCRIPTOR},
      {"an unknown descriptor", FullBox("iods", 0, 0, Descriptor(99, {1})), MP4_BAD_DESCRIPTOR},
      {"a descriptor longer than the box", overrun, MP4_DESCRIPTOR_OVERRUN},
  };
  for (const auto& [what, bytes, result] : rows) EXPECT_EQ(result, ReadBox(bytes).result) << what;
}

}  // namespace
}  // namespace kt::test

#include <gtest/gtest.h>

#include <tuple>

#include "boxes/entries/amr_sample_entry.h"
#include "boxes/entries/h263_sample_entry.h"
#include "boxes/entries/line21_sample_entry.h"
#include "boxes/entries/mp4_sample_entry.h"
#include "boxes/entries/sample_description_box.h"
#include "support/box_probe.h"
#include "support/descriptor_writer.h"

namespace kt::test {
namespace {

const Bytes kEsDescriptor = Descriptor(
    3, Bytes().U24(0x000100).Add(Descriptor(4, Bytes().Zeros(13))).Add(Descriptor(6, Bytes().U8(2))));
const Bytes kEsds = FullBox("esds", 0, 0, kEsDescriptor);

// Every entry with a required child, `child` standing where that is expected.
Bytes Entry(const std::string& code, const Bytes& child) {
  const std::size_t layer = code == "mp4s" ? 8 : code == "mp4v" || code == "s263" ? 78 : 28;
  return Box(code, Bytes().Zeros(layer).Add(child));
}

TEST(SampleEntry, RequiresItsOneChild) {
  const std::pair<const char*, Bytes> entries[] = {{"mp4v", kEsds},       {"mp4a", kEsds},
                                                   {"mp4s", kEsds},       {"s263", Box("d263")},
                                                   {"samr", Box("damr")}, {"sawb", Box("damr")}};
  for (const auto& [code, child] : entries) {
    SCOPED_TRACE(code);
    const Bytes whole = Entry(code, child);
    EXPECT_EQ(MP4_OK, ReadBox(whole).result);
    // A box of today's writers in front of it.
    EXPECT_EQ(MP4_BAD_BOX, ReadBox(Entry(code, Box("pasp").Add(child))).result);
    // No child: the header is that of the next box of the file.
    EXPECT_EQ(MP4_BAD_BOX, ReadBox(Entry(code, {}).Add(Box("stts"))).result);
    // A "uuid" whose header owns memory.
    EXPECT_EQ(MP4_BAD_BOX, ReadBox(Entry(code, Box("uuid", Bytes().Zeros(16)))).result);
    // A child that is larger than the entry has left.
    EXPECT_EQ(MP4_CORRUPT, ReadBox(WithDeclaredSize(whole, static_cast<u32>(whole.size() - 1))).result);
  }
}

TEST(EsDescriptorBox, HoldsOneEsDescriptorThatFits) {
  const std::tuple<const char*, Bytes, Mp4Result> cases[] = {
      {"of another tag", FullBox("esds", 0, 0, Descriptor(5, Bytes().U8(1))), MP4_BAD_BOX},
      {"longer than the box", WithDeclaredSize(kEsds, static_cast<u32>(kEsds.size() - 1)),
       MP4_DESCRIPTOR_OVERRUN},
      // The sum of its size and 8 wraps and would pass as a small child.
      {"in a box near 2^64 bytes", Bytes().U32(1).Text("esds").U64(~u64{0} - 3).U32(0).Add(kEsDescriptor),
       MP4_CORRUPT},
      {"shorter than the box", FullBox("esds", 0, 0, Bytes(kEsDescriptor).U8(0)), MP4_OK},
  };
  for (const auto& [name, esds, result] : cases) {
    EXPECT_EQ(result, ReadBox(Entry("mp4a", esds)).result) << name;
  }
}

TEST(Mp4SampleEntry, WritesWhatWasSet) {
  CMP4MpegSampleEntry entry;
  EXPECT_EQ(MP4_OK, entry.SetDecoderConfig(0x0102, 0x40, 5, "i", 1));
  EXPECT_EQ(MP4_NOT_READY, entry.SetDecoderConfig(1, 0x40, 5, "i", 1)) << "it has a decoder config";
  const Bytes config = Bytes().U8(0x40).U8(5 << 2 | 1).U24(0x140000).Zeros(8).Add(Descriptor(5, {'i'}));
  const Bytes es = Bytes().U16(0x0102).U8(0).Add(Descriptor(4, config)).Add(Descriptor(6, {2}));
  const Bytes esds = FullBox("esds", 0, 0, Descriptor(3, es));
  EXPECT_EQ(Box("mp4s", Bytes().Zeros(6).U16(1).Add(esds)), WrittenBytes(&entry));
}

TEST(SampleEntry, NewEntriesHaveTheirDefaults) {
  CH263SampleEntry video;
  ExpectEach(MP4_OK, {video.SetSpecificData("\1", 1), video.SetVideoSize(176, 144)});
  EXPECT_EQ(MP4_BAD_ARGUMENT, video.SetVideoSize(352, -1));
  Bytes fields = Bytes().Zeros(6).U16(1).Zeros(16).U16(176).U16(144).U32s({0x480000, 0x480000, 0}).U16(1);
  fields.Zeros(32).U16(24).U16(0xFFFF).Add(Box("d263", Bytes().U8(1)));
  EXPECT_EQ(Box("s263", fields), WrittenBytes(&video));
  CLine21SampleEntry captions;
  EXPECT_EQ(MP4_OK, captions.SetConfig("\7", 1));
  EXPECT_TRUE(Dumped(captions, 1).ends_with("  m_ui16DataReferenceIndex: 1\n  Config=0\n"));
}

// The name fills its field with no zero byte: printing it stops at the field's end.
TEST(SampleEntry, PrintsTheCompressorNameWithinItsField) {
  Bytes name = Bytes().U8(31).Text(std::string(31, 'n'));
  const Bytes entry = Box("s263", Bytes().Zeros(42).Add(name).Text("DEEP").Add(Box("d263")));
  const auto box = ReadBoxAs(entry);
  EXPECT_NE(std::string::npos, Dumped(*box).find("Compressor Name=" + std::string(31, 'n') + "\n"));
}

}  // namespace
}  // namespace kt::test

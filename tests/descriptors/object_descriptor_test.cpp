#include "descriptors/object_descriptor.h"

#include "descriptors/decoder_specific_info.h"
#include "descriptors/initial_object_descriptor.h"
#include "descriptors/object_descriptor_update.h"
#include "support/descriptor_writer.h"

namespace kt::test {
namespace {

Bytes Reference(u16 index) {
  return Descriptor(15, Bytes().U16(index));
}

Bytes Inclusion(u32 trackId) {
  return Descriptor(14, Bytes().U32(trackId));
}

// An ES descriptor as small as can be; its decoder config has the reserved bit only once it is written.
Bytes Es(u8 streamByte) {
  const Bytes config = Descriptor(4, Bytes().U8(0).U8(streamByte).Zeros(11));
  return Descriptor(3, Bytes().Zeros(3).Add(config).Add(Descriptor(6, {2})));
}

const Bytes kLevels = {0xFF, 0xFE, 15, 3, 0xFD};

TEST(ObjectDescriptor, HasTheSameBytesInMemory) {
  const Bytes url = Bytes().U16(0x053F).U8(4).Text("u:vw");
  const Bytes plain = Bytes().U16(0x051F).Add(Reference(7)).Add(Descriptor(64));
  for (const Bytes& bytes : {Descriptor(1, Bytes(url).Add(Descriptor(128))), Descriptor(17, plain)}) {
    const ReadDescriptor od(bytes);
    ExpectBufferFormMatches(*od.descriptor);
  }
}

TEST(ObjectDescriptor, IsBuiltByItsSetters) {
  CObjectDescriptor od;
  EXPECT_EQ(MP4_BAD_ARGUMENT, od.SetObjectDescriptorId(1024));
  ASSERT_EQ(MP4_OK, od.SetObjectDescriptorId(20));
  ExpectEach(MP4_BAD_DESCRIPTOR, {WriteResult(od), BufferResult(od, 9)});
  ASSERT_EQ(MP4_OK, od.AddEsIdRef(0x10002));  // 16 bits of it
  ASSERT_EQ(MP4_OK, od.AddEsDescriptor(std::make_unique<CDecoderSpecificInfo>()));
  const Bytes body = Bytes().U8(0x05).U8(0x1F).Add(Reference(2)).Add(Descriptor(5));
  EXPECT_EQ(Descriptor(17, body), Written(od));
  ASSERT_EQ(MP4_OK, od.SetFileForm(0));
  EXPECT_EQ(Descriptor(1, body), Written(od));
}

TEST(ObjectDescriptors, RefuseShortBodies) {
  const std::pair<const char*, Bytes> rows[] = {
      {"OD of one byte", Descriptor(17, {0})},
      {"OD with a URL flag alone", Descriptor(1, {0, 0x20})},
      {"OD with a URL beyond it", Descriptor(1, {0, 0x20, 2, 'a'})},
      {"IOD of no byte", Descriptor(16)},
      {"IOD of one byte", Descriptor(2, {0})},
      {"IOD of six bytes", Descriptor(16, Bytes().Zeros(6))},
      {"IOD with a URL beyond it", Descriptor(16, {0, 0x20, 250, 'a', 'b'})},
      {"IOD with a child beyond it", Descriptor(16, Bytes().Zeros(7).Add({14, 4, 0}))},
  };
  for (const auto& [what, bytes] : rows) {
    EXPECT_EQ(MP4_DESCRIPTOR_OVERRUN, ReadDescriptor(Bytes(bytes).Zeros(300)).result) << what;
  }
}

// Embedded ES descriptors are looked for under the tag of pointers to tracks, whatever the descriptor's tag.
TEST(InitialObjectDescriptor, ReadsTheSystemsFormAsTheFileForm) {
  const Bytes start = Bytes().U16(0x000F).Add(kLevels);
  ReadDescriptor iod(Descriptor(2, Bytes(start).Add(Es(0)).Add(Inclusion(9))));
  ASSERT_EQ(MP4_OK, iod.result);
  EXPECT_EQ(Descriptor(2, Bytes(start).Add(Inclusion(9))), Written(*iod.descriptor));
  EXPECT_EQ(MP4_NOT_READY,
            iod.As<CInitialObjectDescriptor>().AddEsDescriptor(std::make_unique<CDecoderSpecificInfo>()));
}

TEST(InitialObjectDescriptor, IsBuiltByItsSetters) {
  CInitialObjectDescriptor iod;
  EXPECT_EQ(MP4_BAD_ARGUMENT, iod.SetObjectDescriptorId(1024));
  ExpectEach(MP4_OK,
             {iod.SetObjectDescriptorId(1023), iod.SetOdProfileLevel(1), iod.SetSceneProfileLevel(2),
              iod.SetAudioProfileLevel(3), iod.SetVisualProfileLevel(4), iod.SetGraphicsProfileLevel(5)});
  EXPECT_EQ(MP4_BAD_DESCRIPTOR, WriteResult(iod));
  EXPECT_EQ(MP4_NOT_READY, iod.AddEsDescriptor(std::make_unique<CDecoderSpecificInfo>()));
  EXPECT_EQ(MP4_BAD_DESCRIPTOR, WriteResult(iod)) << "the form is looked at before the list is made";
  ASSERT_EQ(MP4_OK, iod.SetFileForm(0));
  // Here the list comes first, so that the refusal leaves a descriptor that can be written.
  EXPECT_EQ(MP4_NOT_READY, iod.AddEsIdInc(3));
  const Bytes start = Bytes().U16(0xFFCF).Add({1, 2, 3, 4, 5});
  EXPECT_EQ(Descriptor(2, start), Written(iod));
  for (const u32 room : {64u, 0u}) EXPECT_EQ(MP4_NOT_READY, BufferResult(iod, room));
  ExpectEach(MP4_OK, {iod.AddEsDescriptor(std::make_unique<CDecoderSpecificInfo>()), iod.SetFileForm(1),
                      iod.AddEsIdInc(3)});
  EXPECT_EQ(Descriptor(16, Bytes(start).Add(Descriptor(5)).Add(Inclusion(3))), Written(iod));
}

// The size that the header claims only decides where the parent ends.
TEST(TrackPointers, HaveOneWidth) {
  EXPECT_EQ(4u, ReadDescriptor({15, 0, 1, 2}).consumed);
  EXPECT_EQ(6u, ReadDescriptor({14, 5, 1, 2, 3, 4, 5}).consumed);
}

TEST(ObjectDescriptorUpdate, RoundTripsAndPrints) {
  const Bytes od = Descriptor(1, Bytes().U8(0x05).U8(0x1F).Add(Reference(2)));
  const Bytes bytes = Descriptor(1, Bytes(od).Add(Descriptor(99)));
  MemoryBlock storage(bytes);
  CBaseCommand header;
  ASSERT_EQ(MP4_OK, header.Deserialize(storage));
  CObjectDescriptorUpdate update(&header);
  ASSERT_EQ(MP4_OK, update.Deserialize(storage));
  EXPECT_EQ(
      "\n  Object descriptor update\n  Tag: 0x01  Size: 10\n  {\n"
      "\n    Object descriptor\n    Tag: 0x01  Size: 6\n    OD_ID: 20\n    URLFlag: FALSE\n"
      "\n      ES ID ref\n      Tag: 0x0f  Size: 2\n      Track ref: 2\n"
      "\n    Unknown\n    Tag: 0x63  Size: 0\n  }\n",
      Dumped(update, 1));
  EXPECT_EQ(bytes, Written(update));
  ExpectBufferFormMatches(update);
}

// The update is a level of its own when it is printed: what can be read can be printed.
TEST(ObjectDescriptorUpdate, CountsAsALevelOfNesting) {
  for (const bool tooDeep : {false, true}) {
    Bytes nested;
    for (u32 i = 0; i < 63u + tooDeep; ++i) nested = Descriptor(4, Bytes().Zeros(13).Add(nested));
    MemoryBlock storage(Descriptor(1, nested));
    CBaseCommand header;
    EXPECT_EQ(MP4_OK, header.Deserialize(storage));
    CObjectDescriptorUpdate update(&header);
    EXPECT_EQ(tooDeep ? MP4_BAD_DESCRIPTOR : MP4_OK, update.Deserialize(storage));
    if (!tooDeep) Dumped(update, 60);
  }
}

}  // namespace
}  // namespace kt::test

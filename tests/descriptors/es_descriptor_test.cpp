#include "descriptors/es_descriptor.h"

#include <tuple>

#include "support/descriptor_writer.h"

namespace kt::test {
namespace {

// The fixed part of a decoder config: audio, upstream, 3 * 65536 bytes of buffer.
Bytes ConfigFields(u8 streamByte = 0x17) {
  return Bytes().U8(0x40).U8(streamByte).U24(0x030000).U32(128000).U32(96000);
}

Bytes Config(const Bytes& info = {0x12, 0x10}) {
  return Descriptor(4, ConfigFields().Add(Descriptor(5, info)));
}

Bytes Sl(u8 predefined = 2) {
  return Descriptor(6, {predefined});
}

// An ES descriptor with the given fields in front of its two children.
Bytes Es(const Bytes& fields) {
  return Descriptor(3, Bytes(fields).Add(Config()).Add(Sl()));
}

// A descriptor that moved would leave its children the wrong owner, one copied by its base would lose its
// body.
static_assert(!std::is_move_constructible_v<CESDescriptor> &&
              !std::is_constructible_v<CBaseDescriptor, const CESDescriptor&>);

// A predefined SL config is written, and refused all the same. The URL's bytes count for the room as well.
TEST(EsDescriptor, HasTheSameBytesInMemory) {
  ExpectBufferFormMatches(*ReadDescriptor(Es(Bytes().U16(513).U8(0xC5).U16(7).U8(3).Text("a:b"))).descriptor,
                          MP4_NOT_READY);
}

// Of the flags byte the writer keeps dependence, URL and the two priority bits that reading lets through.
TEST(EsDescriptor, FlagsLosePriorityBitsAndTheOcrFlag) {
  const std::tuple<u8, const char*, u8> rows[] = {
      {0x1F, "flag: 0 URL flag 0 OCR stream flag 0\nStream priority: 5\n", 0x05},
      {0x02, "flag: 0 URL flag 0 OCR stream flag 0\nStream priority: 0\n", 0x00},
      {0x21, "flag: 0 URL flag 0 OCR stream flag 1\nStream priority: 1\n", 0x01},
      {0xFF, "flag: 1 URL flag 1 OCR stream flag 1\nStream priority: 5\n", 0xC5},
  };
  for (const auto& [flags, lines, written] : rows) {
    Bytes fields = Bytes().U16(1).U8(flags);
    if (flags & 0x80) fields.U16(2);
    if (flags & 0x40) fields.U8(1).Text("u");
    ReadDescriptor read(Es(fields));
    ASSERT_EQ(MP4_OK, read.result);
    EXPECT_NE(std::string::npos, Dumped(*read.descriptor).find(lines));
    EXPECT_EQ(written, Written(*read.descriptor)[4]);
  }
  // The OCR flag's 16 bits are taken for children.
  EXPECT_NE(MP4_OK, ReadDescriptor(Es(Bytes().U16(1).U8(0x20).U16(0x0102))).result);
}

TEST(EsDescriptor, Refuses) {
  const auto es = [](const Bytes& rest) { return Descriptor(3, Bytes().U16(1).Add(rest)); };
  const Bytes more = Es(Bytes().U16(1));
  constexpr Mp4Result kOverrun = MP4_DESCRIPTOR_OVERRUN;
  const std::tuple<const char*, Bytes, Mp4Result> rows[] = {
      {"no body", Descriptor(3), kOverrun},
      {"two bytes of body", es({}).Add(more), kOverrun},
      {"a dependence without its id", es({0x80}).Add(more), kOverrun},
      {"a URL flag without a URL", es({0x40}).Add(more), kOverrun},
      {"a URL longer than the body", es(Bytes().U8(0x40).U8(9).Text("abc")).Zeros(99), kOverrun},
      {"no children", es({0}), MP4_NOT_FOUND},
      {"no decoder config", es(Bytes().U8(0).Add(Sl())), MP4_NOT_FOUND},
      {"no SL config", es(Bytes().U8(0).Add(Config())), MP4_NOT_FOUND},
      {"a child larger than the body", es(Bytes().U8(0).Add(Config()).Add({6, 2})).Add({2, 0}), kOverrun},
      {"a decoder config of 12 bytes", es(Bytes().U8(0).Add(Descriptor(4, Bytes().Zeros(12))).Add(Sl())),
       kOverrun},
  };
  for (const auto& [what, bytes, result] : rows) {
    const ReadDescriptor read(bytes);
    EXPECT_EQ(result, read.result) << what;
    EXPECT_EQ(nullptr, read.descriptor) << what;
  }
}

TEST(EsDescriptor, IsBuiltByItsSetters) {
  CESDescriptor es;
  u32 size = 99;
  EXPECT_EQ(MP4_NOT_FOUND, es.GetDecoderSpecificInfo(0, &size, nullptr));
  EXPECT_EQ(MP4_NOT_FOUND, es.GetDecoderSpecificInfoSize(&size));
  ASSERT_EQ(MP4_OK, es.SetDecoderType(0x40, 5, "\x12\x10", 2));
  EXPECT_EQ(MP4_NOT_READY, es.SetDecoderType(0x20, 4, nullptr, 0));
  for (const u8 predefined : {u8{1}, u8{3}, u8{2}}) {
    EXPECT_EQ(predefined == 3 ? MP4_NOT_READY : MP4_OK, es.SetSlPredefined(predefined));
  }
  const Bytes config =
      Descriptor(4, Bytes().U8(0x40).U8(0x15).U24(0x140000).Zeros(8).Add(Descriptor(5, {0x12, 0x10})));
  EXPECT_EQ(Descriptor(3, Bytes().Zeros(3).Add(config).Add(Sl())), Written(es));
}

TEST(EsDescriptor, WithoutChildrenHasThreeAnswers) {
  CESDescriptor es;
  EXPECT_EQ(MP4_BAD_DESCRIPTOR, es.CalculateSize());
  EXPECT_EQ(MP4_NOT_READY, es.Serialize(MemoryBlock(std::size_t{16})));
  Bytes bytes(16);
  u8* cursor = bytes.data();
  u32 room = 16;
  EXPECT_EQ(MP4_BAD_DESCRIPTOR, es.SerializeToBuffer(&cursor, &room));
  EXPECT_EQ(11u, room) << "header and fields come first";
  EXPECT_NE(std::string::npos, Dumped(es, 0, MP4_NOT_READY).find("Stream priority: 0\n"));
}

// Only 8 bits of a URL's length are kept: longer ones are cut to their length modulo 256. A printed URL has
// rows of 60 characters.
TEST(EsDescriptor, UrlLengthWraps) {
  EXPECT_EQ(MP4_BAD_ARGUMENT, CESDescriptor().SetUrl(nullptr, 3));
  const std::string text = std::string(61, 'a') + std::string(239, 'b');
  for (const u32 length : {0u, 61u, 255u, 256u, 300u}) {
    CESDescriptor es;
    ExpectEach(MP4_OK, {es.SetSlPredefined(2), es.SetUrl("old", 3), es.SetUrl(text.data(), length)});
    EXPECT_EQ(Descriptor(
                  3, Bytes().U16(0).U8(0x40).U8(length & 0xFF).Text(text.substr(0, length & 0xFF)).Add(Sl())),
              Written(es));
    const std::string rows = "  URL length 61 URL string:\n    " + std::string(60, 'a') + "\n    a\n\n    SL";
    EXPECT_EQ(length == 61, Dumped(es, 1).find(rows) != std::string::npos);
  }
}

// A size without data is told by the getters, and neither counted nor written.
TEST(DecoderSpecificInfo, EmptyAndNullDataCountNoBytes) {
  CDecoderSpecificInfo info;
  ExpectEach(MP4_OK, {info.SetData("abc", 3), info.SetData(nullptr, 200)});
  u32 size = 0;
  EXPECT_EQ(MP4_BUFFER_TOO_SMALL, info.GetData(199, &size, nullptr));
  EXPECT_EQ(200u, size);
  EXPECT_EQ(MP4_OK, info.GetData(200, &size, nullptr));
  EXPECT_EQ(Descriptor(5), Written(info));
  ExpectBufferFormMatches(info);
  EXPECT_EQ("\nDecoder specific info\nTag: 0x05  Size: 0\n{\n}\n", Dumped(info));
}

// The claimed size is held against the file before memory is taken for it.
TEST(DecoderSpecificInfo, ClaimOfFourGigabytesTakesNoMemory) {
  FileOf storage({5, 0x8F, 0xFF, 0xFF, 0xFF, 0x7F, 1, 2, 3});
  const ReadDescriptor read(storage);
  EXPECT_EQ(MP4_FILE_IO, read.result);
  EXPECT_EQ(6u, read.consumed) << "the read would have run into the end, the look ahead has not";
}

// The body of a custom SL header.
Bytes CustomSl(u8 flags, u8 timeStampLength, u16 packed = 0) {
  return Bytes().U8(0).U8(flags).U32(90000).U32(0).U8(timeStampLength).U8(0).U8(0).U8(0).U16(packed);
}

TEST(SlConfig, ReadsOrRefuses) {
  constexpr u8 kTimeStamps = 0x04;
  constexpr u8 kDuration = 0x01;
  const Bytes durations = Bytes().U32(1000).U16(40).U16(41);
  const std::tuple<const char*, Bytes, Mp4Result> rows[] = {
      {"no body", {}, MP4_DESCRIPTOR_OVERRUN},
      {"predefined 1 and a byte more", {1, 99}, MP4_OK},
      {"predefined 2 and many more", Bytes().U8(2).Zeros(3000), MP4_OK},
      {"predefined 3", {3}, MP4_NOT_READY},
      {"custom, one byte short", Bytes().U8(0).Zeros(14), MP4_DESCRIPTOR_OVERRUN},
      {"custom, time stamps in packets", CustomSl(kTimeStamps, 32), MP4_OK},
      {"custom and bytes more", CustomSl(0, 0).Zeros(700), MP4_OK},
      {"durations", CustomSl(kDuration, 0).Add(durations), MP4_OK},
      {"durations, one byte short", CustomSl(kDuration, 0).Zeros(7), MP4_DESCRIPTOR_OVERRUN},
      {"start time stamps", CustomSl(0, 33).Zeros(9), MP4_NOT_READY},
      {"start time stamps, one byte short", CustomSl(0, 33).Zeros(8), MP4_DESCRIPTOR_OVERRUN},
      {"start time stamps of 65 bits", CustomSl(0, 65).Zeros(17), MP4_BAD_VALUE},
      {"start time stamps behind durations", CustomSl(kDuration, 8).Add(durations).U16(0), MP4_NOT_READY},
  };
  for (const auto& [what, body, result] : rows) {
    const Bytes bytes = Descriptor(6, body);
    ReadDescriptor read(Bytes(bytes).U32(0));
    EXPECT_EQ(result, read.result) << what;
    if (result == MP4_OK) {
      EXPECT_EQ(bytes.size(), read.consumed) << what;
    }
  }
  // Trailing bytes that are not there fail as their read would.
  EXPECT_EQ(MP4_OUT_OF_RANGE, ReadDescriptor({6, 3, 1, 99}).result);
}

// Both durations are read into one field: the later prevails there, the other shows as 0.
TEST(SlConfig, CompositionDurationLandsInTheAccessUnitDuration) {
  ReadDescriptor read(Descriptor(6, CustomSl(0x01, 0).U32(0xFFFFFFFF).U16(40).U16(41)));
  ASSERT_EQ(MP4_OK, read.result);
  EXPECT_EQ(
      "\nSL config descriptor\nTag: 0x06  Size: 24\nPredefined SL header: 0\n"
      "Time Scale: -1\nAccess unit duration: 41\nComposition unit duration: 0\n",
      Dumped(*read.descriptor));
}

// What can be written depends on what an earlier custom header has left behind.
TEST(SlConfig, WritesPredefinedHeadersOnly) {
  // What is read first and set then, the size of the body, what a storage and memory answer with room for
  // all, and one byte less than is needed.
  const std::tuple<const char*, Bytes, u8, u32, Mp4Result, Mp4Result, u32> rows[] = {
      {"custom", CustomSl(0, 0), 0, 1, MP4_BAD_VALUE, MP4_NOT_READY, 1},
      {"1", {1}, 1, 1, MP4_OK, MP4_NOT_READY, 2},
      {"1 after a duration", CustomSl(0x01, 0).Zeros(8), 1, 9, MP4_NOT_READY, MP4_NOT_READY, 2},
      {"2 after a duration", CustomSl(0x01, 0).Zeros(8), 2, 1, MP4_OK, MP4_NOT_READY, 2},
      {"1 after time stamps of 33 bits", CustomSl(0x04, 33), 1, 10, MP4_NOT_READY, MP4_NOT_READY, 11},
      // An unknown value is refused and stored, and clears nothing: the one way to a success in memory.
      {"3 after time stamps", CustomSl(0x04, 33), 3, 1, MP4_OK, MP4_OK, 2},
  };
  for (const auto& [what, body, predefined, size, storage, buffer, room] : rows) {
    SCOPED_TRACE(what);
    ReadDescriptor read(Descriptor(6, body));
    auto& sl = read.As<CSLConfigDescriptor>();
    EXPECT_EQ(predefined > 2 ? MP4_NOT_READY : MP4_OK, sl.SetPredefined(predefined));
    EXPECT_EQ(storage, WriteResult(sl));
    u32 told = 0;
    Got(sl, &CSLConfigDescriptor::GetSize, &told);
    EXPECT_EQ(size, told);
    EXPECT_EQ(buffer, BufferResult(sl, 64));
    EXPECT_EQ(MP4_BUFFER_TOO_SMALL, BufferResult(sl, room));
  }
}

}  // namespace
}  // namespace kt::test

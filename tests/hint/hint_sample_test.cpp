#include "hint/hint_sample.h"

#include <tuple>

#include "hint/hint_support.h"

namespace kt::test {
namespace {

// Time -2, both flags of the first byte, marker, type 97, sequence number 513, all three flags of the other.
Bytes HeaderBytes(u8 first, u8 flags, u16 entries) {
  return Bytes().U32(0xFFFFFFFE).U8(first).U8(0xE1).U16(0x0201).U8(0).U8(flags).U16(entries);
}

const Bytes kNoOp = Bytes().U8(0).Zeros(15);

// What is printed of a packet, without indent. The flags are those of the header and then those of the hint.
std::string PacketDump(const char* flags, const std::string& rest = "Entry count: 0 \n") {
  char text[256];
  std::snprintf(text, sizeof text,
                "Relative time: -2 RTP header flags P:%c X:%c M:1\n"
                "Payload type: 97 RTP sequence seed: 513 Extra flag: %c b-frame: %c repeat: %c\n",
                flags[0], flags[1], flags[2], flags[3], flags[4]);
  return text + rest;
}

TEST(HintSample, ReadsPrintsAndWritesItself) {
  const Bytes immediate = Bytes().U8(1).U8(2).Add({0xAB, 0x0C}).Zeros(12);
  const Bytes sample = Bytes().U8(2).U8(255).U16(65535).U32(9).U32(10).U16(11).U16(12);
  const Bytes piece = Bytes().U8(3).U8(7).U16(600).U32(2).U32(0xFFFFFFFF).U32(5);
  const Bytes tooMuch = HintSampleBytes({HeaderBytes(0, 0, 1).U8(1).U8(200).Zeros(14)});
  const auto all = [&](const Bytes& noOp) {
    return HintSampleBytes({HeaderBytes(0, 1, 4).Add(noOp).Add(immediate).Add(sample).Add(piece)});
  };
  const std::tuple<const char*, Bytes, std::string, Bytes> cases[] = {
      {"no packets", HintSampleBytes({}), "", HintSampleBytes({})},
      {"reserved fields are dropped", Bytes().U16(1).U16(9).Add(HeaderBytes(0, 3, 0)), PacketDump("00011"),
       HintSampleBytes({HeaderBytes(0, 3, 0)})},
      // The flags come out one bit lower than they went in.
      {"padding", HintSampleBytes({HeaderBytes(0x40, 0, 0)}), PacketDump("10000"),
       HintSampleBytes({HeaderBytes(0x20, 0, 0)})},
      {"extension", HintSampleBytes({HeaderBytes(0x20, 2, 0)}), PacketDump("01010"),
       HintSampleBytes({HeaderBytes(0x10, 2, 0)})},
      {"all constructors", all(Bytes().U8(0).U32(1).Zeros(11)),
       PacketDump("00001",
                  "Entry count: 4 \n{\n"
                  "  Constructor type = NoOp (0)\n"
                  "  Constructor type = Immediate (1)\n  Data count = 2 Data: ab 0c\n"
                  "  Constructor type = Sample (2)\n  Track ref index = 255 Length = 65535 Sample number 9\n"
                  "  Sample offset = 10 Bytes per block = 11 Sample per block 12\n"
                  "  Constructor type = SampleDescription (3)\n  Track ref index = 7 Length = 600\n"
                  "  Sample description index 2 Sample decription offset = -1\n}\n"),
       all(kNoOp)},
      {"immediate data beyond its bytes", tooMuch,
       PacketDump("00000",
                  "Entry count: 1 \n{\n  Constructor type = Immediate (1)\n  Data count = 200 Data:"
                  " 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n}\n"),
       tooMuch},
      // Extra data are passed over, and what stands there is taken for them.
      {"extra data", HintSampleBytes({HeaderBytes(0, 0, 0)}, {1, 2, 3, 4, 5}), PacketDump("00000"),
       HintSampleBytes({HeaderBytes(0, 0, 0)}, Bytes().Zeros(5))},
  };
  EXPECT_EQ(Describe(all(kNoOp)), " #513* 171 12 2/255 9:65535@10 3/7 2:600@4294967295");
  for (const auto& [name, bytes, dump, written] : cases) {
    SCOPED_TRACE(name);
    CHintSample hintSample(nullptr);
    ASSERT_EQ(Read(&hintSample, bytes), MP4_OK);
    std::string packets = dump;
    for (std::size_t at = 0; at < packets.size(); at = packets.find('\n', at) + 1) packets.insert(at, "  ");
    const char* const behind = bytes.size() == 21 ? "Extra data size 5\n" : "";
    EXPECT_EQ(Dumped(hintSample),
              "Packet Count " + std::to_string(bytes[1]) + "\n{\n" + packets + "}\n" + behind);
    EXPECT_EQ(Written(&hintSample, bytes.size()), written);
    EXPECT_EQ(Dumped(hintSample, 2).find("    Packet Count"), 0u);
  }
}

TEST(HintSample, ReadsAnExtraListAndCannotWriteIt) {
  const Bytes list = Bytes().U32(12).Add(Box("free"));
  const Bytes bytes = HintSampleBytes({HeaderBytes(0, 4, 1).Add(list).Add(kNoOp)});
  CHintSample hintSample(nullptr);
  ASSERT_EQ(Read(&hintSample, bytes), MP4_OK);
  EXPECT_NE(Dumped(hintSample)
                .find("    Constructor type = NoOp (0)\n  }\n"
                      "  ExtraInformationLength 12  {\n\n    Box type = free  Size = 8\n  }\n"),
            std::string::npos);
  EXPECT_EQ(Written(&hintSample, 100, MP4_NOT_READY).size(), 16u) << "header and packet header";
  EXPECT_EQ(hintSample.CalculateSize(), MP4_OK);
  EXPECT_EQ(Got(hintSample, &CHintSample::GetSize), 2 * bytes.size())
      << "the size counts on from what was read";
}

TEST(HintSample, RefusesWhatRunsBeyondIt) {
  const Bytes header = HeaderBytes(0, 0, 1);
  const auto withList = [](u32 length, const Bytes& list) {
    return HintSampleBytes({HeaderBytes(0, 4, 0).U32(length).Add(list)});
  };
  const std::tuple<const char*, Bytes, Mp4Result> cases[] = {
      {"cut in its header", {0, 0, 0}, MP4_OUT_OF_RANGE},
      {"a packet too few", Bytes().U16(2).U16(0).Add(HeaderBytes(0, 0, 0)), MP4_OUT_OF_RANGE},
      {"cut in a constructor", HintSampleBytes({header, Bytes().Zeros(15)}), MP4_CORRUPT},
      {"an unknown constructor", HintSampleBytes({Bytes(header).U8(4).Zeros(15)}), MP4_BAD_VALUE},
      {"an extra list without room for its length", withList(3, Box("free")), MP4_CORRUPT},
      {"an extra list beyond the sample", withList(13, Box("free")), MP4_CORRUPT},
      {"a box beyond its extra list", withList(11, Box("free")), MP4_CORRUPT},
      {"a box in the extra list that is refused", withList(12, Box("rtp ")), MP4_BAD_BOX},
  };
  for (const auto& [name, bytes, result] : cases) {
    CHintSample hintSample(nullptr);
    EXPECT_EQ(Read(&hintSample, bytes), result) << name;
    // A sender passes over an extra list; whatever else is cut is corrupt for it.
    const bool isCut = result != MP4_BAD_BOX && bytes[bytes.size() - 1] != 'e';
    const std::string refusal = result == MP4_BAD_VALUE ? "!12" : "!6";
    EXPECT_TRUE(!isCut || Describe(bytes).ends_with(refusal)) << name << Describe(bytes);
  }
  EXPECT_EQ(Describe(withList(12, Box("rtp ").Add(HeaderBytes(0, 0, 0)))), " #513*");
  // A size that says less than the storage has, or more, by far: no memory is taken for it.
  const Bytes bytes = HintSampleBytes({HeaderBytes(0, 0, 0)});
  for (const u32 size : {3u, 15u, 0xFFFFFFFFu}) {
    CHintSample hintSample(nullptr);
    EXPECT_EQ(hintSample.Deserialize(MemoryBlock(bytes), size), size < 16 ? MP4_CORRUPT : MP4_OUT_OF_RANGE)
        << size;
    // Their size stays without them.
    EXPECT_TRUE(size < 16 || Written(&hintSample, 100, MP4_NOT_READY) == bytes);
  }
  // All of an unknown constructor is passed over, if it is there.
  MemoryBlock storage(Bytes(17, 4));
  std::unique_ptr<CRTPBaseConstructor> constructor;
  u8 type = 0;
  EXPECT_EQ(CreateConstructor(storage, &constructor, &type), MP4_BAD_VALUE);
  EXPECT_EQ(storage.Position(), 16u);
  EXPECT_EQ(CreateConstructor(storage, &constructor, &type), MP4_OUT_OF_RANGE);
}

TEST(HintPacket, TakesOneToFourteenImmediateBytesAndForgetsItsEntriesWithTheHeader) {
  CHintSample hintSample(nullptr);
  CHintPacket* packet = nullptr;
  ASSERT_EQ(hintSample.AddPacket(&packet), MP4_OK);
  const Bytes data = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
  EXPECT_EQ(packet->AddImmediate(nullptr, 1), MP4_BAD_ARGUMENT);
  EXPECT_EQ(packet->AddImmediate(data.data(), 0), MP4_BAD_ARGUMENT);
  EXPECT_EQ(packet->AddImmediate(data.data(), 15), MP4_BAD_ARGUMENT);
  ExpectEach(MP4_OK,
             {packet->AddImmediate(data.data(), 14), packet->AddSample(77, 300, 5, 6), packet->SetMarker(1)});
  EXPECT_EQ(packet->SetHeader(128, 3, 1, -1), MP4_OK) << "of the type 7 bits are written";
  Bytes written = Bytes().U32(0xFFFFFFFF).U8(0).U8(0x80).U16(3).U8(0).U8(2).U16(0);
  written.U8(1).U8(14).Add(Bytes(data.begin(), data.end() - 1));
  written.U8(2).U8(0).U16(300).U32(5).U32(6).U16(1).U16(1);
  EXPECT_EQ(Written(&hintSample), HintSampleBytes({written}));
}

TEST(HintSample, CountsWith16Bits) {
  CHintSample hintSample(nullptr);
  CHintPacket* packet = nullptr;
  for (u32 i = 0; i < 65535; ++i) ASSERT_EQ(hintSample.AddPacket(&packet), MP4_OK);
  EXPECT_EQ(hintSample.AddPacket(&packet), MP4_NOT_READY);
  for (u32 i = 0; i < 65535; ++i) ASSERT_EQ(packet->AddSample(0, 1, 1, i), MP4_OK);
  EXPECT_EQ(packet->AddSample(0, 1, 1, 0), MP4_NOT_READY);
  EXPECT_EQ(Written(&hintSample).size(), 4u + 65535 * 12 + 65535 * 16);
}

}  // namespace
}  // namespace kt::test

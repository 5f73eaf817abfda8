#include "hint/packet_building.h"

#include <vector>

#include "hint/hint_support.h"

namespace kt::test {
namespace {

constexpr u8 kType = 97;

/// A stream in front of its last sequence number.
RtpStream Stream(u32 maxPacketSize = 500) {
  return {kType, 65535, maxPacketSize};
}
Bytes Packet(u16 sequenceNumber, bool marker, std::initializer_list<Bytes> constructors) {
  return PacketBytes(kType, static_cast<u16>(65535 + sequenceNumber), marker, constructors);
}

// The first packet of a stream has number 65535 here, and so number 0 follows.
TEST(PacketBuilding, PutsAGroupIntoPackets) {
  const Bytes zero = ImmediateBytes({0});
  const struct {
    const char* name;
    const PayloadFormat& format;
    u32 maxPacketSize;
    std::vector<MediaSample> group;
    Bytes expected;
    Mp4Result result = MP4_OK;
  } cases[] = {
      {"AAC",
       kAacPayload,
       500,
       {{7, 300}},
       HintSampleBytes(
           {Packet(0, true, {ImmediateBytes({0, 16}), ImmediateBytes({0x09, 0x60}), SampleBytes(7, 300)})})},
      // The second index delta is 0 for the next sample, and one more for a gap.
      {"AAC, three samples",
       kAacPayload,
       500,
       {{5, 1}, {6, 2}, {8, 31}},
       HintSampleBytes(
           {Packet(0, true,
                   {ImmediateBytes({0, 48}), ImmediateBytes({0, 8}), ImmediateBytes({0, 16}),
                    ImmediateBytes({0, 0xF9}), SampleBytes(5, 1), SampleBytes(6, 2), SampleBytes(8, 31)})})},
      {"AAC at the limit",
       kAacPayload,
       500,
       {{1, 496}},
       HintSampleBytes(
           {Packet(0, true, {ImmediateBytes({0, 16}), ImmediateBytes({15, 0x80}), SampleBytes(1, 496)})})},
      {"AAC beyond the limit", kAacPayload, 500, {{1, 497}}, {}, MP4_NOT_READY},
      {"AAC without samples", kAacPayload, 500, {}, {}, MP4_BAD_ARGUMENT},
      {"video",
       kVideoPayload,
       500,
       {{1, 100}, {2, 400}},
       HintSampleBytes({Packet(0, true, {SampleBytes(1, 100), SampleBytes(2, 400)})})},
      {"video of no bytes",
       kVideoPayload,
       500,
       {{1, 0}},
       HintSampleBytes({Packet(0, true, {SampleBytes(1, 0)})})},
      {"video beyond the limit", kVideoPayload, 500, {{1, 100}, {2, 401}}, {}, MP4_NOT_READY},
      {"video without samples", kVideoPayload, 500, {}, {}, MP4_BAD_ARGUMENT},
      {"captions",
       kCaptionPayload,
       5,
       {{1, 2}, {2, 2}},
       HintSampleBytes({Packet(0, true, {zero, SampleBytes(1, 2), SampleBytes(2, 2)})})},
      {"captions beyond the limit", kCaptionPayload, 4, {{1, 2}, {2, 2}}, {}, MP4_NOT_READY},
      {"captions without samples", kCaptionPayload, 500, {}, {}, MP4_BAD_ARGUMENT},
      {"LATM lengths",
       kLatmPayload,
       1100,
       {{1, 254}, {2, 255}, {3, 510}},
       HintSampleBytes({Packet(0, true,
                               {ImmediateBytes({254}), SampleBytes(1, 254), ImmediateBytes({255, 0}),
                                SampleBytes(2, 255), ImmediateBytes({255, 255, 0}), SampleBytes(3, 510)})})},
      {"LATM in two packets",
       kLatmPayload,
       500,
       {{1, 200}, {2, 200}, {3, 200}},
       HintSampleBytes(
           {Packet(0, false,
                   {ImmediateBytes({200}), SampleBytes(1, 200), ImmediateBytes({200}), SampleBytes(2, 200)}),
            Packet(1, true, {ImmediateBytes({200}), SampleBytes(3, 200)})})},
      {"LATM filled to the last byte",
       kLatmPayload,
       402,
       {{1, 200}, {2, 200}},
       HintSampleBytes({Packet(
           0, true,
           {ImmediateBytes({200}), SampleBytes(1, 200), ImmediateBytes({200}), SampleBytes(2, 200)})})},
      {"the largest LATM sample",
       kLatmPayload,
       500,
       {{1, 498}},
       HintSampleBytes({Packet(0, true, {ImmediateBytes({255, 243}), SampleBytes(1, 498)})})},
      {"LATM beyond the limit", kLatmPayload, 500, {{1, 499}}, {}, MP4_NOT_READY},
      {"LATM with a length of 14 bytes",
       kLatmPayload,
       65535,
       {{1, 14 * 255 - 1}},
       HintSampleBytes({Packet(0, true, {ImmediateBytes(Bytes(13, 255).U8(254)), SampleBytes(1, 3569)})})},
      {"LATM with a length of 15 bytes", kLatmPayload, 65535, {{1, 14 * 255}}, {}, MP4_BAD_ARGUMENT},
      {"LATM without samples", kLatmPayload, 500, {}, {}, MP4_BAD_ARGUMENT},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.name);
    RtpStream stream = Stream(test.maxPacketSize);
    CHintSample hintSample(nullptr);
    EXPECT_EQ(test.format.buildGroup(&stream, test.group, &hintSample), test.result);
    if (test.result != MP4_OK) continue;
    EXPECT_EQ(Written(&hintSample), test.expected);
  }
}

TEST(PacketBuilding, CutsASample) {
  const struct {
    const char* name;
    const PayloadFormat& format;
    u32 maxPacketSize, size;
    Bytes expected;
    Mp4Result result = MP4_OK;
  } cases[] = {
      // The first packet has room for 4 bytes less, and the header speaks of the whole.
      {"AAC", kAacPayload, 500, 497,
       HintSampleBytes({Packet(0, false, {ImmediateBytes({0, 16, 15, 0x88}), SampleBytes(9, 496)}),
                        Packet(1, true, {SampleBytes(9, 1, 496)})})},
      {"AAC that needs no cut", kAacPayload, 500, 496,
       HintSampleBytes({Packet(0, true, {ImmediateBytes({0, 16, 15, 0x80}), SampleBytes(9, 496)})})},
      {"AAC with room for the header alone", kAacPayload, 4, 5,
       HintSampleBytes({Packet(0, false, {ImmediateBytes({0, 16, 0, 40}), SampleBytes(9, 0)}),
                        Packet(1, false, {SampleBytes(9, 4)}), Packet(2, true, {SampleBytes(9, 1, 4)})})},
      {"AAC without room for the header", kAacPayload, 3, 5, {}, MP4_NOT_READY},
      {"AAC of no bytes", kAacPayload, 500, 0, {}, MP4_NOT_FOUND},
      {"AAC of a size that wraps", kAacPayload, 500, 0xFFFFFFFF, {}, MP4_NOT_READY},
      {"video", kVideoPayload, 500, 1200,
       HintSampleBytes({Packet(0, false, {SampleBytes(9, 500)}), Packet(1, false, {SampleBytes(9, 500, 500)}),
                        Packet(2, true, {SampleBytes(9, 200, 1000)})})},
      {"video that needs no cut", kVideoPayload, 500, 500,
       HintSampleBytes({Packet(0, true, {SampleBytes(9, 500)})})},
      {"video of no bytes", kVideoPayload, 500, 0, {}, MP4_NOT_FOUND},
      {"captions lose their first byte", kCaptionPayload, 5, 8,
       HintSampleBytes({Packet(0, false, {SampleBytes(9, 5)}), Packet(1, true, {SampleBytes(9, 3, 5)})})},
      {"more packets than 16 bits count", kVideoPayload, 1, 65536, {}, MP4_NOT_READY},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.name);
    RtpStream stream = Stream(test.maxPacketSize);
    CHintSample hintSample(nullptr);
    EXPECT_EQ(test.format.buildFragments(&stream, {9, test.size}, &hintSample), test.result);
    if (test.result != MP4_OK) continue;
    EXPECT_EQ(Written(&hintSample), test.expected);
  }
  EXPECT_EQ(kLatmPayload.buildFragments, nullptr);
}

}  // namespace
}  // namespace kt::test

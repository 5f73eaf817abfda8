#include "hint/packet_building.h"

#include <tuple>
#include <vector>

#include "hint/hint_support.h"

namespace kt::test {
namespace {

// What becomes of a group, or of a sample with the number `kCut`, which is cut: the packets behind the last
// sequence number but one, see `Describe`, or the refusal.
TEST(PacketBuilding, LaysGroupsAndPiecesIntoPackets) {
  constexpr u32 kCut = 70000;
  const std::tuple<const PayloadFormat&, u32, std::vector<MediaSample>, std::string> cases[] = {
      // The second index delta is 0 for the next sample, and one more for a gap.
      {kAacPayload, 500, {{5, 1}, {6, 2}, {8, 31}}, " #65535* 0 48 0 8 0 16 0 249 5:1 6:2 8:31"},
      {kAacPayload, 500, {{1, 496}}, " #65535* 0 16 15 128 1:496"},
      {kAacPayload, 500, {{1, 497}}, "MP4_NOT_READY"},
      {kVideoPayload, 500, {{1, 100}, {2, 400}}, " #65535* 1:100 2:400"},
      {kVideoPayload, 500, {{1, 100}, {2, 401}}, "MP4_NOT_READY"},
      {kVideoPayload, 500, {{1, 0}}, " #65535* 1:0"},
      {kCaptionPayload, 5, {{1, 2}, {2, 2}}, " #65535* 0 1:2 2:2"},
      {kCaptionPayload, 4, {{1, 2}, {2, 2}}, "MP4_NOT_READY"},
      {kLatmPayload, 1100, {{1, 254}, {2, 255}, {3, 510}}, " #65535* 254 1:254 255 0 2:255 255 255 0 3:510"},
      {kLatmPayload, 500, {{1, 200}, {2, 200}, {3, 200}}, " #65535 200 1:200 200 2:200 #0* 200 3:200"},
      {kLatmPayload, 402, {{1, 200}, {2, 200}}, " #65535* 200 1:200 200 2:200"},
      {kLatmPayload, 500, {{1, 498}}, " #65535* 255 243 1:498"},
      {kLatmPayload, 500, {{1, 499}}, "MP4_NOT_READY"},
      {kLatmPayload,
       65535,
       {{1, 14 * 255 - 1}},
       " #65535* 255 255 255 255 255 255 255 255 255 255 255 255 255 254 1:3569"},
      {kLatmPayload, 65535, {{1, 14 * 255}}, "MP4_BAD_ARGUMENT"},
      // The first packet has room for 4 bytes less, and the header speaks of the whole.
      {kAacPayload, 500, {{kCut, 497}}, " #65535 0 16 15 136 70000:496 #0* 70000:1@496"},
      {kAacPayload, 4, {{kCut, 5}}, " #65535 0 16 0 40 70000:0 #0 70000:4 #1* 70000:1@4"},
      {kAacPayload, 3, {{kCut, 5}}, "MP4_NOT_READY"},
      {kAacPayload, 500, {{kCut, 0}}, "MP4_NOT_FOUND"},
      {kAacPayload, 500, {{kCut, 0xFFFFFFFF}}, "MP4_NOT_READY"},
      {kVideoPayload, 65535, {{kCut, 70000}}, " #65535 70000:65535 #0* 70000:4465@65535"},
      {kVideoPayload, 500, {{kCut, 0}}, "MP4_NOT_FOUND"},
      {kVideoPayload, 1, {{kCut, 65536}}, "MP4_NOT_READY"},  // more packets than 16 bits count
      {kLatmPayload, 500, {{kCut, 9}}, "MP4_NOT_READY"},
      // Cut captions lose their first byte.
      {kCaptionPayload, 5, {{kCut, 8}}, " #65535 70000:5 #0* 70000:3@5"},
  };
  for (CHintSample hintSample(nullptr); const auto& [format, maxPacketSize, group, expected] : cases) {
    RtpStream stream = {97, 65535, maxPacketSize};
    hintSample.Restart();
    EXPECT_EQ(format.buildGroup(&stream, {}, &hintSample), MP4_BAD_ARGUMENT);
    const Mp4Result result = group[0].number == kCut ? format.buildFragments(&stream, group[0], &hintSample)
                                                     : format.buildGroup(&stream, group, &hintSample);
    EXPECT_EQ(result == MP4_OK ? Describe(Written(&hintSample)) : Mp4ResultName(result), expected)
        << group[0].size << " of " << maxPacketSize;
  }
}

}  // namespace
}  // namespace kt::test

#include "filter/formats/standard_types.h"

#include <gtest/gtest.h>

#include <tuple>

#include "support/box_writer.h"

namespace kt {
namespace {

using test::Bytes;
using Types = std::vector<MediaType>;

/// A type with a block of `size` zeros but for numbers of 32 bits, little-endian, each behind its offset in
/// `numbers`, and what is behind the block.
MediaType Type(bool isVideo, const Guid& subtype, const Guid& formatType, u32 size,
               const std::vector<u32>& numbers, const Bytes& behind) {
  Bytes block = Bytes().Zeros(size).Add(behind);
  for (std::size_t at = 0; at < numbers.size(); at += 2)
    for (u32 i = 0; i < 4; ++i) block[numbers[at] + i] = static_cast<u8>(numbers[at + 1] >> 8 * i);
  return {isVideo ? MEDIATYPE_Video : MEDIATYPE_Audio, subtype, formatType, false, isVideo, 0, block};
}

/// As the pins fill it; one media tick takes 9 units.
MediaType Pictures(const Guid& subtype, u32 width, u32 height, const Bytes& setup) {
  return Type(true, subtype, FORMAT_KtMp4Video, 104, {40, 9, 52, width, 56, height}, setup);
}

/// Both blocks in both spellings of the code.
Types Expected(const Guid& upper, const Guid& lower, u32 width, u32 height, u32 time, const Bytes& setup) {
  Types types;
  const auto add = [&](const Guid& subtype, const Guid& format, u32 map, u32 shapeX, u32 shapeY) {
    const std::vector<u32> numbers = {56,      shapeX, 60,       shapeY,   8,        width,
                                      12,      height, 24,       width,    28,       height,
                                      40,      time,   map,      40,       map + 4,  width,
                                      map + 8, height, map + 12, 0x180001, map + 16, subtype.data1};
    types.push_back(Type(true, subtype, format, map + 40, numbers, setup));
  };
  for (const Guid& subtype : {upper, lower}) add(subtype, FORMAT_VideoInfo, 48, 0, 0);
  for (const Guid& subtype : {upper, lower}) add(subtype, FORMAT_VideoInfo2, 72, width, height);
  return types;
}

/// Pins have neither a tag nor a count of what is behind.
MediaType Sound(const Guid& subtype, u32 tag, u32 rate, u32 channels, const Bytes& behind,
                u32 bytesPerSecond = 0) {
  const u32 bits = bytesPerSecond ? 0 : 16;
  const u32 counted = tag ? static_cast<u32>(behind.size()) : 0;
  return Type(false, subtype, FORMAT_WaveFormatEx, 18,
              {0, tag | channels << 16, 4, rate, 8, bytesPerSecond, 12, 1, 14, bits | counted << 16}, behind);
}

// A block of each length is on the heap, so that a sanitizer sees a read beyond it.
void ExpectTypesOfWholeBlocksAlone(MediaType type, std::size_t header) {
  const std::vector<u8> whole = type.format;
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    type.format = std::vector<u8>(whole.data(), whole.data() + size);
    EXPECT_EQ(StandardTypes(type).empty(), size < header) << size;
  }
  type.formatType = GUID_NULL;
  EXPECT_TRUE(StandardTypes(type).empty());
}

TEST(StandardTypes, OfPicturesTakeTimeAndSizeFromTheStream) {
  // Pictures of 64 x 48 pixels at 25 a second by one encoder, of 176 x 144 at no fixed rate by another; with
  // the decoder's buffers told in addition.
  const Bytes fixed = {0, 0, 1, 0x20, 0x00, 0xBC, 4, 6, 0xC4, 0, 0x67, 0x0C, 8, 0x10, 0x18, 0x51, 0x8F};
  const Bytes loose = {0, 0, 1, 0x20, 8, 0xD4, 0x8D, 8, 0, 0xCD, 5, 0x84, 0x12, 0x14, 0x18, 0x3F};
  const Bytes buffers = {0,    0,    1,    0x20, 8,    0xD4, 0x8D, 0x40, 0x32, 0x40, 0x64, 0x40, 0x96,
                         0x58, 0x4D, 0x80, 0x58, 0x90, 0x01, 0x9A, 0x0B, 0x08, 0x24, 0x28, 0x30, 0x7E};
  const Bytes noTicks = {0, 0, 1, 0x20, 0x00, 0x84, 0x40, 0x00, 0x28, 0x04, 0x20, 0x18};
  const std::tuple<u32, Bytes, u32, u32, u32> rows[] = {
      {32, fixed, 32, 48, 400000}, {0, fixed, 64, 48, 400000}, {0, loose, 176, 144, 0},
      {0, buffers, 176, 144, 0},   {0, noTicks, 16, 24, 0},    {8, {}, 8, 48, 0}};
  for (const auto& [given, setup, width, height, time] : rows) {
    const Types expected = Expected(FourCcGuid("MP4V"), FourCcGuid("mp4v"), width, height, time, setup);
    for (const Guid& subtype : {MEDIASUBTYPE_KtMp4Video, MEDIASUBTYPE_KtMp4VideoStamped})
      EXPECT_EQ(StandardTypes(Pictures(subtype, given, 48, setup)), expected) << given << ' ' << width;
  }
  for (const Guid& subtype : {MEDIASUBTYPE_KtH263, MEDIASUBTYPE_KtH263Stamped})
    EXPECT_EQ(StandardTypes(Pictures(subtype, 176, 144, {0x46, 0x46, 0x4D, 0x50, 0, 0x0A, 0})),
              Expected(FourCcGuid("H263"), FourCcGuid("s263"), 176, 144, 0, {}));
  ExpectTypesOfWholeBlocksAlone(Pictures(MEDIASUBTYPE_KtMp4Video, 0, 0, fixed), 104);
}

TEST(StandardTypes, OfSoundAreWhatTheSetUpSays) {
  const Guid aac = MEDIASUBTYPE_KtMp4Audio, amr = MEDIASUBTYPE_KtAmr;
  // SBR and PS behind a core of one channel at 24,000 a second; a reserved rate; CELP; Layer III by MPEG-4.
  const Bytes he = {0x13, 0x08, 0x56, 0xE5, 0x9D, 0x48, 0x80}, unread = {0x16, 0x88}, celp = {0x45, 0x88},
              layer3 = {0xF8, 0x48, 0x40}, large = Bytes(he).Zeros(65530);
  const Bytes header = Bytes({0, 0, 0xFE, 0}).Zeros(8);
  const Types heTypes = {Sound(WaveTagGuid(0xFF), 0xFF, 48000, 2, he),
                         Sound(WaveTagGuid(0x1610), 0x1610, 24000, 1, Bytes(header).Add(he))};
  const Types unreadTypes = {Sound(WaveTagGuid(0xFF), 0xFF, 44100, 6, unread),
                             Sound(WaveTagGuid(0x1610), 0x1610, 44100, 6, Bytes(header).Add(unread))};
  // The largest frames have 1,045 and 523 bytes.
  const Bytes frames = {1, 0, 0, 0, 0, 0, 0x15, 0x04, 1, 0, 0, 0},
              half = {1, 0, 0, 0, 0, 0, 0x0B, 0x02, 1, 0, 0, 0};
  const std::tuple<Guid, u32, u32, Bytes, Types> rows[] = {
      {aac, 44100, 2, he, heTypes},
      {MEDIASUBTYPE_KtMp4AudioStamped, 0, 0, he, heTypes},
      {aac, 44100, 6, unread, unreadTypes},
      {aac, 0, 6, unread, {}},
      {aac, 8000, 1, celp, {}},
      {aac, 44100, 2, layer3, {}},
      {aac, 44100, 2, large, {}},
      {aac, 44100, 2, {}, {Sound(WaveTagGuid(0x55), 0x55, 44100, 2, frames, 40000)}},
      {aac, 22050, 1, {}, {Sound(WaveTagGuid(0x55), 0x55, 22050, 1, half, 20000)}},
      {aac, 44100, 6, {}, {}},
      {amr, 8000, 1, he, {Sound(FourCcGuid("samr"), 0x6173, 8000, 1, {})}},
      {MEDIASUBTYPE_KtAmrStamped, 16000, 1, he, {Sound(FourCcGuid("sawb"), 0x6173, 16000, 1, {})}},
      {GUID_NULL, 44100, 2, he, {}},
  };
  for (const auto& [subtype, rate, channels, setup, expected] : rows)
    EXPECT_EQ(StandardTypes(Sound(subtype, 0, rate, channels, setup)), expected) << rate << ' ' << channels;
  ExpectTypesOfWholeBlocksAlone(Sound(aac, 0, 8000, 1, he), 18);
}

}  // namespace
}  // namespace kt

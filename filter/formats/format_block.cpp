#include "filter/formats/format_block.h"

#include <limits>
#include <utility>

#include "filter/formats/private_block.h"

namespace kt {
namespace {

constexpr std::size_t kBitmapHeaderSize = 40;

void PutBitmapHeader(std::span<u8> block, std::size_t offset, const PictureFacts& facts) {
  PutLittleEndian(block, offset, 4, kBitmapHeaderSize);
  PutLittleEndian(block, offset + 4, 4, facts.width);
  PutLittleEndian(block, offset + 8, 4, facts.height);
  PutLittleEndian(block, offset + 12, 2, 1);   // planes
  PutLittleEndian(block, offset + 14, 2, 24);  // bits per pixel, decoded
  PutLittleEndian(block, offset + 16, 4, FourCcGuid(facts.compression).data1);
}

// What VIDEOINFOHEADER and VIDEOINFOHEADER2 begin with: the rectangles of source and target, bit rate and
// error rate, the time of a picture.
void PutPicture(std::span<u8> block, const PictureFacts& facts) {
  for (const std::size_t rectangle : {std::size_t{0}, std::size_t{16}}) {
    PutLittleEndian(block, rectangle + 8, 4, facts.width);
    PutLittleEndian(block, rectangle + 12, 4, facts.height);
  }
  PutLittleEndian(block, kPictureTimeOffset, 8, static_cast<u64>(facts.timePerPicture));
}

std::vector<u8> Video2Header(const PictureFacts& facts) {
  std::vector<u8> block(112);
  PutPicture(block, facts);
  const bool isSquare = facts.shapeWidth == 0 || facts.shapeHeight == 0;
  PutLittleEndian(block, 56, 4, isSquare ? facts.width : facts.shapeWidth);
  PutLittleEndian(block, 60, 4, isSquare ? facts.height : facts.shapeHeight);
  PutBitmapHeader(block, 72, facts);
  return block;
}

std::vector<u8> With(std::vector<u8> block, std::span<const u8> behind) {
  block.insert(block.end(), behind.begin(), behind.end());
  return block;
}

}  // namespace

std::vector<u8> VideoInfoBlock(const PictureFacts& facts, std::span<const u8> behind) {
  std::vector<u8> block(88);
  PutPicture(block, facts);
  PutBitmapHeader(block, 48, facts);
  return With(std::move(block), behind);
}

std::vector<u8> VideoInfo2Block(const PictureFacts& facts, std::span<const u8> behind) {
  return With(Video2Header(facts), behind);
}

std::vector<u8> Mpeg2VideoBlock(const PictureFacts& facts, const SequenceFacts& sequence,
                                std::span<const u8> sequenceHeader) {
  std::vector<u8> block = Video2Header(facts);
  // Time code of the first picture, size of the sequence header, profile, level, flags.
  block.resize(block.size() + 20);
  PutLittleEndian(block, 116, 4, sequenceHeader.size());
  PutLittleEndian(block, 120, 4, sequence.profile);
  PutLittleEndian(block, 124, 4, sequence.level);
  PutLittleEndian(block, 128, 4, sequence.flags);
  return With(std::move(block), sequenceHeader);
}

std::vector<u8> WaveFormatBlock(const SoundFacts& facts, std::span<const u8> behind) {
  if (behind.size() > std::numeric_limits<u16>::max()) behind = {};
  std::vector<u8> block(18);
  PutLittleEndian(block, 0, 2, facts.tag);
  PutLittleEndian(block, 2, 2, facts.channels);
  PutLittleEndian(block, 4, 4, facts.sampleRate);
  PutLittleEndian(block, 8, 4, facts.bytesPerSecond);
  PutLittleEndian(block, 12, 2, facts.blockAlign);
  PutLittleEndian(block, 14, 2, facts.bitsPerSample);
  PutLittleEndian(block, 16, 2, behind.size());
  return With(std::move(block), behind);
}

MediaType CodedPictures(const Guid& subtype, const Guid& formatType, std::vector<u8> block) {
  return {.majorType = MEDIATYPE_Video,
          .subtype = subtype,
          .formatType = formatType,
          .fixedSizeSamples = false,
          .temporalCompression = true,
          .sampleSize = 0,
          .format = std::move(block)};
}

MediaType CodedSound(const Guid& subtype, std::vector<u8> block) {
  return {.majorType = MEDIATYPE_Audio,
          .subtype = subtype,
          .formatType = FORMAT_WaveFormatEx,
          .fixedSizeSamples = false,
          .temporalCompression = false,
          .sampleSize = 0,
          .format = std::move(block)};
}

}  // namespace kt

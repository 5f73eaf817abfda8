#include "filter/formats/format_block.h"

#include <limits>
#include <utility>

namespace kt {
namespace {

void Put(std::vector<u8>* block, std::size_t offset, u64 value, int size) {
  for (int i = 0; i < size; ++i)
    (*block)[offset + static_cast<std::size_t>(i)] = static_cast<u8>(value >> 8 * i);
}

constexpr std::size_t kBitmapHeaderSize = 40;

void PutBitmapHeader(std::vector<u8>* block, std::size_t offset, const PictureFacts& facts) {
  Put(block, offset, kBitmapHeaderSize, 4);
  Put(block, offset + 4, facts.width, 4);
  Put(block, offset + 8, facts.height, 4);
  Put(block, offset + 12, 1, 2);   // planes
  Put(block, offset + 14, 24, 2);  // bits per pixel, decoded
  for (int i = 0; i < 4; ++i)
    (*block)[offset + 16 + static_cast<std::size_t>(i)] = static_cast<u8>(facts.compression >> (24 - 8 * i));
}

// What VIDEOINFOHEADER and VIDEOINFOHEADER2 begin with: the rectangles of source and target, bit rate and
// error rate, the time of a picture.
void PutPicture(std::vector<u8>* block, const PictureFacts& facts) {
  for (const std::size_t rectangle : {std::size_t{0}, std::size_t{16}}) {
    Put(block, rectangle + 8, facts.width, 4);
    Put(block, rectangle + 12, facts.height, 4);
  }
  Put(block, 40, static_cast<u64>(facts.timePerPicture), 8);
}

std::vector<u8> Video2Header(const PictureFacts& facts) {
  std::vector<u8> block(112);
  PutPicture(&block, facts);
  const bool isSquare = facts.shapeWidth == 0 || facts.shapeHeight == 0;
  Put(&block, 56, isSquare ? facts.width : facts.shapeWidth, 4);
  Put(&block, 60, isSquare ? facts.height : facts.shapeHeight, 4);
  PutBitmapHeader(&block, 72, facts);
  return block;
}

std::vector<u8> With(std::vector<u8> block, std::span<const u8> behind) {
  block.insert(block.end(), behind.begin(), behind.end());
  return block;
}

}  // namespace

std::vector<u8> VideoInfoBlock(const PictureFacts& facts, std::span<const u8> behind) {
  std::vector<u8> block(88);
  PutPicture(&block, facts);
  PutBitmapHeader(&block, 48, facts);
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
  Put(&block, 116, sequenceHeader.size(), 4);
  Put(&block, 120, sequence.profile, 4);
  Put(&block, 124, sequence.level, 4);
  Put(&block, 128, sequence.flags, 4);
  return With(std::move(block), sequenceHeader);
}

std::vector<u8> WaveFormatBlock(const SoundFacts& facts, std::span<const u8> behind) {
  if (behind.size() > std::numeric_limits<u16>::max()) behind = {};
  std::vector<u8> block(18);
  Put(&block, 0, facts.tag, 2);
  Put(&block, 2, facts.channels, 2);
  Put(&block, 4, facts.sampleRate, 4);
  Put(&block, 8, facts.bytesPerSecond, 4);
  Put(&block, 12, facts.blockAlign, 2);
  Put(&block, 14, facts.bitsPerSample, 2);
  Put(&block, 16, behind.size(), 2);
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

#include "filter/formats/picture_order.h"

#include <algorithm>
#include <bit>

#include "filter/formats/bit_reader.h"
#include "filter/formats/visual_layer.h"

namespace kt {
namespace {

/// Whether a picture, behind its start code, ends with the flag that it is not coded: ISO/IEC 14496-2, 6.2.5.
/// How many bits its time has stands in a layer header that may be elsewhere. A coded picture goes on for at
/// least a dozen bits and one for each block of 16 x 16 pixels, so the length tells as well.
bool IsNotCoded(std::span<const u8> picture) {
  constexpr std::size_t kMostBytes = 16;  // enough for 90 seconds since the picture before
  const std::size_t code = FindStartCode(picture.first(std::min(picture.size(), kMostBytes + 4)), 0);
  if (code < picture.size()) picture = picture.first(code - 3);
  if (picture.empty() || picture.size() > kMostBytes) return false;
  // A 0 and as many 1 as fill the last byte end it.
  const int ones = std::countr_one(picture.back());
  if (ones == 8) return false;
  BitReader bits(picture);
  bits.Skip(2);
  while (bits.ReadFlag()) continue;  // whole seconds
  const bool isMarked = bits.ReadFlag();
  const u64 behindTime = 2 + 1 + static_cast<u64>(ones);
  if (bits.BitsLeft() < behindTime + 1 || bits.BitsLeft() > behindTime + 16) return false;
  bits.Skip(bits.BitsLeft() - behindTime);
  const bool isMarkedAgain = bits.ReadFlag();
  const bool isCoded = bits.ReadFlag();
  return isMarked && isMarkedAgain && !isCoded;
}

}  // namespace

PictureKind KindOfPicture(std::span<const u8> sample) {
  constexpr u32 kBetween = 2;
  std::size_t at = FindStartCode(sample, 0);
  while (at < sample.size() && sample[at] != kPictureCode) at = FindStartCode(sample, at + 1);
  if (sample.size() - at < 2) return PictureKind::None;
  const std::span<const u8> picture = sample.subspan(at + 1);
  if (IsNotCoded(picture)) return PictureKind::None;
  return picture[0] >> 6 == kBetween ? PictureKind::Between : PictureKind::Reference;
}

std::optional<bool> ComesInOrderOfDisplay(std::span<const u8> bytes) {
  const auto layer = ReadVisualLayer(bytes);
  return layer ? layer->lowDelay : std::nullopt;
}

}  // namespace kt

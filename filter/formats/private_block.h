#pragma once

#include <cstddef>
#include <span>

#include <ktmp4/types.h>

namespace kt {

/// The layout of the format blocks of the private types, in bytes. That of pictures is VIDEOINFOHEADER, the
/// media ticks per second and 12 bytes more; that of sound is WAVEFORMATEX. Behind either stands the
/// decoder's set-up, to the end of the block.
inline constexpr std::size_t kPictureWidthOffset = 52;
inline constexpr std::size_t kPictureHeightOffset = 56;
inline constexpr std::size_t kPictureScaleOffset = 88;
inline constexpr std::size_t kPictureSetUpOffset = 104;
inline constexpr std::size_t kSoundChannelsOffset = 2;
inline constexpr std::size_t kSoundRateOffset = 4;
inline constexpr std::size_t kSoundSetUpOffset = 18;
/// Where this and the platform's own picture headers have the time of a picture.
inline constexpr std::size_t kPictureTimeOffset = 40;
/// Ahead of a stamped sample stand its composition and its decoding time in media ticks, 8 bytes each.
inline constexpr u32 kStampSize = 16;

/// Format blocks are little-endian. A number of `size` bytes; 0 when the bytes do not hold it.
inline u64 GetLittleEndian(std::span<const u8> bytes, std::size_t offset, std::size_t size) {
  if (bytes.size() < offset + size) return 0;
  u64 value = 0;
  for (std::size_t i = size; i > 0; --i) value = value << 8 | bytes[offset + i - 1];
  return value;
}
inline u32 GetLittleEndian32(std::span<const u8> bytes, std::size_t offset) {
  return static_cast<u32>(GetLittleEndian(bytes, offset, 4));
}

/// Writes the `size` low bytes of a number, for which there has to be room.
inline void PutLittleEndian(std::span<u8> bytes, std::size_t offset, std::size_t size, u64 value) {
  for (std::size_t i = 0; i < size; ++i) bytes[offset + i] = static_cast<u8>(value >> 8 * i);
}

}  // namespace kt

#pragma once

#include <optional>
#include <span>

#include <ktmp4/types.h>

namespace kt {

/// The last bytes of start codes, ISO/IEC 14496-2, table 6-3.
inline constexpr u8 kFirstLayerCode = 0x20;
inline constexpr u8 kLastLayerCode = 0x2F;
inline constexpr u8 kPictureCode = 0xB6;

/// The place of the last byte of the first start code that begins at `from` or behind it; the size of `bytes`
/// when there is none.
std::size_t FindStartCode(std::span<const u8> bytes, std::size_t from);

/// What the header of an MPEG-4 visual layer says: ISO/IEC 14496-2, 6.2.3 and 6.3.3.
struct VisualLayer {
  /// True when the header or the type of the object rules pictures between two references (B) out, false when
  /// the header admits them. Nothing when it leaves them to the default of a type that may have them.
  std::optional<bool> lowDelay;
  u32 ticksPerSecond = 0;
  /// 0 when pictures do not come at one rate.
  u32 ticksPerPicture = 0;
  /// Pixels, 0 when the object is no rectangle.
  u32 width = 0;
  u32 height = 0;

  bool operator==(const VisualLayer&) const = default;
};

/// Reads the first layer header ahead of any picture. Nothing when there is none or it is cut short.
std::optional<VisualLayer> ReadVisualLayer(std::span<const u8> bytes);

}  // namespace kt

#pragma once

#include <optional>
#include <span>

#include <ktmp4/types.h>

namespace kt {

/// What a sample of an MPEG-4 visual track begins with, or is. ISO/IEC 14496-2, 6.2.5 and 6.3.5.
enum class PictureKind : u8 {
  /// Other pictures lean on it: I, P and S.
  Reference,
  /// None do: B. It is shown between two references.
  Between,
  /// No picture was found, or one that is not coded: it is shown as it comes.
  None,
};

/// Looks for the first picture in the sample's bytes.
PictureKind KindOfPicture(std::span<const u8> sample);

/// Whether the decoder set-up, or what stands in front of a sample's first picture, says that pictures come
/// in the order of their display ("low_delay"). Nothing when it has no layer header that says either.
std::optional<bool> ComesInOrderOfDisplay(std::span<const u8> bytes);

}  // namespace kt

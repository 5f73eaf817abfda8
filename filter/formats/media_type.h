#pragma once

#include <vector>

#include "filter/formats/identifiers.h"

namespace kt {

/// A media type as plain values: what the platform's AM_MEDIA_TYPE says. A new one says what the platform's
/// own empty type says.
struct MediaType {
  Guid majorType;
  Guid subtype;
  Guid formatType;
  bool fixedSizeSamples = true;
  bool temporalCompression = false;
  /// Bytes per sample, 0 when it varies.
  u32 sampleSize = 1;
  /// The format block, little-endian.
  std::vector<u8> format;

  bool operator==(const MediaType&) const = default;
};

/// What a pin asks of the allocator: how many buffers of how many bytes.
struct BufferRequest {
  u32 count = 0;
  u32 size = 0;

  bool operator==(const BufferRequest&) const = default;
};

}  // namespace kt

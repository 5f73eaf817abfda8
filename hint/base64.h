#pragma once

#include <memory>

#include <ktmp4/result.h>

namespace kt {

/// `size` bytes as zero-terminated text in the alphabet of RFC 4648, clause 4, padded with "=" and without
/// line ends; `*textSize` takes its length. MP4_BAD_ARGUMENT for a null output, MP4_NO_MEMORY.
Mp4Result Base64Encode(const u8* data, u32 size, std::unique_ptr<char[]>* text, u32* textSize);

}  // namespace kt

#pragma once

#include <memory>

#include "engine/storage/storage.h"

namespace kt {

/// A text behind its length in one byte, as descriptors hold URLs.

/// Reads it with one zero byte more in memory and takes its bytes off `*remaining`. MP4_DESCRIPTOR_OVERRUN
/// when it is longer than what remains, MP4_NO_MEMORY.
Mp4Result ReadCountedText(CStorage* storage, u32* remaining, u8* length, std::unique_ptr<u8[]>* text);
Mp4Result WriteCountedText(CStorage* storage, u8 length, const u8* text);

}  // namespace kt

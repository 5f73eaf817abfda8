#pragma once

#include <span>

#include <ktmp4/types.h>

namespace kt {

// Bytes of a file. What is asked for beyond their end is not there: none of this reads outside of them.

using ByteSpan = std::span<const u8>;

/// The bytes from an offset on; none behind the end.
ByteSpan From(ByteSpan bytes, u64 offset);
/// A number of so many bytes, the high one first, at an offset; 0 where the bytes end before it does.
u64 Number(ByteSpan bytes, u64 offset, u32 size);

}  // namespace kt

#include "tools/bytes/byte_span.h"

#include <algorithm>

namespace kt {

ByteSpan From(ByteSpan bytes, u64 offset) {
  return bytes.subspan(static_cast<std::size_t>(std::min<u64>(offset, bytes.size())));
}

u64 Number(ByteSpan bytes, u64 offset, u32 size) {
  bytes = From(bytes, offset);
  if (bytes.size() < size) return 0;
  u64 number = 0;
  for (const u8 byte : bytes.first(size)) number = number << 8 | byte;
  return number;
}

}  // namespace kt

#include "hint/base64.h"

#include <limits>
#include <new>

namespace kt {

Mp4Result Base64Encode(const u8* data, u32 size, std::unique_ptr<char[]>* text, u32* textSize) {
  constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  if (text == nullptr || textSize == nullptr) return MP4_BAD_ARGUMENT;
  const u64 length = (u64{size} + 2) / 3 * 4;
  if (length > std::numeric_limits<u32>::max()) return MP4_NO_MEMORY;
  std::unique_ptr<char[]> made(new (std::nothrow) char[static_cast<std::size_t>(length) + 1]);
  if (!made) return MP4_NO_MEMORY;
  char* out = made.get();
  for (u32 at = 0; at < size; at += 3) {
    const u32 count = size - at < 3 ? size - at : 3;
    u32 bits = u32{data[at]} << 16;
    if (count > 1) bits |= u32{data[at + 1]} << 8;
    if (count > 2) bits |= data[at + 2];
    *out++ = kAlphabet[bits >> 18];
    *out++ = kAlphabet[bits >> 12 & 63];
    *out++ = count > 1 ? kAlphabet[bits >> 6 & 63] : '=';
    *out++ = count > 2 ? kAlphabet[bits & 63] : '=';
  }
  *out = '\0';
  *text = std::move(made);
  *textSize = static_cast<u32>(length);
  return MP4_OK;
}

}  // namespace kt

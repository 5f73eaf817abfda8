#pragma once

#include <cstring>

#include "adapt/bytes.h"

namespace kt::adapt {

/// Writes boxes one behind the other, or measures them: without memory to write to it only counts. So one
/// description of an image tells its size first and fills exactly that much afterwards.
class CImageWriter {
 public:
  CImageWriter() = default;
  /// `out` has to hold what measuring has told.
  explicit CImageWriter(u8* out) : m_out(out) {}

  u64 Size() const { return m_size; }

  CImageWriter& U8(u64 value) { return Integer<1>(value); }
  CImageWriter& U16(u64 value) { return Integer<2>(value); }
  CImageWriter& U24(u64 value) { return Integer<3>(value); }
  CImageWriter& U32(u64 value) { return Integer<4>(value); }
  CImageWriter& U64(u64 value) { return Integer<8>(value); }
  CImageWriter& Zeros(std::size_t count) {
    if (m_out != nullptr) std::memset(m_out + m_size, 0, count);
    m_size += count;
    return *this;
  }
  CImageWriter& Copy(CBytes bytes) {
    if (m_out != nullptr && bytes.Size() > 0) std::memcpy(m_out + m_size, bytes.Data(), bytes.Size());
    m_size += bytes.Size();
    return *this;
  }
  /// Exactly `count` bytes: what is missing becomes 0, what is too much stays behind.
  CImageWriter& CopyExactly(CBytes bytes, std::size_t count) {
    const CBytes part = bytes.Part(0, count);
    return Copy(part).Zeros(count - part.Size());
  }

  /// Room for a number that is known later, and that number.
  u64 Reserve32() {
    U32(0);
    return m_size - 4;
  }
  void Fill32(u64 position, u32 value) {
    if (m_out == nullptr) return;
    CImageWriter place(m_out + position);
    place.U32(value);
  }

  /// A box of `code` around what `content` writes.
  template <class Content>
  CImageWriter& Box(u32 code, Content content) {
    const u64 start = Reserve32();
    U32(code);
    content();
    Fill32(start, static_cast<u32>(m_size - start));
    return *this;
  }
  /// The same with version and flags.
  template <class Content>
  CImageWriter& FullBox(u32 code, u8 version, u32 flags, Content content) {
    return Box(code, [&] {
      U8(version).U24(flags);
      content();
    });
  }

 private:
  template <unsigned Width>
  CImageWriter& Integer(u64 value) {
    if (m_out != nullptr) {
      u8* const out = m_out + m_size;  // of its own, since a byte that is written could be any member
      for (unsigned i = 0; i < Width; ++i) out[i] = static_cast<u8>(value >> (8 * (Width - 1 - i)));
    }
    m_size += Width;
    return *this;
  }

  u8* m_out = nullptr;
  u64 m_size = 0;
};

}  // namespace kt::adapt

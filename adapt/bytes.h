#pragma once

#include <cstddef>

#include <ktmp4/types.h>

namespace kt::adapt {

/// A bounded view of bytes that lie in memory, integers big-endian. What lies beyond the end reads as 0: the
/// boxes of strangers are shorter and longer than they should be, and a field that is not there has no value.
class CBytes {
 public:
  constexpr CBytes() = default;
  constexpr CBytes(const u8* data, std::size_t size) : m_data(data), m_size(size) {}

  const u8* Data() const { return m_data; }
  std::size_t Size() const { return m_size; }
  bool Has(u64 offset, u64 count) const { return offset <= m_size && count <= m_size - offset; }

  /// What lies behind `offset`, and the at most `count` bytes there.
  CBytes From(u64 offset) const {
    return offset < m_size ? CBytes(m_data + offset, m_size - static_cast<std::size_t>(offset)) : CBytes();
  }
  CBytes Part(u64 offset, u64 count) const {
    const CBytes rest = From(offset);
    return count < rest.m_size ? CBytes(rest.m_data, static_cast<std::size_t>(count)) : rest;
  }

  u8 U8(u64 offset) const { return static_cast<u8>(Integer<1>(offset)); }
  u16 U16(u64 offset) const { return static_cast<u16>(Integer<2>(offset)); }
  u32 U24(u64 offset) const { return static_cast<u32>(Integer<3>(offset)); }
  u32 U32(u64 offset) const { return static_cast<u32>(Integer<4>(offset)); }
  u64 U64(u64 offset) const { return Integer<8>(offset); }

 private:
  template <unsigned Width>
  u64 Integer(u64 offset) const {
    if (!Has(offset, Width)) return 0;
    u64 value = 0;
    for (unsigned i = 0; i < Width; ++i) value = value << 8 | m_data[offset + i];
    return value;
  }

  const u8* m_data = nullptr;
  std::size_t m_size = 0;
};

}  // namespace kt::adapt

#include "hint/bit_writer.h"

#include <cstring>

namespace kt {

void CBitWriter::Open(u8* buffer, u32 size) {
  m_buffer = buffer;
  m_size = size;
  m_bitPosition = 0;
  if (size > 0) std::memset(buffer, 0, size);
}

int CBitWriter::WriteBits(u8 value, u32 count) {
  if (count < 1 || count > 8) return -1;
  if (u64{m_bitPosition} + count > u64{m_size} * 8) return -2;
  for (u32 bit = count; bit > 0; --bit, ++m_bitPosition) {
    const u32 isSet = u32{value} >> (bit - 1) & 1u;
    m_buffer[m_bitPosition / 8] |= static_cast<u8>(isSet << (7 - m_bitPosition % 8));
  }
  return 0;
}

}  // namespace kt

#pragma once

#include <ktmp4/types.h>

namespace kt {

/// Writes groups of bits one behind the other into a block that the caller owns, most significant bit first.
class CBitWriter {
 public:
  /// Takes `size` bytes and sets them to zero.
  void Open(u8* buffer, u32 size);
  /// The low `count` bits of `value`. 0, or -1 unless `count` is 1 to 8, or -2 when the bits do not fit, of
  /// which none is then written.
  int WriteBits(u8 value, u32 count);
  /// In bits from the start of the block.
  u32 GetBitPosition() const { return m_bitPosition; }

 private:
  u8* m_buffer = nullptr;
  u32 m_size = 0;  // in bytes
  u32 m_bitPosition = 0;
};

}  // namespace kt

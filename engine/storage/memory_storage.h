#pragma once

#include "engine/storage/storage.h"

namespace kt {

/// Storage over a block of memory that the caller owns and sizes beforehand; it never allocates, grows or
/// frees it. Made as a local object, opened over the block, closed when the block is full.
///
/// Every access beyond the block answers MP4_OUT_OF_RANGE and changes neither position nor buffer; a typed
/// read leaves 0 then. Blocks of length 0 succeed. The open flags bear on `Open`, `Close` and `SetPosition`
/// alone.
class CMemoryStorage final : public CStorage {
 public:
  Mp4Result SetPosition(u64 position) override;
  /// Stores 1 when the position is at the end; no read is needed first.
  Mp4Result IsEof(u32* eof) override;
  Mp4Result GetSize(u64* size) override;
  Mp4Result GetPosition(u64* position) override;
  Mp4Result ReadUInt64(u64* value) override;
  Mp4Result ReadUInt32(u32* value) override;
  Mp4Result ReadUInt24(u32* value) override;
  Mp4Result ReadUInt16(u16* value) override;
  Mp4Result ReadUInt8(u8* value) override;
  Mp4Result ReadInt8(i8* value) override;
  Mp4Result ReadBytes(u8* buffer, u64 count) override;
  Mp4Result ReadBlock(void* buffer, u32 count) override;
  Mp4Result Skip(u64 count) override;
  Mp4Result WriteUInt64(u64 value) override;
  Mp4Result WriteUInt32(u32 value) override;
  Mp4Result WriteUInt24(u32 value) override;
  Mp4Result WriteUInt16(u16 value) override;
  Mp4Result WriteUInt8(u8 value) override;
  Mp4Result WriteBytes(const void* buffer, u32 size) override;
  Mp4Result RequireBytes(u64 count) override;
  Mp4Result ResumeAt(u64 position) override;

  /// `mode` 0 to read, 1 to write. MP4_NOT_FOUND when already open; MP4_BAD_ARGUMENT for a size of 0, a null
  /// buffer or another mode, with the size and the buffer stored all the same in the latter two cases.
  Mp4Result Open(void* buffer, u32 size, u32 mode);
  /// Forgets the block. MP4_NOT_FOUND when not open.
  Mp4Result Close();

 private:
  // Hands out the next `count` bytes and moves behind them; false when the block does not hold them.
  bool Take(u64 count, u8** bytes);
  template <unsigned Width, class Value>
  Mp4Result ReadBigEndian(Value* value);
  template <unsigned Width>
  Mp4Result WriteBigEndian(u64 value);

  u8* m_buffer = nullptr;
  u32 m_readOpen = 0;
  u32 m_writeOpen = 0;
  u32 m_size = 0;
  u32 m_position = 0;
};

}  // namespace kt

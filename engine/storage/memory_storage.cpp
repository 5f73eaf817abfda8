#include "engine/storage/memory_storage.h"

#include <cstring>

namespace kt {

bool CMemoryStorage::Take(u64 count, u8** bytes) {
  if (RequireBytes(count) != MP4_OK) return false;
  *bytes = m_buffer + m_position;
  m_position += static_cast<u32>(count);
  return true;
}

template <unsigned Width, class Value>
Mp4Result CMemoryStorage::ReadBigEndian(Value* value) {
  *value = 0;
  u8* bytes;
  if (!Take(Width, &bytes)) return MP4_OUT_OF_RANGE;
  Value read = 0;
  for (unsigned i = 0; i < Width; ++i) read = static_cast<Value>(read << 8 | bytes[i]);
  *value = read;
  return MP4_OK;
}

template <unsigned Width>
Mp4Result CMemoryStorage::WriteBigEndian(u64 value) {
  u8* bytes;
  if (!Take(Width, &bytes)) return MP4_OUT_OF_RANGE;
  for (unsigned i = 0; i < Width; ++i) bytes[i] = static_cast<u8>(value >> (8 * (Width - 1 - i)));
  return MP4_OK;
}

Mp4Result CMemoryStorage::Open(void* buffer, u32 size, u32 mode) {
  if (m_readOpen || m_writeOpen) return MP4_NOT_FOUND;
  if (size == 0) return MP4_BAD_ARGUMENT;
  m_size = size;
  m_buffer = static_cast<u8*>(buffer);
  if (buffer == nullptr) return MP4_BAD_ARGUMENT;
  if (mode != MP4_MODE_READ && mode != MP4_MODE_WRITE) return MP4_BAD_ARGUMENT;
  (mode == MP4_MODE_WRITE ? m_writeOpen : m_readOpen) = 1;
  return MP4_OK;
}

Mp4Result CMemoryStorage::Close() {
  if (!m_readOpen && !m_writeOpen) return MP4_NOT_FOUND;
  m_buffer = nullptr;
  m_readOpen = 0;
  m_writeOpen = 0;
  m_size = 0;
  m_position = 0;
  return MP4_OK;
}

Mp4Result CMemoryStorage::SetPosition(u64 position) {
  if (!m_readOpen && !m_writeOpen) return MP4_NOT_FOUND;
  if (position > m_size) return MP4_OUT_OF_RANGE;
  m_position = static_cast<u32>(position);
  return MP4_OK;
}

Mp4Result CMemoryStorage::IsEof(u32* eof) {
  *eof = m_position >= m_size ? 1 : 0;
  return MP4_OK;
}

Mp4Result CMemoryStorage::GetSize(u64* size) {
  *size = m_size;
  return MP4_OK;
}

Mp4Result CMemoryStorage::GetPosition(u64* position) {
  *position = m_position;
  return MP4_OK;
}

Mp4Result CMemoryStorage::ReadUInt64(u64* value) {
  return ReadBigEndian<8>(value);
}

Mp4Result CMemoryStorage::ReadUInt32(u32* value) {
  return ReadBigEndian<4>(value);
}

Mp4Result CMemoryStorage::ReadUInt24(u32* value) {
  return ReadBigEndian<3>(value);
}

Mp4Result CMemoryStorage::ReadUInt16(u16* value) {
  return ReadBigEndian<2>(value);
}

Mp4Result CMemoryStorage::ReadUInt8(u8* value) {
  return ReadBigEndian<1>(value);
}

Mp4Result CMemoryStorage::ReadInt8(i8* value) {
  u8 bits = 0;
  const Mp4Result result = ReadUInt8(&bits);
  *value = static_cast<i8>(bits);
  return result;
}

Mp4Result CMemoryStorage::ReadBytes(u8* buffer, u64 count) {
  u8* bytes;
  if (!Take(count, &bytes)) return MP4_OUT_OF_RANGE;
  if (count > 0) std::memcpy(buffer, bytes, static_cast<std::size_t>(count));
  return MP4_OK;
}

Mp4Result CMemoryStorage::ReadBlock(void* buffer, u32 count) {
  return ReadBytes(static_cast<u8*>(buffer), count);
}

Mp4Result CMemoryStorage::Skip(u64 count) {
  u8* bytes;
  return Take(count, &bytes) ? MP4_OK : MP4_OUT_OF_RANGE;
}

Mp4Result CMemoryStorage::WriteUInt64(u64 value) {
  return WriteBigEndian<8>(value);
}

Mp4Result CMemoryStorage::WriteUInt32(u32 value) {
  return WriteBigEndian<4>(value);
}

Mp4Result CMemoryStorage::WriteUInt24(u32 value) {
  return WriteBigEndian<3>(value);
}

Mp4Result CMemoryStorage::WriteUInt16(u16 value) {
  return WriteBigEndian<2>(value);
}

Mp4Result CMemoryStorage::WriteUInt8(u8 value) {
  return WriteBigEndian<1>(value);
}

Mp4Result CMemoryStorage::WriteBytes(const void* buffer, u32 size) {
  u8* bytes;
  if (!Take(size, &bytes)) return MP4_OUT_OF_RANGE;
  if (size > 0) std::memcpy(bytes, buffer, size);
  return MP4_OK;
}

Mp4Result CMemoryStorage::RequireBytes(u64 count) {
  // A null buffer that `Open` refused but stored gives nothing, whatever size came with it; a refused `Open`
  // can also leave a size below the position.
  if (m_buffer == nullptr && m_size > 0) return MP4_OUT_OF_RANGE;
  return count <= m_size && m_position <= m_size - count ? MP4_OK : MP4_OUT_OF_RANGE;
}

Mp4Result CMemoryStorage::ResumeAt(u64 position) {
  return SetPosition(position);
}

}  // namespace kt

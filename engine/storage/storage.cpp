#include "engine/storage/storage.h"

#include <algorithm>
#include <limits>

namespace kt {

template <unsigned Width, class Value>
Mp4Result CStorage::ReadBigEndian(Value* value) {
  Value read = 0;
  if (const u8* bytes = m_stream.TakeBuffered(Width)) {
    for (unsigned i = 0; i < Width; ++i) read = static_cast<Value>(read << 8 | bytes[i]);
  } else {
    // At the edge of the buffer byte by byte: a cut read leaves the bytes that arrived.
    for (unsigned i = 0; i < Width; ++i) {
      u8 byte;
      if (!m_stream.ReadByte(&byte)) {
        *value = read;
        return MP4_FILE_IO;
      }
      read = static_cast<Value>(read << 8 | byte);
    }
  }
  *value = read;
  return MP4_OK;
}

template <unsigned Width>
Mp4Result CStorage::WriteBigEndian(u64 value) {
  if (u8* const bytes = m_stream.PutBuffered(Width)) {
    for (unsigned i = 0; i < Width; ++i) bytes[i] = static_cast<u8>(value >> (8 * (Width - 1 - i)));
    return MP4_OK;
  }
  // At the edge of the buffer byte by byte: a failure leaves the bytes before it.
  for (unsigned shift = Width * 8; shift > 0; shift -= 8) {
    if (!m_stream.WriteByte(static_cast<u8>(value >> (shift - 8)))) return MP4_FILE_IO;
  }
  return MP4_OK;
}

Mp4Result CStorage::Open(const char* path, u32 mode) {
  if (m_readOpen || m_writeOpen) return MP4_NOT_FOUND;
  if (mode != MP4_MODE_READ && mode != MP4_MODE_WRITE) return MP4_BAD_ARGUMENT;
  if (!m_stream.Open(path, mode == MP4_MODE_WRITE)) return MP4_FILE_IO;
  (mode == MP4_MODE_WRITE ? m_writeOpen : m_readOpen) = 1;
  return GetSize(&m_knownSize);
}

Mp4Result CStorage::OpenOver(std::span<const u8> bytes) {
  if (m_readOpen || m_writeOpen) return MP4_NOT_FOUND;
  if (!m_stream.OpenOver(bytes)) return MP4_FILE_IO;
  m_readOpen = 1;
  return GetSize(&m_knownSize);
}

Mp4Result CStorage::Close() {
  if (!m_readOpen && !m_writeOpen) return MP4_NOT_FOUND;
  if (!m_stream.IsOpen() || !m_stream.Flush() || !m_stream.Close()) return MP4_FILE_IO;
  m_readOpen = 0;
  m_writeOpen = 0;
  return MP4_OK;
}

Mp4Result CStorage::SetPosition(u64 position) {
  if (!m_readOpen && !m_writeOpen) return MP4_NOT_FOUND;
  return m_stream.Seek(position) ? MP4_OK : MP4_FILE_IO;
}

Mp4Result CStorage::IsEof(u32* eof) {
  *eof = m_stream.IsEof() ? 1 : 0;
  return MP4_OK;
}

Mp4Result CStorage::GetSize(u64* size) {
  return m_stream.Length(size) ? MP4_OK : MP4_FILE_IO;
}

Mp4Result CStorage::GetPosition(u64* position) {
  if (!m_stream.IsOpen()) return MP4_FILE_IO;
  *position = m_stream.Tell();
  return MP4_OK;
}

Mp4Result CStorage::ReadUInt64(u64* value) {
  return ReadBigEndian<8>(value);
}

Mp4Result CStorage::ReadUInt32(u32* value) {
  return ReadBigEndian<4>(value);
}

Mp4Result CStorage::ReadUInt24(u32* value) {
  return ReadBigEndian<3>(value);
}

Mp4Result CStorage::ReadUInt16(u16* value) {
  return ReadBigEndian<2>(value);
}

Mp4Result CStorage::ReadUInt8(u8* value) {
  u8 byte;
  if (!m_stream.ReadByte(&byte)) return MP4_FILE_IO;
  *value = byte;
  return MP4_OK;
}

Mp4Result CStorage::ReadInt64(i64* value) {
  u64 bits = 0;
  const Mp4Result result = ReadUInt64(&bits);
  *value = static_cast<i64>(bits);
  return result;
}

Mp4Result CStorage::ReadInt32(i32* value) {
  u32 bits = 0;
  const Mp4Result result = ReadUInt32(&bits);
  *value = static_cast<i32>(bits);
  return result;
}

Mp4Result CStorage::ReadInt24(i32* value) {
  u32 bits = 0;
  const Mp4Result result = ReadUInt24(&bits);
  *value = static_cast<i32>(bits);
  return result;
}

Mp4Result CStorage::ReadInt16(i16* value) {
  u16 bits = 0;
  const Mp4Result result = ReadUInt16(&bits);
  *value = static_cast<i16>(bits);
  return result;
}

Mp4Result CStorage::ReadInt8(i8* value) {
  u8 bits = 0;
  KT_TRY(ReadUInt8(&bits));
  *value = static_cast<i8>(bits);
  return MP4_OK;
}

Mp4Result CStorage::ReadBytes(u8* buffer, u64 count) {
  constexpr u64 kPass = std::numeric_limits<u32>::max();
  while (count > 0) {
    const std::size_t pass = static_cast<std::size_t>(std::min(count, kPass));
    if (m_stream.Read(buffer, pass) != pass) return MP4_FILE_IO;
    buffer += pass;
    count -= pass;
  }
  return MP4_OK;
}

Mp4Result CStorage::ReadBlock(void* buffer, u32 count) {
  if (m_stream.IsEof()) return MP4_END_OF_FILE;
  if (!m_stream.IsOpen() || m_stream.Read(buffer, count) != count) return MP4_FILE_IO;
  return MP4_OK;
}

Mp4Result CStorage::ReadBlockAt(u64 position, void* buffer, u32 count, u64 ahead) {
  KT_TRY(SetPosition(position));
  return m_stream.Read(buffer, count, ahead) == count ? MP4_OK : MP4_FILE_IO;
}

Mp4Result CStorage::ReadString(char* /*text*/) {
  return MP4_OK;
}

Mp4Result CStorage::Skip(u64 count) {
  if (!m_stream.IsOpen()) return MP4_FILE_IO;
  const u64 position = m_stream.Tell();
  if (position + count < position || !m_stream.Seek(position + count)) return MP4_FILE_IO;
  return MP4_OK;
}

Mp4Result CStorage::WriteUInt64(u64 value) {
  return WriteBigEndian<8>(value);
}

Mp4Result CStorage::WriteUInt32(u32 value) {
  return WriteBigEndian<4>(value);
}

Mp4Result CStorage::WriteUInt24(u32 value) {
  return WriteBigEndian<3>(value);
}

Mp4Result CStorage::WriteUInt16(u16 value) {
  return WriteBigEndian<2>(value);
}

Mp4Result CStorage::WriteUInt8(u8 value) {
  return WriteBigEndian<1>(value);
}

Mp4Result CStorage::WriteInt64(i64 value) {
  return WriteUInt64(static_cast<u64>(value));
}

Mp4Result CStorage::WriteInt32(i32 value) {
  return WriteUInt32(static_cast<u32>(value));
}

Mp4Result CStorage::WriteInt24(i32 value) {
  return WriteUInt24(static_cast<u32>(value));
}

Mp4Result CStorage::WriteInt16(i16 value) {
  return WriteUInt16(static_cast<u16>(value));
}

Mp4Result CStorage::WriteInt8(i8 value) {
  return WriteUInt8(static_cast<u8>(value));
}

Mp4Result CStorage::WriteBytes(const void* buffer, u32 size) {
  // No element is written for a size of 0, and a write of no element counts as failed.
  if (size == 0 || !m_stream.Write(buffer, size)) return MP4_FILE_IO;
  return MP4_OK;
}

Mp4Result CStorage::WriteBlock(const void* buffer, u32 size) {
  return WriteBytes(buffer, size);
}

Mp4Result CStorage::WriteString(const char* text) {
  for (; *text != 0; ++text) KT_TRY(WriteInt8(static_cast<i8>(*text)));
  return WriteInt8(0);
}

Mp4Result CStorage::ReservedStorage1(u32 /*argument*/) {
  return MP4_OK;
}

Mp4Result CStorage::ReservedStorage2(u32 /*argument*/) {
  return MP4_OK;
}

Mp4Result CStorage::ReservedStorage3(u32 /*argument*/) {
  return MP4_OK;
}

Mp4Result CStorage::ResumeAt(u64 position) {
  return m_stream.ResumeAt(position) ? MP4_OK : MP4_FILE_IO;
}

Mp4Result CStorage::RequireBytes(u64 count) {
  u64 position = 0;
  KT_TRY(GetPosition(&position));
  const auto isThere = [&] { return count <= (position < m_knownSize ? m_knownSize - position : 0); };
  // What the system has said before will do where it is enough: a file that has been cut since shows when it
  // is read. But it can have grown.
  if (isThere()) return MP4_OK;
  KT_TRY(GetSize(&m_knownSize));
  return isThere() ? MP4_OK : MP4_FILE_IO;
}

}  // namespace kt

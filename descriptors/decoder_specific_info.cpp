#include "descriptors/decoder_specific_info.h"

#include <cstdio>
#include <cstring>
#include <new>

#include "descriptors/size_code.h"
#include "engine/box.h"

namespace kt {

Mp4Result CDecoderSpecificInfo::Deserialize(CStorage* storage) {
  m_data.reset();
  m_dataSize = m_remaining;
  if (m_dataSize == 0) return MP4_OK;
  KT_TRY(storage->RequireBytes(m_dataSize));
  m_data.reset(new (std::nothrow) u8[m_dataSize]);
  if (!m_data) return MP4_NO_MEMORY;
  KT_TRY(storage->ReadBytes(m_data.get(), m_dataSize));
  m_remaining -= m_dataSize;
  return MP4_OK;
}

Mp4Result CDecoderSpecificInfo::Serialize(CStorage* storage) {
  KT_TRY(CBaseDescriptor::Serialize(storage));
  return m_data ? storage->WriteBytes(m_data.get(), m_dataSize) : MP4_OK;
}

Mp4Result CDecoderSpecificInfo::SerializeToBuffer(u8** cursor, u32* room) {
  KT_TRY(CBaseDescriptor::SerializeToBuffer(cursor, room));
  return WriteToBuffer(cursor, room, StoredSize(),
                       [&](CStorage* block) { return block->WriteBytes(m_data.get(), m_dataSize); });
}

Mp4Result CDecoderSpecificInfo::Dump(int indent) {
  constexpr u32 kBytesPerLine = 16;
  KT_TRY(CBaseDescriptor::Dump(indent));
  PrintIndent(indent);
  std::printf("{");
  for (u32 i = 0; i < StoredSize(); ++i) {
    if (i % kBytesPerLine == 0) {
      std::printf("\n");
      PrintIndent(indent + 1);
    }
    std::printf("%02x ", m_data[i]);
  }
  std::printf("\n");
  PrintIndent(indent);
  std::printf("}\n");
  return MP4_OK;
}

Mp4Result CDecoderSpecificInfo::CalculateSize() {
  KT_TRY(CBaseDescriptor::CalculateSize());
  return AddToSize(&m_size, StoredSize());
}

Mp4Result CDecoderSpecificInfo::SetData(const void* data, u32 size) {
  m_data.reset();
  m_dataSize = size;
  m_size = 0;
  if (size == 0 || data == nullptr) return MP4_OK;
  m_data.reset(new (std::nothrow) u8[size]);
  if (!m_data) return MP4_NO_MEMORY;
  std::memcpy(m_data.get(), data, size);
  return MP4_OK;
}

Mp4Result CDecoderSpecificInfo::GetData(u32 capacity, u32* size, void* buffer) const {
  *size = m_dataSize;
  if (m_dataSize > capacity) return MP4_BUFFER_TOO_SMALL;
  if (m_data) std::memcpy(buffer, m_data.get(), m_dataSize);
  return MP4_OK;
}

Mp4Result CDecoderSpecificInfo::GetDataSize(u32* size) const {
  *size = m_dataSize;
  return MP4_OK;
}

}  // namespace kt

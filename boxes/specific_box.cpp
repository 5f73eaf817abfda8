#include "boxes/specific_box.h"

#include <cstdio>
#include <cstring>
#include <new>

namespace kt {

Mp4Result CSpecificBox::Deserialize(CStorage* storage) {
  m_ui32DataSize = static_cast<u32>(m_remaining);
  m_pData.reset();
  if (m_ui32DataSize != 0) {
    KT_TRY(storage->RequireBytes(m_ui32DataSize));
    m_pData.reset(new (std::nothrow) u8[m_ui32DataSize]);
    if (!m_pData) return MP4_NO_MEMORY;
    KT_TRY(storage->ReadBlock(m_pData.get(), m_ui32DataSize));
  }
  m_remaining -= m_ui32DataSize;
  return MP4_OK;
}

Mp4Result CSpecificBox::Serialize(CStorage* storage) {
  KT_TRY(CBox::Serialize(storage));
  return m_pData ? storage->WriteBlock(m_pData.get(), m_ui32DataSize) : MP4_OK;
}

Mp4Result CSpecificBox::Dump(int indent) {
  constexpr u32 kBytesPerLine = 16;
  KT_TRY(CBox::Dump(indent));
  PrintIndent(indent);
  std::printf("{");
  for (u32 i = 0; m_pData && i < m_ui32DataSize; ++i) {
    if (i % kBytesPerLine == 0) {
      std::printf("\n");
      PrintIndent(indent + 1);
    }
    std::printf("%02x ", m_pData[i]);
  }
  std::printf("\n");
  PrintIndent(indent);
  std::printf("}\n");
  return MP4_OK;
}

Mp4Result CSpecificBox::CalculateSize() {
  KT_TRY(CBox::CalculateSize());
  if (m_pData) m_size += m_ui32DataSize;
  return MP4_OK;
}

Mp4Result CSpecificBox::SetData(const void* data, u32 size) {
  m_ui32DataSize = size;
  m_pData.reset();
  if (size == 0 || data == nullptr) return MP4_OK;
  m_pData.reset(new (std::nothrow) u8[size]);
  if (!m_pData) return MP4_NO_MEMORY;
  std::memcpy(m_pData.get(), data, size);
  return MP4_OK;
}

Mp4Result CSpecificBox::GetData(u32 capacity, u32* size, void* buffer) const {
  *size = m_ui32DataSize;
  if (m_ui32DataSize > capacity) return MP4_BUFFER_TOO_SMALL;
  if (m_pData) std::memcpy(buffer, m_pData.get(), m_ui32DataSize);
  return MP4_OK;
}

Mp4Result CSpecificBox::GetDataSize(u32* size) const {
  *size = m_ui32DataSize;
  return MP4_OK;
}

}  // namespace kt

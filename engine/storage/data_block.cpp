#include "engine/storage/data_block.h"

#include <cstdio>
#include <cstring>
#include <new>

#include "engine/storage/printing.h"

namespace kt {

void CDataBlock::Clear() {
  m_data.reset();
  m_size = 0;
}

Mp4Result CDataBlock::Allocate(u32 size) {
  m_data.reset(new (std::nothrow) u8[size]);
  if (!m_data) return MP4_NO_MEMORY;
  m_size = size;
  return MP4_OK;
}

Mp4Result CDataBlock::Reserve(CStorage* storage, u32 size) {
  Clear();
  if (size == 0) return MP4_OK;
  KT_TRY(storage->RequireBytes(size));
  return Allocate(size);
}

Mp4Result CDataBlock::Set(const void* data, u32 size) {
  Clear();
  if (size == 0 || data == nullptr) {
    m_size = size;
    return MP4_OK;
  }
  KT_TRY(Allocate(size));
  std::memcpy(m_data.get(), data, size);
  return MP4_OK;
}

Mp4Result CDataBlock::Copy(u32 capacity, u32* size, void* buffer) const {
  *size = m_size;
  if (m_size > capacity) return MP4_BUFFER_TOO_SMALL;
  if (m_data) {
    std::memcpy(buffer, m_data.get(), m_size);
  } else if (m_size > 0 && buffer != nullptr) {
    std::memset(buffer, 0, m_size);
  }
  return MP4_OK;
}

void CDataBlock::Dump(int indent) const {
  constexpr u32 kBytesPerLine = 16;
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
}

}  // namespace kt

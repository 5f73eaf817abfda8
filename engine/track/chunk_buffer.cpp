#include "engine/track/chunk_buffer.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace kt {

Mp4Result CChunkBuffer::Append(const void* data, u32 size) {
  KT_TRY(Reserve(m_size + size));
  std::memcpy(m_bytes.get() + m_size, data, size);
  m_size += size;
  ++m_count;
  return MP4_OK;
}

void CChunkBuffer::Clear() {
  m_size = 0;
  m_count = 0;
  if (m_capacity <= 2 * kByteLimit) return;
  m_bytes.reset();
  m_capacity = 0;
}

Mp4Result CChunkBuffer::Reserve(u64 size) {
  constexpr u64 kFirstCapacity = 16'384;
  if (size <= m_capacity) return MP4_OK;
  const u64 capacity = std::max({size, 2 * m_capacity, kFirstCapacity});
  if (capacity != static_cast<std::size_t>(capacity)) return MP4_NO_MEMORY;
  std::unique_ptr<u8[]> grown(new (std::nothrow) u8[static_cast<std::size_t>(capacity)]);
  if (!grown) return MP4_NO_MEMORY;
  if (m_size > 0) std::memcpy(grown.get(), m_bytes.get(), static_cast<std::size_t>(m_size));
  m_bytes = std::move(grown);
  m_capacity = capacity;
  return MP4_OK;
}

}  // namespace kt

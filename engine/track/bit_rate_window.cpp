#include "engine/track/bit_rate_window.h"

#include <algorithm>
#include <limits>
#include <new>

namespace kt {

Mp4Result CBitRateWindow::AddSample(u32 size, u64 time, u32 timeScale) {
  m_totalBytes += size;
  m_windowBytes += size;
  if (m_count == m_capacity) KT_TRY(Grow());
  At(m_count++) = {time, size};
  while (m_count > 1 && time > At(0).time + timeScale) {
    m_windowBytes -= At(0).size;
    m_first = (m_first + 1) & (m_capacity - 1);
    --m_count;
  }
  m_peakBytes = std::max(m_peakBytes, m_windowBytes);
  m_peakBits = std::max(m_peakBits, static_cast<u32>(m_windowBytes * 8));
  return MP4_OK;
}

Mp4Result CBitRateWindow::Grow() {
  constexpr u32 kFirstCapacity = 64;
  const u32 capacity = m_capacity == 0 ? kFirstCapacity : 2 * m_capacity;
  if (capacity == 0) return MP4_NO_MEMORY;
  std::unique_ptr<Record[]> grown(new (std::nothrow) Record[capacity]);
  if (!grown) return MP4_NO_MEMORY;
  for (u32 i = 0; i < m_count; ++i) grown[i] = At(i);
  m_records = std::move(grown);
  m_capacity = capacity;
  m_first = 0;
  return MP4_OK;
}

void CBitRateWindow::Clear() {
  m_records.reset();
  m_capacity = 0;
  m_first = 0;
  m_count = 0;
  m_windowBytes = 0;
}

u32 CBitRateWindow::GetAverage(u64 duration, u32 timeScale) const {
  constexpr u32 kMost = std::numeric_limits<u32>::max();
  const double seconds = std::max(static_cast<double>(duration) / timeScale, 1.0);
  const double average = static_cast<double>(m_totalBytes) / seconds * 8;
  return average < kMost ? static_cast<u32>(average) : kMost;
}

}  // namespace kt

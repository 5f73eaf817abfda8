#pragma once

#include <algorithm>
#include <limits>
#include <memory>
#include <new>
#include <span>

#include <ktmp4/result.h>

namespace kt {

/// Plain values one behind the other, in memory that grows with them and is kept for the next ones.
template <class Value>
class CGrowingArray {
 public:
  /// MP4_NO_MEMORY, with what stands there kept.
  Mp4Result Append(const Value& value) {
    if (m_count == m_capacity) KT_TRY(Grow());
    m_values[m_count++] = value;
    return MP4_OK;
  }
  /// Forgets the values; the memory stays.
  void Clear() { m_count = 0; }

  u32 Count() const { return m_count; }
  std::span<Value> All() const { return {m_values.get(), m_count}; }

 private:
  Mp4Result Grow() {
    if (m_capacity > std::numeric_limits<u32>::max() / 2) return MP4_NO_MEMORY;
    const u32 capacity = m_capacity == 0 ? 8 : 2 * m_capacity;
    std::unique_ptr<Value[]> grown(new (std::nothrow) Value[capacity]);
    if (!grown) return MP4_NO_MEMORY;
    std::copy_n(m_values.get(), m_count, grown.get());
    m_values = std::move(grown);
    m_capacity = capacity;
    return MP4_OK;
  }

  std::unique_ptr<Value[]> m_values;
  u32 m_count = 0;
  u32 m_capacity = 0;
};

}  // namespace kt

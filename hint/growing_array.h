#pragma once

#include <algorithm>
#include <limits>
#include <memory>
#include <new>
#include <span>
#include <utility>

#include <ktmp4/result.h>

namespace kt {

/// Values one behind the other, in memory that grows with them and is kept for the next ones.
template <class Value>
class CGrowingArray {
 public:
  /// MP4_NO_MEMORY, with what stands there kept.
  Mp4Result Append(Value value) {
    if (m_count == m_capacity) KT_TRY(Grow(1));
    m_values[m_count++] = std::move(value);
    return MP4_OK;
  }
  /// Makes it so many values, of which those at the end may be without meaning. MP4_NO_MEMORY, with what
  /// stands there kept.
  Mp4Result Resize(u32 count) {
    if (count > m_capacity) KT_TRY(Grow(count - m_capacity));
    m_count = count;
    return MP4_OK;
  }
  /// Forgets the values; the memory stays.
  void Clear() { m_count = 0; }

  u32 Count() const { return m_count; }
  std::span<Value> All() const { return {m_values.get(), m_count}; }

 private:
  Mp4Result Grow(u32 missing) {
    constexpr u32 kFirstCapacity = 8;
    const u32 more = std::max({missing, m_capacity, kFirstCapacity});
    if (more > std::numeric_limits<u32>::max() - m_capacity) return MP4_NO_MEMORY;
    const u32 capacity = m_capacity + more;
    std::unique_ptr<Value[]> grown(new (std::nothrow) Value[capacity]);
    if (!grown) return MP4_NO_MEMORY;
    std::move(m_values.get(), m_values.get() + m_count, grown.get());
    m_values = std::move(grown);
    m_capacity = capacity;
    return MP4_OK;
  }

  std::unique_ptr<Value[]> m_values;
  u32 m_count = 0;
  u32 m_capacity = 0;
};

}  // namespace kt

#pragma once

#include <deque>
#include <mutex>
#include <string>

#include "filter/logic/filter_result.h"

namespace kt {

/// Texts with their times, for an application to fetch on a thread of its own. Of any length; disabled at
/// first.
class TimedTextQueue {
 public:
  /// Disabling drops what is stored.
  void Enable(bool enabled) {
    const std::lock_guard lock(m_lock);
    m_enabled = enabled;
    if (!enabled) m_items.clear();
  }

  /// Dropped while the queue is disabled. `time` is in 100 ns units.
  void Add(u64 time, const char* text) {
    const std::lock_guard lock(m_lock);
    if (m_enabled) m_items.push_back({time, text});
  }

  /// Hands the oldest item to `copy(u64 time, const std::string& text)`, under the queue's lock; `copy` must
  /// not come back to the queue. False when there is none, otherwise what `copy` answers; the item stays when
  /// that is a failure, or an exception.
  template <class Copy>
  FilterResult Get(Copy copy) {
    const std::lock_guard lock(m_lock);
    if (m_items.empty()) return FilterResult::False;
    const FilterResult result = copy(m_items.front().time, m_items.front().text);
    if (!IsFailure(result)) m_items.pop_front();
    return result;
  }

 private:
  struct Item {
    u64 time;
    std::string text;
  };

  std::mutex m_lock;
  bool m_enabled = false;
  std::deque<Item> m_items;
};

}  // namespace kt

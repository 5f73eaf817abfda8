#pragma once

#include <deque>
#include <string>

#include "filter/logic/filter_result.h"
#include "filter/logic/guarded.h"

namespace kt {

/// Texts with their times, for an application to fetch on a thread of its own. Of any length; disabled at
/// first.
class TimedTextQueue {
 public:
  /// Disabling drops what is stored.
  void Enable(bool enabled) {
    m_state.With([&](State& state) {
      state.enabled = enabled;
      if (!enabled) state.items.clear();
    });
  }

  /// Dropped while the queue is disabled. `time` is in 100 ns units; one below 0 is kept in its 64 bits, and
  /// whoever fetches it has to read it as a signed number.
  void Add(u64 time, const char* text) {
    m_state.With([&](State& state) {
      if (state.enabled) state.items.push_back({time, text});
    });
  }

  /// Hands the oldest item to `copy(u64 time, const std::string& text)`, under the queue's lock; `copy` must
  /// not come back to the queue. False when there is none, otherwise what `copy` answers; the item stays when
  /// that is a failure, or an exception.
  template <class Copy>
  FilterResult Get(Copy copy) {
    return m_state.With([&](State& state) {
      if (state.items.empty()) return FilterResult::False;
      const FilterResult result = copy(state.items.front().time, state.items.front().text);
      if (!IsFailure(result)) state.items.pop_front();
      return result;
    });
  }

 private:
  struct Item {
    u64 time;
    std::string text;
  };

  struct State {
    bool enabled = false;
    std::deque<Item> items;
  };

  Guarded<State> m_state;
};

}  // namespace kt

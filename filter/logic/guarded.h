#pragma once

#include <mutex>
#include <utility>

namespace kt {

/// A value that several threads use, each under the lock that comes with it.
template <class T>
class Guarded {
 public:
  /// Calls `use` with the value under the lock, and answers what it does. No reference to the value may
  /// outlast the call, which may not come back to the value.
  template <class Use>
  auto With(Use use) const {
    const std::lock_guard lock(m_lock);
    return use(m_value);
  }
  template <class Use>
  auto With(Use use) {
    const std::lock_guard lock(m_lock);
    return use(m_value);
  }

 private:
  mutable std::mutex m_lock;
  T m_value{};
};

}  // namespace kt

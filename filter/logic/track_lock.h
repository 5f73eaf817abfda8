#pragma once

#include <atomic>
#include <mutex>
#include <thread>

namespace kt {

/// The lock around every call into the one shared file and its tracks. It is never held while waiting,
/// flushing or delivering. It knows its holder, so that the rule can be checked.
class CTrackLock {
 public:
  void lock() {
    m_mutex.lock();
    m_holder = std::this_thread::get_id();
  }
  void unlock() {
    m_holder = std::thread::id();
    m_mutex.unlock();
  }
  bool IsHeldByCaller() const { return m_holder == std::this_thread::get_id(); }

 private:
  std::mutex m_mutex;
  std::atomic<std::thread::id> m_holder;
};

}  // namespace kt

#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>

namespace kt::test {

/// Ends the whole program with a word of why when it is not destroyed in time: a hang can not be unwound.
class Deadline {
 public:
  explicit Deadline(const char* what, std::chrono::seconds limit = std::chrono::seconds(60))
      : m_watch([this, what, limit] {
          std::unique_lock lock(m_lock);
          if (m_ended.wait_for(lock, limit, [this] { return m_done; })) return;
          std::fprintf(stderr, "no end of: %s\n", what);
          std::fflush(stderr);
          std::_Exit(3);
        }) {}
  ~Deadline() {
    {
      const std::lock_guard lock(m_lock);
      m_done = true;
    }
    m_ended.notify_all();
    m_watch.join();
  }

 private:
  std::mutex m_lock;
  std::condition_variable m_ended;
  bool m_done = false;
  std::thread m_watch;
};

/// Waits until `condition` holds; false when it does not within ten seconds.
template <class Condition>
bool Eventually(Condition condition) {
  for (int i = 0; i < 2000; ++i) {
    if (condition()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return condition();
}

}  // namespace kt::test

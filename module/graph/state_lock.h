#pragma once

#include <windows.h>

#include <mutex>

namespace kt {

/// A lock that may be held while its holder waits for a worker. The thread that holds it can take it again.
/// Whoever waits for it on a thread of a single-threaded apartment serves calls into the apartment meanwhile,
/// because the worker that the holder waits for may be in such a call.
class CCritSec {
 public:
  /// Throws `std::bad_alloc` when the system has no lock left.
  CCritSec();
  CCritSec(const CCritSec&) = delete;
  CCritSec& operator=(const CCritSec&) = delete;
  ~CCritSec();

  // The names that std::lock_guard wants.
  void lock() noexcept;
  void unlock() noexcept;

 private:
  const HANDLE m_mutex;
};

using CAutoLock = std::lock_guard<CCritSec>;

}  // namespace kt

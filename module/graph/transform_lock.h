#pragma once

#include <windows.h>

#include <atomic>
#include <mutex>

#include "module/graph/state_lock.h"

namespace kt {

/// Serialises what flows through a filter whose threads are those of its upstream, and tells whether a call
/// comes out of it. Who waits for it serves calls as with a `CCritSec`; its holder can take it again.
class CStreamLock {
 public:
  void lock();
  void unlock();
  /// Whether the call at hand comes out of the holder: on its thread, or on another one that serves a COM
  /// call of its.
  bool IsCaller() const;

 private:
  CCritSec m_lock;
  /// How often the holder has it.
  int m_depth = 0;
  std::atomic<DWORD> m_threadId{0};
  /// What COM calls the holder and the calls that it makes; none without a holder.
  mutable std::mutex m_logicalLock;
  GUID m_logicalThread = {};
};

using StreamGuard = std::lock_guard<CStreamLock>;

}  // namespace kt

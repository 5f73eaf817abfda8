#pragma once

#include <mutex>

#include "module/graph/call_origin.h"
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
  bool IsCaller() const { return m_holder.IsCaller(); }

 private:
  CCritSec m_lock;
  /// How often the holder has it.
  int m_depth = 0;
  CCallOrigin m_holder;
};

using StreamGuard = std::lock_guard<CStreamLock>;

}  // namespace kt

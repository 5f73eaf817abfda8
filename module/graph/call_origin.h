#pragma once

#include <windows.h>

#include <atomic>
#include <mutex>

namespace kt {

/// Tells whether a call comes out of one thread: on it, or on another one that serves a COM call of its.
class CCallOrigin {
 public:
  /// From now on it is the thread at hand, which has joined its apartment.
  void Enter();
  /// From now on it is none.
  void Leave();
  bool IsThisThread() const { return m_threadId == GetCurrentThreadId(); }
  /// To be asked from any thread.
  bool IsCaller() const;

 private:
  std::atomic<DWORD> m_threadId{0};
  /// What COM calls the thread and the calls that it makes; none without a thread.
  mutable std::mutex m_logicalLock;
  GUID m_logicalThread = {};
};

}  // namespace kt

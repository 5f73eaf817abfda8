#pragma once

#include <windows.h>

#include <atomic>

#include "module/graph/call_origin.h"
#include "module/graph/state_lock.h"

namespace kt {

/// A thread that takes requests, one at a time, and answers each with one reply.
///
/// The caller's side may be used from any thread. It waits for the reply or for the thread's end, whichever
/// comes first, so it always comes back when the worker does. While it waits, a single-threaded apartment
/// goes on serving calls. None of them may lead back here: the filter refuses them (`ChangeState`).
class CAMThread {
 public:
  /// Throws `std::bad_alloc` when the system has no events left.
  CAMThread();
  CAMThread(const CAMThread&) = delete;
  CAMThread& operator=(const CAMThread&) = delete;
  /// The thread has to be closed before what it works on goes.
  virtual ~CAMThread();

  /// Starts the thread. False when there is one already, also one that has returned but was not closed, or
  /// when none can be made.
  bool Create();
  /// Waits for the thread's end and forgets it. Nothing without a thread.
  void Close();
  /// From `Create` to `Close`, whether the thread has returned or not.
  bool ThreadExists() const { return m_exists; }
  /// Whether the call at hand comes out of this thread: on it, or on another one that serves a COM call of
  /// its.
  bool IsCaller() const { return m_origin.IsCaller(); }
  /// Hands the thread a request and answers its reply. E_FAIL without a thread and when the thread ends
  /// instead of replying; E_UNEXPECTED for a call from the thread itself.
  HRESULT CallWorker(DWORD request);

 protected:
  /// The work, on the thread, which has joined the multi-threaded apartment. Nothing that it throws leaves
  /// the thread.
  virtual HRESULT ThreadProc() = 0;

  // The worker's side.

  /// Waits for a request.
  DWORD GetRequest();
  /// Stores the request that waits for its reply; false when there is none.
  bool CheckRequest(DWORD* request) const;
  /// Waits for a request, but not longer than this; true when there is one.
  bool WaitForRequest(DWORD milliseconds) const;
  /// Answers the request.
  void Reply(HRESULT reply);

 private:
  static DWORD WINAPI Run(void* self);

  // Held by the caller across request and reply.
  CCritSec m_access;
  HANDLE m_thread = nullptr;
  std::atomic<bool> m_exists{false};
  CCallOrigin m_origin;
  // Written before the event that tells of them is set, read after it.
  DWORD m_request = 0;
  HRESULT m_reply = S_OK;
  HANDLE m_requestEvent;
  HANDLE m_replyEvent;
};

}  // namespace kt

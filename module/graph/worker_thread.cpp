#include "module/graph/worker_thread.h"

#include <objbase.h>

#include <new>

#include "module/com/com_edge.h"
#include "module/graph/serving_wait.h"

namespace kt {

CAMThread::CAMThread()
    : m_requestEvent(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      m_replyEvent(CreateEventW(nullptr, FALSE, FALSE, nullptr)) {
  if (m_requestEvent != nullptr && m_replyEvent != nullptr) return;
  if (m_requestEvent != nullptr) CloseHandle(m_requestEvent);
  if (m_replyEvent != nullptr) CloseHandle(m_replyEvent);
  throw std::bad_alloc();
}

CAMThread::~CAMThread() {
  Close();
  CloseHandle(m_requestEvent);
  CloseHandle(m_replyEvent);
}

bool CAMThread::Create() {
  const CAutoLock lock(m_access);
  if (m_thread != nullptr) return false;
  ResetEvent(m_requestEvent);
  ResetEvent(m_replyEvent);
  m_thread = CreateThread(nullptr, 0, Run, this, CREATE_SUSPENDED, nullptr);
  if (m_thread == nullptr) return false;
  m_exists = true;
  ResumeThread(m_thread);
  return true;
}

void CAMThread::Close() {
  const CAutoLock lock(m_access);
  if (m_thread == nullptr) return;
  if (!m_origin.IsThisThread()) WaitServingCalls({&m_thread, 1});
  CloseHandle(m_thread);
  m_thread = nullptr;
  m_origin.Leave();
  m_exists = false;
}

HRESULT CAMThread::CallWorker(DWORD request) {
  // The worker would wait for itself, and for the lock of whoever waits for it.
  if (m_origin.IsThisThread()) return E_UNEXPECTED;
  const CAutoLock lock(m_access);
  if (m_thread == nullptr) return E_FAIL;
  m_request = request;
  SetEvent(m_requestEvent);
  const HANDLE ends[] = {m_replyEvent, m_thread};
  const bool replied = WaitServingCalls(ends) == WAIT_OBJECT_0;
  if (!replied) ResetEvent(m_requestEvent);
  return replied ? m_reply : E_FAIL;
}

DWORD CAMThread::GetRequest() {
  WaitForSingleObject(m_requestEvent, INFINITE);
  return m_request;
}

bool CAMThread::WaitForRequest(DWORD milliseconds) const {
  return WaitForSingleObject(m_requestEvent, milliseconds) == WAIT_OBJECT_0;
}

bool CAMThread::CheckRequest(DWORD* request) const {
  if (!WaitForRequest(0)) return false;
  *request = m_request;
  return true;
}

void CAMThread::Reply(HRESULT reply) {
  m_reply = reply;
  // In this order: after the reply the caller may set the next request at once.
  ResetEvent(m_requestEvent);
  SetEvent(m_replyEvent);
}

DWORD WINAPI CAMThread::Run(void* self) {
  const HRESULT com = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  auto* const thread = static_cast<CAMThread*>(self);
  thread->m_origin.Enter();
  AtEdge([&] { return thread->ThreadProc(); });
  if (SUCCEEDED(com)) CoUninitialize();
  return 0;
}

}  // namespace kt

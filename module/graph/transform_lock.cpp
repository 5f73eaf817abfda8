#include "module/graph/transform_lock.h"

#include <objbase.h>

namespace kt {

void CStreamLock::lock() {
  m_lock.lock();
  if (++m_depth > 1) return;
  GUID logical = {};
  if (FAILED(CoGetCurrentLogicalThreadId(&logical))) logical = {};
  m_threadId = GetCurrentThreadId();
  const std::lock_guard lock(m_logicalLock);
  m_logicalThread = logical;
}

void CStreamLock::unlock() {
  if (--m_depth == 0) {
    m_threadId = 0;
    const std::lock_guard lock(m_logicalLock);
    m_logicalThread = {};
  }
  m_lock.unlock();
}

bool CStreamLock::IsCaller() const {
  if (m_threadId == 0) return false;
  if (m_threadId == GetCurrentThreadId()) return true;
  GUID caller = {};
  if (FAILED(CoGetCurrentLogicalThreadId(&caller)) || caller == GUID{}) return false;
  const std::lock_guard lock(m_logicalLock);
  return caller == m_logicalThread;
}

}  // namespace kt

#include "module/graph/call_origin.h"

#include <objbase.h>

namespace kt {

void CCallOrigin::Enter() {
  GUID logical = {};
  if (FAILED(CoGetCurrentLogicalThreadId(&logical))) logical = {};
  m_threadId = GetCurrentThreadId();
  const std::lock_guard lock(m_logicalLock);
  m_logicalThread = logical;
}

void CCallOrigin::Leave() {
  m_threadId = 0;
  const std::lock_guard lock(m_logicalLock);
  m_logicalThread = {};
}

bool CCallOrigin::IsCaller() const {
  if (m_threadId == 0) return false;
  if (IsThisThread()) return true;
  GUID caller = {};
  if (FAILED(CoGetCurrentLogicalThreadId(&caller)) || caller == GUID{}) return false;
  const std::lock_guard lock(m_logicalLock);
  return caller == m_logicalThread;
}

}  // namespace kt

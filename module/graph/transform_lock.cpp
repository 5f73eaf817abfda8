#include "module/graph/transform_lock.h"

namespace kt {

void CStreamLock::lock() {
  m_lock.lock();
  if (++m_depth == 1) m_holder.Enter();
}

void CStreamLock::unlock() {
  if (--m_depth == 0) m_holder.Leave();
  m_lock.unlock();
}

}  // namespace kt

#include "module/graph/state_lock.h"

#include <new>

#include "module/graph/serving_wait.h"

namespace kt {

CCritSec::CCritSec() : m_mutex(CreateMutexW(nullptr, FALSE, nullptr)) {
  if (m_mutex == nullptr) throw std::bad_alloc();
}

CCritSec::~CCritSec() {
  CloseHandle(m_mutex);
}

void CCritSec::lock() noexcept {
  WaitServingCalls({&m_mutex, 1});
}

void CCritSec::unlock() noexcept {
  ReleaseMutex(m_mutex);
}

}  // namespace kt

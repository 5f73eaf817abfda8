#include "module/graph/source.h"

#include <algorithm>

namespace kt {

// The base only keeps the address of the lock, which is there before the object is.
CSource::CSource(IUnknown* owner, REFCLSID clsid) : CBaseFilter(owner, m_sourceStateLock, clsid) {}

CSource::~CSource() = default;

ULONG CSource::GetPinCount() {
  const std::lock_guard lock(m_pinLock);
  return static_cast<ULONG>(m_pins.size());
}

CSourceStream* CSource::GetStream(ULONG index) {
  const std::lock_guard lock(m_pinLock);
  return index < m_pins.size() ? m_pins[index].get() : nullptr;
}

CBasePin* CSource::GetPin(ULONG index) {
  return GetStream(index);
}

bool CSource::IsCalledByWorker() {
  const std::lock_guard lock(m_pinLock);
  return std::ranges::any_of(m_pins, [](const auto& pin) { return pin->IsCaller(); });
}

void CSource::AddPin(std::unique_ptr<CSourceStream> pin) {
  const std::lock_guard lock(m_pinLock);
  m_pins.push_back(std::move(pin));
  IncrementPinVersion();
}

}  // namespace kt

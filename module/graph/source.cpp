#include "module/graph/source.h"

#include <objbase.h>

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

void CSource::FinalRelease() noexcept {
  if (!IsCalledByWorker()) {
    CBaseFilter::FinalRelease();
    return;
  }
  const HANDLE thread = CreateThread(nullptr, 0, EndApart, this, 0, nullptr);
  // Without a thread it stays and plays on: nothing here could end it safely.
  if (thread != nullptr) CloseHandle(thread);
}

DWORD WINAPI CSource::EndApart(void* source) {
  // Until now the source has held the module; from its end on, this thread has to.
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                     reinterpret_cast<LPCWSTR>(reinterpret_cast<void*>(EndApart)), &module);
  const HRESULT com = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  static_cast<CSource*>(source)->CBaseFilter::FinalRelease();
  if (SUCCEEDED(com)) CoUninitialize();
  if (module != nullptr) FreeLibraryAndExitThread(module, 0);
  return 0;
}

void CSource::AddPin(std::unique_ptr<CSourceStream> pin) {
  const std::lock_guard lock(m_pinLock);
  m_pins.push_back(std::move(pin));
  IncrementPinVersion();
}

}  // namespace kt

#include "module/com/module_state.h"

#include <atomic>

#include "module/com/com_edge.h"

namespace kt {
namespace {

std::atomic<long> g_holds{0};

}  // namespace

void HoldModule() noexcept {
  ++g_holds;
}

void ReleaseModule() noexcept {
  --g_holds;
}

bool IsModuleHeld() noexcept {
  return g_holds != 0;
}

HINSTANCE ModuleInstance() noexcept {
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<LPCWSTR>(&g_holds), &module);
  return module;
}

std::wstring ModulePath() {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length = GetModuleFileNameW(ModuleInstance(), path.data(), static_cast<DWORD>(path.size()));
    if (length == 0) throw CResultException{HRESULT_FROM_WIN32(GetLastError())};
    if (length < path.size()) {
      path.resize(length);
      return path;
    }
    path.resize(path.size() * 2);
  }
}

}  // namespace kt

#include "filter/platform/code_page.h"

#include "module/com/com_edge.h"

namespace kt {
namespace {

[[noreturn]] void ThrowLastError() {
  throw CResultException{HRESULT_FROM_WIN32(GetLastError())};
}

}  // namespace

std::string ToCodePage(const wchar_t* text) {
  const int size = WideCharToMultiByte(CP_ACP, 0, text, -1, nullptr, 0, nullptr, nullptr);
  if (size <= 0) ThrowLastError();
  std::string converted(static_cast<std::size_t>(size), '\0');
  if (WideCharToMultiByte(CP_ACP, 0, text, -1, converted.data(), size, nullptr, nullptr) != size) {
    ThrowLastError();
  }
  // The zero at the end is the string's own.
  converted.pop_back();
  return converted;
}

std::wstring FromCodePage(const std::string& text) {
  const int size = MultiByteToWideChar(CP_ACP, 0, text.c_str(), -1, nullptr, 0);
  if (size <= 0) ThrowLastError();
  std::wstring converted(static_cast<std::size_t>(size), L'\0');
  if (MultiByteToWideChar(CP_ACP, 0, text.c_str(), -1, converted.data(), size) != size) ThrowLastError();
  converted.pop_back();
  return converted;
}

Bstr MakeBstr(const std::string& text) {
  Bstr made(SysAllocString(FromCodePage(text).c_str()));
  if (!made) throw CResultException{E_OUTOFMEMORY};
  return made;
}

}  // namespace kt

#pragma once

#include <windows.h>

#include <oleauto.h>

#include <memory>
#include <string>

namespace kt {

/// Text in the system's code page. Throws `CResultException` when it can not be converted, `std::bad_alloc`.
std::string ToCodePage(const wchar_t* text);
std::wstring FromCodePage(const std::string& text);

struct BstrDeleter {
  void operator()(wchar_t* text) const { SysFreeString(text); }
};
/// An owned BSTR.
using Bstr = std::unique_ptr<wchar_t, BstrDeleter>;

/// A BSTR of a text in the system's code page. Throws as above, E_OUTOFMEMORY without memory.
Bstr MakeBstr(const std::string& text);

}  // namespace kt

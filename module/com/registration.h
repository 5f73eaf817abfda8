#pragma once

#include <windows.h>

#include <string>

namespace kt {

/// Writes every class of the module's table into the registry (`CLSID\{...}` with the module's file and the
/// threading model "Both") and tells the filter mapper of its filters, or takes both away again. What is
/// registered already is taken away before it is registered; what is missing on the way out is no failure.
/// The result is the first failure.
HRESULT AMovieDllRegisterServer2(BOOL registerThem);

/// The text form of an identifier, in braces.
std::wstring GuidText(REFGUID guid);

}  // namespace kt

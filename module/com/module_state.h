#pragma once

#include <windows.h>

#include <string>

namespace kt {

/// Each object that the module has made, and each lock on one of its factories, holds the module in memory.
void HoldModule() noexcept;
void ReleaseModule() noexcept;
/// True while anything holds the module.
bool IsModuleHeld() noexcept;

/// The module (or, in tests, the program) that this code is linked into.
HINSTANCE ModuleInstance() noexcept;
/// The full name of its file.
std::wstring ModulePath();

}  // namespace kt

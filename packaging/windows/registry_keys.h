// Parts of the registry as plain values: read, merged, and put back.
#pragma once

#include <windows.h>

#include <map>
#include <string>
#include <vector>

namespace kt {

/// The registry's order of names, which does not tell large letters from small ones.
struct RegistryNameLess {
  bool operator()(const std::wstring& left, const std::wstring& right) const;
};

struct RegistryValue {
  DWORD type = REG_NONE;
  std::vector<BYTE> data;
  bool operator==(const RegistryValue&) const = default;
};

using RegistryValues = std::map<std::wstring, RegistryValue, RegistryNameLess>;

/// Keys with their values, by paths that begin with "HKCR\" or "HKLM\". Parents come before their children.
using RegistryKeys = std::map<std::wstring, RegistryValues, RegistryNameLess>;

/// What has to stand when our own work is taken back: where `now` is as `ours` left it, what stood `before`;
/// where somebody has changed it since, what stands now.
RegistryKeys WithoutOurs(const RegistryKeys& before, const RegistryKeys& ours, const RegistryKeys& now);

/// One of the two registries of a 64-bit Windows; on one of 32 bits both are the only one there is. Paths are
/// those of RegistryKeys. Operations throw std::system_error with the platform's code.
class RegistryView {
 public:
  /// `view` is KEY_WOW64_32KEY or KEY_WOW64_64KEY.
  explicit RegistryView(REGSAM view) : m_view(view) {}

  /// Adds a key and all below it to `keys`; nothing when there is no such key.
  void Read(const std::wstring& path, RegistryKeys& keys) const;
  /// Adds those keys above `path` that are there, without their values.
  void ReadParents(const std::wstring& path, RegistryKeys& keys) const;
  /// Makes the registry hold `to`, where it holds `from`; what is in neither is left alone, and a key that
  /// anything is left in stays.
  void Change(const RegistryKeys& from, const RegistryKeys& to) const;

 private:
  void DeleteIfEmpty(const std::wstring& path) const;

  const REGSAM m_view;
};

}  // namespace kt

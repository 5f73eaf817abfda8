#include "packaging/windows/registry_keys.h"

#include <initializer_list>
#include <system_error>

namespace kt {
namespace {

void Require(LSTATUS result) {
  if (result != ERROR_SUCCESS) {
    throw std::system_error(static_cast<int>(result), std::system_category());
  }
}

/// An open key that is closed again.
class CKey {
 public:
  CKey() = default;
  CKey(const CKey&) = delete;
  CKey& operator=(const CKey&) = delete;
  ~CKey() {
    if (m_key != nullptr) RegCloseKey(m_key);
  }
  HKEY Get() const { return m_key; }
  HKEY* Put() { return &m_key; }

 private:
  HKEY m_key = nullptr;
};

HKEY RootOf(const std::wstring& path) {
  return path.starts_with(L"HKCR\\") ? HKEY_CLASSES_ROOT : HKEY_LOCAL_MACHINE;
}

const wchar_t* BelowRoot(const std::wstring& path) {
  return path.c_str() + path.find(L'\\') + 1;
}

/// False when there is no such key.
bool Open(const std::wstring& path, REGSAM access, CKey& key) {
  const LSTATUS result = RegOpenKeyExW(RootOf(path), BelowRoot(path), 0, access, key.Put());
  if (result == ERROR_FILE_NOT_FOUND || result == ERROR_PATH_NOT_FOUND) return false;
  Require(result);
  return true;
}

struct KeySizes {
  DWORD keys = 0, longestKey = 0, values = 0, longestValueName = 0, longestData = 0;
};

KeySizes SizesOf(HKEY key) {
  KeySizes sizes;
  Require(RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &sizes.keys, &sizes.longestKey, nullptr,
                           &sizes.values, &sizes.longestValueName, &sizes.longestData, nullptr, nullptr));
  return sizes;
}

RegistryValues ValuesOf(HKEY key, const KeySizes& sizes) {
  RegistryValues values;
  std::vector<wchar_t> name(sizes.longestValueName + 1);
  std::vector<BYTE> data(sizes.longestData + 1);
  for (DWORD index = 0; index < sizes.values; ++index) {
    DWORD nameLength = static_cast<DWORD>(name.size()), size = static_cast<DWORD>(data.size());
    RegistryValue value;
    Require(RegEnumValueW(key, index, name.data(), &nameLength, nullptr, &value.type, data.data(), &size));
    value.data.assign(data.data(), data.data() + size);
    values[std::wstring(name.data(), nameLength)] = value;
  }
  return values;
}

std::vector<std::wstring> KeysBelow(HKEY key, const KeySizes& sizes) {
  std::vector<std::wstring> names;
  std::vector<wchar_t> name(sizes.longestKey + 1);
  for (DWORD index = 0; index < sizes.keys; ++index) {
    DWORD length = static_cast<DWORD>(name.size());
    Require(RegEnumKeyExW(key, index, name.data(), &length, nullptr, nullptr, nullptr, nullptr));
    names.emplace_back(name.data(), length);
  }
  return names;
}

template <class Map>
const typename Map::mapped_type* Find(const Map& map, const std::wstring& name) {
  const auto found = map.find(name);
  return found == map.end() ? nullptr : &found->second;
}

/// Each name that any of the maps has, once.
template <class Map, class Visit>
void ForEachName(std::initializer_list<const Map*> maps, Visit visit) {
  std::map<std::wstring, bool, RegistryNameLess> names;
  for (const Map* map : maps) {
    for (const auto& entry : *map) names[entry.first] = true;
  }
  for (const auto& entry : names) visit(entry.first);
}

bool AreEqual(const RegistryValue* left, const RegistryValue* right) {
  return left != nullptr && right != nullptr ? *left == *right : left == right;
}

RegistryValues ValuesWithoutOurs(const RegistryValues& before, const RegistryValues& ours,
                                 const RegistryValues& now) {
  RegistryValues result;
  ForEachName({&before, &ours, &now}, [&](const std::wstring& name) {
    const RegistryValue* const value = Find(now, name);
    const RegistryValue* const kept = AreEqual(value, Find(ours, name)) ? Find(before, name) : value;
    if (kept != nullptr) result[name] = *kept;
  });
  return result;
}

}  // namespace

bool RegistryNameLess::operator()(const std::wstring& left, const std::wstring& right) const {
  return CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(),
                              static_cast<int>(right.size()), TRUE) == CSTR_LESS_THAN;
}

RegistryKeys WithoutOurs(const RegistryKeys& before, const RegistryKeys& ours, const RegistryKeys& now) {
  static const RegistryValues kNone;
  RegistryKeys result;
  ForEachName({&before, &ours, &now}, [&](const std::wstring& path) {
    const RegistryValues *was = Find(before, path), *our = Find(ours, path), *is = Find(now, path);
    const RegistryValues values = ValuesWithoutOurs(was ? *was : kNone, our ? *our : kNone, is ? *is : kNone);
    const bool isUntouched = (is != nullptr) == (our != nullptr);
    const bool stays = isUntouched ? was != nullptr : is != nullptr;
    if (stays || !values.empty()) result[path] = values;
  });
  return result;
}

void RegistryView::Read(const std::wstring& path, RegistryKeys& keys) const {
  CKey key;
  if (!Open(path, KEY_READ | m_view, key)) return;
  const KeySizes sizes = SizesOf(key.Get());
  keys[path] = ValuesOf(key.Get(), sizes);
  const std::wstring below = path + L"\\";
  for (const std::wstring& name : KeysBelow(key.Get(), sizes)) Read(below + name, keys);
}

void RegistryView::ReadParents(const std::wstring& path, RegistryKeys& keys) const {
  const std::size_t root = path.find(L'\\');
  for (std::size_t end = path.rfind(L'\\'); end > root; end = path.rfind(L'\\', end - 1)) {
    const std::wstring parent = path.substr(0, end);
    CKey key;
    if (Open(parent, KEY_READ | m_view, key)) keys.try_emplace(parent);
  }
}

void RegistryView::Change(const RegistryKeys& from, const RegistryKeys& to) const {
  for (const auto& [path, values] : to) {
    const RegistryValues* const there = Find(from, path);
    // What is as it has to be is not opened: it may be nobody's to write.
    if (there != nullptr && *there == values) continue;
    CKey key;
    Require(RegCreateKeyExW(RootOf(path), BelowRoot(path), 0, nullptr, 0, KEY_WRITE | m_view, nullptr,
                            key.Put(), nullptr));
    for (const auto& [name, value] : values) {
      if (there != nullptr && AreEqual(Find(*there, name), &value)) continue;
      Require(RegSetValueExW(key.Get(), name.c_str(), 0, value.type, value.data.data(),
                             static_cast<DWORD>(value.data.size())));
    }
  }
  for (auto entry = from.rbegin(); entry != from.rend(); ++entry) {
    const auto& [path, values] = *entry;
    const RegistryValues* const kept = Find(to, path);
    for (const auto& [name, value] : values) {
      if (kept != nullptr && kept->contains(name)) continue;
      CKey key;
      if (!Open(path, KEY_WRITE | m_view, key)) break;
      Require(RegDeleteValueW(key.Get(), name.c_str()));
    }
    if (kept == nullptr) DeleteIfEmpty(path);
  }
}

void RegistryView::DeleteIfEmpty(const std::wstring& path) const {
  {
    CKey key;
    if (!Open(path, KEY_READ | m_view, key)) return;
    const KeySizes sizes = SizesOf(key.Get());
    if (sizes.keys > 0 || sizes.values > 0) return;
  }
  Require(RegDeleteKeyExW(RootOf(path), BelowRoot(path), m_view, 0));
}

}  // namespace kt

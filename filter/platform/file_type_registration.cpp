// What leads from a file or a URL to the filter, and the two functions that a host registers the module with.

#include <windows.h>

#include <string>

#include <ktmp4/ktmp4source.h>
#include "module/com/com_edge.h"
#include "module/com/registration.h"

namespace kt {
namespace {

/// How a key is come by.
enum class KeyUse { Create, CreateWithAllAccess, OpenExisting };

/// A key that is closed again; null when it could not be had.
class CRegistryKey {
 public:
  CRegistryKey(HKEY root, const wchar_t* name, KeyUse use) {
    const REGSAM access = use == KeyUse::CreateWithAllAccess ? KEY_ALL_ACCESS : KEY_WRITE;
    const LSTATUS result = use == KeyUse::OpenExisting
                               ? RegOpenKeyExW(root, name, 0, access, &m_key)
                               : RegCreateKeyExW(root, name, 0, nullptr, 0, access, nullptr, &m_key, nullptr);
    if (result != ERROR_SUCCESS) m_key = nullptr;
  }
  CRegistryKey(const CRegistryKey&) = delete;
  CRegistryKey& operator=(const CRegistryKey&) = delete;
  ~CRegistryKey() {
    if (m_key != nullptr) RegCloseKey(m_key);
  }

  // What can not be written is left out; the filter works without it.

  /// The length that is passed leaves the zero at the end out.
  void SetText(const wchar_t* name, const std::wstring& text) const {
    Set(name, REG_SZ, text.c_str(), static_cast<DWORD>(text.size() * sizeof(wchar_t)));
  }
  void SetNumber(const wchar_t* name, DWORD number) const { Set(name, REG_DWORD, &number, sizeof number); }

 private:
  void Set(const wchar_t* name, DWORD type, const void* data, DWORD size) const {
    if (m_key != nullptr) RegSetValueExW(m_key, name, 0, type, static_cast<const BYTE*>(data), size);
  }

  HKEY m_key = nullptr;
};

constexpr wchar_t kMp4Key[] = L"Media Type\\Extensions\\.mp4";
constexpr const wchar_t* kExtensionKeys[] = {kMp4Key, L"Media Type\\Extensions\\.3gp",
                                             L"Media Type\\Extensions\\.m4a"};

/// How the media player lists the type of file, next to those of its own.
constexpr struct {
  const wchar_t* key;
  const wchar_t* text;
} kPlayerTexts[] = {
    {L"SOFTWARE\\Microsoft\\MediaPlayer\\Player\\Extensions\\Descriptions",
     L"MPEG-4/3GP File (*.mp4;*.3gp;*.m4a)"},
    {L"SOFTWARE\\Microsoft\\MediaPlayer\\Player\\Extensions\\MUIDescriptions", L"MPEG-4/3GP File"},
    {L"SOFTWARE\\Microsoft\\MediaPlayer\\Player\\Extensions\\Types", L"*.mp4;*.3gp;*.m4a"},
};

void RegisterFileTypes() {
  const std::wstring filter = GuidText(::CLSID_KtMp4FileReader);
  for (const wchar_t* name : kExtensionKeys) {
    const CRegistryKey key(HKEY_CLASSES_ROOT, name, KeyUse::Create);
    key.SetText(L"Media Type", GuidText(::MEDIATYPE_KtMp4Stream));
    key.SetText(L"SubType", GuidText(::GUID_NULL));
    key.SetText(L"Source Filter", filter);
  }
  CRegistryKey(HKEY_CLASSES_ROOT, L"ktmp4file", KeyUse::Create).SetText(L"Source Filter", filter);
  CRegistryKey(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Multimedia\\WMPlayer\\Schemes\\ktmp4file",
               KeyUse::CreateWithAllAccess)
      .SetNumber(L"Runtime", 7);
  for (const auto& row : kPlayerTexts) {
    CRegistryKey(HKEY_LOCAL_MACHINE, row.key, KeyUse::OpenExisting).SetText(L"9", row.text);
  }
}

// The other keys stay, and others may have come to rely on them.
void UnregisterFileTypes() {
  RegDeleteKeyW(HKEY_CLASSES_ROOT, kMp4Key);
}

}  // namespace
}  // namespace kt

extern "C" {

HRESULT WINAPI DllRegisterServer() {
  return kt::AtEdge([] {
    kt::RegisterFileTypes();
    return kt::AMovieDllRegisterServer2(TRUE);
  });
}

HRESULT WINAPI DllUnregisterServer() {
  return kt::AtEdge([] {
    kt::UnregisterFileTypes();
    return kt::AMovieDllRegisterServer2(FALSE);
  });
}

}  // extern "C"

// What the examples of DirectShow share: references on objects, and words for results.
#pragma once

#include <windows.h>

#include <dshow.h>

#include <cwchar>
#include <string>

/// Holds one reference on an object.
template <class Interface>
class Reference {
 public:
  Reference() = default;
  Reference(const Reference&) = delete;
  Reference& operator=(const Reference&) = delete;
  ~Reference() {
    if (m_object != nullptr) m_object->Release();
  }
  Interface* operator->() const { return m_object; }
  Interface* Get() const { return m_object; }
  Interface** Put() { return &m_object; }
  HRESULT Create(REFCLSID clsid, REFIID iid) {
    return CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, iid, reinterpret_cast<void**>(&m_object));
  }
  HRESULT From(IUnknown* other, REFIID iid) {
    return other->QueryInterface(iid, reinterpret_cast<void**>(&m_object));
  }

 private:
  Interface* m_object = nullptr;
};

/// The number of a result, behind the name by which the headers of the platform know it, if it is a usual
/// one.
inline std::wstring ResultName(HRESULT result) {
  struct Named {
    HRESULT result;
    const wchar_t* name;
  };
  constexpr Named names[] = {{E_FAIL, L"E_FAIL "},
                             {E_OUTOFMEMORY, L"E_OUTOFMEMORY "},
                             {REGDB_E_CLASSNOTREG, L"REGDB_E_CLASSNOTREG "},
                             {VFW_E_CANNOT_CONNECT, L"VFW_E_CANNOT_CONNECT "},
                             {VFW_E_CANNOT_RENDER, L"VFW_E_CANNOT_RENDER "},
                             {VFW_E_NO_AUDIO_HARDWARE, L"VFW_E_NO_AUDIO_HARDWARE "},
                             {VFW_E_NO_DECOMPRESSOR, L"VFW_E_NO_DECOMPRESSOR "},
                             {VFW_E_TYPE_NOT_ACCEPTED, L"VFW_E_TYPE_NOT_ACCEPTED "}};
  std::wstring text;
  for (const Named& each : names) {
    if (each.result == result) text = each.name;
  }
  wchar_t number[16] = {};
  std::swprintf(number, 16, L"0x%08lx", static_cast<unsigned long>(result));
  return text + number;
}

/// Why a file cannot be played, in the system's words where it has some.
inline std::wstring FailureText(const wchar_t* name, HRESULT result) {
  wchar_t text[MAX_ERROR_TEXT_LEN] = {};
  if (GetFileAttributesW(name) == INVALID_FILE_ATTRIBUTES && std::wcsstr(name, L"://") == nullptr) {
    std::wcscpy(text, L"there is no such file");
  } else if (result == REGDB_E_CLASSNOTREG) {
    std::wcscpy(text, L"the filter is not registered: regsvr32 ktmp4source.ax");
  } else if (result == E_FAIL) {
    std::wcscpy(text, L"the filter cannot read it; \"ktmp4 info\" tells why");
  } else if (result == VFW_E_CANNOT_RENDER) {
    std::wcscpy(text, L"no decoder or device is installed for any of its tracks");
  } else if (result == VFW_E_TYPE_NOT_ACCEPTED) {
    std::wcscpy(text, L"what comes out of a decoder is of a kind that cannot be shown");
  } else if (result == HRESULT_FROM_WIN32(ERROR_INVALID_WINDOW_HANDLE)) {
    std::wcscpy(text, L"no window opens: is there a display?");
  } else if (AMGetErrorTextW(result, text, MAX_ERROR_TEXT_LEN) == 0) {
    std::wcscpy(text, L"the system has no words for it");
  }
  return std::wstring(text) + L" (" + ResultName(result) + L")";
}

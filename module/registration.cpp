#include "module/registration.h"

#include <objbase.h>
#include <strmif.h>
#include <uuids.h>

#include <span>

#include "module/class_factory.h"
#include "module/com_edge.h"
#include "module/com_pointer.h"
#include "module/module_state.h"

namespace kt {
namespace {

std::span<const CFactoryTemplate> Templates() {
  return {g_Templates, static_cast<std::size_t>(g_cTemplates)};
}

// COM for the time of a registration, which may run on a thread that has it already, in whatever form.
class CComUse {
 public:
  CComUse() : m_result(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)) {
    if (m_result != RPC_E_CHANGED_MODE) ThrowIfFailed(m_result);
  }
  CComUse(const CComUse&) = delete;
  CComUse& operator=(const CComUse&) = delete;
  ~CComUse() {
    if (SUCCEEDED(m_result)) CoUninitialize();
  }

 private:
  const HRESULT m_result;
};

std::wstring ClassKey(const CFactoryTemplate& entry) {
  return L"CLSID\\" + GuidText(*entry.m_ClsID);
}

void SetText(const std::wstring& key, const wchar_t* name, const std::wstring& text) {
  const DWORD size = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
  ThrowIfFailed(
      HRESULT_FROM_WIN32(RegSetKeyValueW(HKEY_CLASSES_ROOT, key.c_str(), name, REG_SZ, text.c_str(), size)));
}

void ThrowUnlessGone(HRESULT result) {
  if (result == HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)) return;
  if (result == HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND)) return;
  ThrowIfFailed(result);
}

void RemoveClass(const CFactoryTemplate& entry) {
  ThrowUnlessGone(HRESULT_FROM_WIN32(RegDeleteTreeW(HKEY_CLASSES_ROOT, ClassKey(entry).c_str())));
}

void WriteClass(const CFactoryTemplate& entry) {
  RemoveClass(entry);
  const std::wstring server = ClassKey(entry) + L"\\InprocServer32";
  SetText(ClassKey(entry), nullptr, entry.m_Name);
  SetText(server, nullptr, ModulePath());
  SetText(server, L"ThreadingModel", L"Both");
}

void RemoveFilter(IFilterMapper2* mapper, const AMOVIESETUP_FILTER& filter) {
  ThrowUnlessGone(mapper->UnregisterFilter(nullptr, nullptr, *filter.clsID));
}

void WriteFilter(IFilterMapper2* mapper, const AMOVIESETUP_FILTER& filter) {
  RemoveFilter(mapper, filter);
  REGFILTER2 told = {};
  told.dwVersion = 1;
  told.dwMerit = filter.dwMerit;
  told.cPins = filter.nPins;
  told.rgPins = filter.lpPin;
  ThrowIfFailed(mapper->RegisterFilter(*filter.clsID, filter.strName, nullptr, nullptr, nullptr, &told));
}

void ForEachFilter(void (*act)(IFilterMapper2*, const AMOVIESETUP_FILTER&)) {
  const CComUse com;
  ComPointer<IFilterMapper2> mapper;
  ThrowIfFailed(CoCreateInstance(CLSID_FilterMapper2, nullptr, CLSCTX_INPROC_SERVER, IID_IFilterMapper2,
                                 mapper.PutVoid()));
  for (const CFactoryTemplate& entry : Templates()) {
    if (entry.m_pAMovieSetup_Filter != nullptr) act(mapper.Get(), *entry.m_pAMovieSetup_Filter);
  }
}

}  // namespace

std::wstring GuidText(REFGUID guid) {
  wchar_t text[40] = {};
  StringFromGUID2(guid, text, static_cast<int>(std::size(text)));
  return text;
}

HRESULT AMovieDllRegisterServer2(BOOL registerThem) {
  return AtEdge([&] {
    if (registerThem) {
      for (const CFactoryTemplate& entry : Templates()) WriteClass(entry);
      ForEachFilter(WriteFilter);
    } else {
      // The mapper first: it looks the class up.
      ForEachFilter(RemoveFilter);
      for (const CFactoryTemplate& entry : Templates()) RemoveClass(entry);
    }
    return S_OK;
  });
}

}  // namespace kt

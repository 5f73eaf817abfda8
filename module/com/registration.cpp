#include "module/com/registration.h"

#include <objbase.h>
#include <strmif.h>
#include <uuids.h>

#include <span>

#include "module/com/class_factory.h"
#include "module/com/com_edge.h"
#include "module/com/com_pointer.h"
#include "module/com/module_state.h"

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

ComPointer<IFilterMapper2> MakeMapper() {
  ComPointer<IFilterMapper2> mapper;
  ThrowIfFailed(CoCreateInstance(CLSID_FilterMapper2, nullptr, CLSCTX_INPROC_SERVER, IID_IFilterMapper2,
                                 mapper.PutVoid()));
  return mapper;
}

void WriteAll() {
  for (const CFactoryTemplate& entry : Templates()) WriteClass(entry);
  const CComUse com;
  const ComPointer<IFilterMapper2> mapper = MakeMapper();
  for (const CFactoryTemplate& entry : Templates()) {
    if (entry.m_pAMovieSetup_Filter != nullptr) WriteFilter(mapper.Get(), *entry.m_pAMovieSetup_Filter);
  }
}

// Takes away what can be taken away, whatever fails on the way; the result is the first failure.
HRESULT RemoveAll() {
  HRESULT first = S_OK;
  const auto attempt = [&first](auto remove) {
    const HRESULT result = AtEdge([&] {
      remove();
      return S_OK;
    });
    if (SUCCEEDED(first)) first = result;
  };
  // The mapper first: it looks the class up.
  attempt([&] {
    const CComUse com;
    const ComPointer<IFilterMapper2> mapper = MakeMapper();
    for (const CFactoryTemplate& entry : Templates()) {
      if (entry.m_pAMovieSetup_Filter == nullptr) continue;
      attempt([&] { RemoveFilter(mapper.Get(), *entry.m_pAMovieSetup_Filter); });
    }
  });
  for (const CFactoryTemplate& entry : Templates()) attempt([&] { RemoveClass(entry); });
  return first;
}

}  // namespace

std::wstring GuidText(REFGUID guid) {
  wchar_t text[40] = {};
  StringFromGUID2(guid, text, static_cast<int>(std::size(text)));
  return text;
}

HRESULT AMovieDllRegisterServer2(BOOL registerThem) {
  return AtEdge([&] {
    if (!registerThem) return RemoveAll();
    WriteAll();
    return S_OK;
  });
}

}  // namespace kt

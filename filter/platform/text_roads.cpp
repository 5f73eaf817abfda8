#include "filter/platform/text_roads.h"

#include <evcode.h>
#include <objbase.h>

#include "filter/platform/code_page.h"
#include "filter/platform/marshall_object.h"

namespace kt {

static_assert(kScreenTextEvent == EC_OLE_EVENT);
static_assert(kCaptionTextEvent == EC_KTMP4_CAPTION && kMetadataTextEvent == EC_KTMP4_METADATA);

namespace {

// Not in the oldest systems.
template <class Function>
Function* FindComFunction(const char* name) {
  const HMODULE module = GetModuleHandleW(L"combase.dll");
  if (module == nullptr) return nullptr;
  return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

}  // namespace

CTextRoads::~CTextRoads() {
  if (m_apartmentUse == nullptr) return;
  if (const auto leave = FindComFunction<HRESULT WINAPI(HANDLE)>("CoDecrementMTAUsage")) {
    leave(m_apartmentUse);
  }
}

bool CTextRoads::FindCallback(const std::string& mappingName) {
  bool ok = false;
  CMarshallObject mapping(mappingName.c_str(), false, &ok);
  if (!ok) return false;
  void* found = nullptr;
  if (FAILED(CoUnmarshalInterface(&mapping, ::IID_ICaptionCallback, &found)) || found == nullptr) return false;
  m_captionCallback = static_cast<ICaptionCallback*>(found);
  // The apartment, in which the callback now lives, would otherwise end with its last worker.
  if (const auto enter = FindComFunction<HRESULT WINAPI(HANDLE*)>("CoIncrementMTAUsage")) {
    enter(&m_apartmentUse);
  }
  return true;
}

void CTextRoads::CallBack(TextKind kind, const std::string& time, const std::string& text) {
  const Bstr textForCall = MakeBstr(text);
  const Bstr timeForCall = MakeBstr(time);
  if (kind == TextKind::Caption) {
    m_captionCallback->OnCaptionText(timeForCall.get(), textForCall.get());
  } else {
    m_captionCallback->OnMetadataText(timeForCall.get(), textForCall.get());
  }
}

void CTextRoads::NotifyEvent(i32 code) {
  m_filter.NotifyEvent(code, 0, 0);
}

void CTextRoads::NotifyTextEvent(i32 code, const char* word, const char* text) {
  Bstr first = MakeBstr(word);
  Bstr second = MakeBstr(text);
  // Whoever takes the event frees them.
  if (FAILED(m_filter.NotifyEvent(code, reinterpret_cast<LONG_PTR>(first.get()),
                                  reinterpret_cast<LONG_PTR>(second.get())))) {
    return;
  }
  static_cast<void>(first.release());
  static_cast<void>(second.release());
}

}  // namespace kt

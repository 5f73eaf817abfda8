#include "filter/platform/text_roads.h"

#include <evcode.h>
#include <objbase.h>

#include "filter/platform/code_page.h"
#include "filter/platform/marshall_object.h"

namespace kt {

static_assert(kScreenTextEvent == EC_OLE_EVENT);
static_assert(kCaptionTextEvent == EC_KTMP4_CAPTION && kMetadataTextEvent == EC_KTMP4_METADATA);

namespace {

// Keeps the multi-threaded apartment, in which the callback lives, when its last worker ends; a host may have
// no thread of its own there. It is kept for good, like the callback: the end of the apartment calls the
// owners of all that lives in it, and the thread that drops the filter may be one that such a call has to
// wait for.
void KeepApartment() {
  // Not in the oldest systems.
  const HMODULE module = GetModuleHandleW(L"combase.dll");
  if (module == nullptr) return;
  const auto increment = reinterpret_cast<HRESULT(WINAPI*)(HANDLE*)>(
      reinterpret_cast<void*>(GetProcAddress(module, "CoIncrementMTAUsage")));
  HANDLE cookie = nullptr;
  if (increment != nullptr) increment(&cookie);
}

}  // namespace

bool CTextRoads::FindCallback(const std::string& mappingName) {
  bool ok = false;
  CMarshallObject mapping(mappingName.c_str(), false, &ok);
  if (!ok) return false;
  void* found = nullptr;
  if (FAILED(CoUnmarshalInterface(&mapping, ::IID_ICaptionCallback, &found)) || found == nullptr)
    return false;
  m_captionCallback = static_cast<ICaptionCallback*>(found);
  KeepApartment();
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

#pragma once

#include <windows.h>

#include <objbase.h>

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

#include <ktmp4/ktmp4source.h>
#include "filter/platform/code_page.h"
#include "filter/platform/marshall_object.h"
#include "filter/platform/source_host.h"
#include "module/com/unknown.h"

namespace kt::test {

/// An application's callback that writes down what it is told.
class Callback final : public CUnknown, public ICaptionCallback {
 public:
  Callback() : CUnknown(nullptr) {}
  DECLARE_IUNKNOWN
  HRESULT NonDelegatingQueryInterface(REFIID iid, void** object) override {
    if (iid == ::IID_ICaptionCallback) return GetInterface(static_cast<ICaptionCallback*>(this), object);
    return CUnknown::NonDelegatingQueryInterface(iid, object);
  }
  HRESULT STDMETHODCALLTYPE OnOpen(BSTR) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE OnClose() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE OnCaptionText(BSTR time, BSTR text) override {
    return Take(L"caption " + std::wstring(time) + L" " + text);
  }
  HRESULT STDMETHODCALLTYPE OnMetadataText(BSTR time, BSTR text) override {
    return Take(L"metadata " + std::wstring(time) + L" " + text);
  }
  /// In the order of the alphabet, as the two pins do not wait for each other.
  std::vector<std::wstring> Texts() {
    const std::lock_guard lock(m_lock);
    std::ranges::sort(m_texts);
    return m_texts;
  }
  bool HasCome(const std::wstring& text) { return std::ranges::count(Texts(), text) > 0; }

  /// Called with each text.
  std::function<void()> m_onText = [] {};

 private:
  HRESULT Take(const std::wstring& text) {
    {
      const std::lock_guard lock(m_lock);
      m_texts.push_back(text);
    }
    m_onText();
    // What a callback answers does not count.
    return E_FAIL;
  }

  std::mutex m_lock;
  std::vector<std::wstring> m_texts;
};

/// A mapping with a callback in it, under a name as the URL parameters below lead to it.
class CallbackMapping {
 public:
  explicit CallbackMapping(ICaptionCallback* callback)
      : m_name("ktmp4-test-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(s_count++)),
        m_stream(Name().c_str(), true, &m_ok) {
    EXPECT_TRUE(m_ok);
    EXPECT_EQ(CoMarshalInterface(&m_stream, ::IID_ICaptionCallback, callback, MSHCTX_LOCAL, nullptr,
                                 MSHLFLAGS_NORMAL),
              S_OK);
  }
  std::string Name() const { return m_name + kBehind; }
  /// What leads to it, behind the path of a URL.
  std::wstring Parameter() const { return FromCodePage("&mdccid=" + Name()); }

 private:
  // All that follows the name in the URL counts as a part of it.
  static constexpr const char* kBehind = "&cc=on";
  static inline int s_count = 0;
  const std::string m_name;
  bool m_ok = false;
  CMarshallObject m_stream;
};

}  // namespace kt::test

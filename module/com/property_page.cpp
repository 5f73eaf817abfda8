#include "module/com/property_page.h"

#include <objbase.h>

#include <bit>
#include <cstring>

#include "module/com/com_edge.h"
#include "module/com/module_state.h"

namespace kt {
namespace {

// A string of the module's resources in memory from `CoTaskMemAlloc`.
LPOLESTR LoadText(UINT id) {
  const wchar_t* text = nullptr;
  // With no room given, the answer is where the text lies; it has no terminator.
  const int length = LoadStringW(ModuleInstance(), id, reinterpret_cast<LPWSTR>(&text), 0);
  const std::size_t count = length > 0 ? static_cast<std::size_t>(length) : 0;
  LPOLESTR copy = static_cast<LPOLESTR>(CoTaskMemAlloc((count + 1) * sizeof(OLECHAR)));
  if (copy == nullptr) return nullptr;
  if (count > 0) std::memcpy(copy, text, count * sizeof(OLECHAR));
  copy[count] = L'\0';
  return copy;
}

INT_PTR CALLBACK IgnoreMessage(HWND, UINT, WPARAM, LPARAM) {
  return FALSE;
}

}  // namespace

CBasePropertyPage::CBasePropertyPage(IUnknown* owner, int dialog, UINT title)
    : CUnknown(owner), m_dialogId(dialog), m_titleId(title) {}

CBasePropertyPage::~CBasePropertyPage() {
  if (m_dialog == nullptr) return;
  SetWindowLongPtrW(m_dialog, GWLP_USERDATA, 0);
  DestroyWindow(m_dialog);
}

HRESULT CBasePropertyPage::NonDelegatingQueryInterface(REFIID iid, void** object) {
  if (iid == IID_IPropertyPage) return GetInterface(static_cast<IPropertyPage*>(this), object);
  return CUnknown::NonDelegatingQueryInterface(iid, object);
}

HRESULT CBasePropertyPage::SetPageSite(IPropertyPageSite* site) {
  if (site != nullptr && m_site) return E_UNEXPECTED;
  m_site = ComPointer<IPropertyPageSite>(site);
  return S_OK;
}

HRESULT CBasePropertyPage::Activate(HWND parent, LPCRECT place, WINBOOL) {
  if (place == nullptr) return E_POINTER;
  if (!m_objectSet || m_dialog != nullptr) return E_UNEXPECTED;
  m_dialog = CreateDialogParamW(ModuleInstance(), MAKEINTRESOURCEW(m_dialogId), parent, DialogProc,
                                reinterpret_cast<LPARAM>(this));
  if (m_dialog == nullptr) {
    // Not every failure leaves a word of why.
    const HRESULT failure = HRESULT_FROM_WIN32(GetLastError());
    return FAILED(failure) ? failure : E_FAIL;
  }
  const HRESULT result = AtEdge([&] { return OnActivate(); });
  if (FAILED(result)) {
    Deactivate();
    return result;
  }
  Move(place);
  return Show(SW_SHOWNORMAL);
}

HRESULT CBasePropertyPage::Deactivate() {
  if (m_dialog == nullptr) return E_UNEXPECTED;
  const HWND dialog = m_dialog;
  m_dialog = nullptr;
  SetWindowLongPtrW(dialog, GWLP_USERDATA, 0);
  DestroyWindow(dialog);
  return S_OK;
}

HRESULT CBasePropertyPage::GetPageInfo(PROPPAGEINFO* info) {
  if (info == nullptr) return E_POINTER;
  LPOLESTR title = LoadText(m_titleId);
  if (title == nullptr) return E_OUTOFMEMORY;
  *info = {};
  info->cb = sizeof(PROPPAGEINFO);
  info->pszTitle = title;
  info->size = DialogSize();
  return S_OK;
}

// The size in pixels follows from the font, which only a dialog that stands knows.
SIZE CBasePropertyPage::DialogSize() const {
  SIZE size = {};
  const HWND dialog = CreateDialogParamW(ModuleInstance(), MAKEINTRESOURCEW(m_dialogId), GetDesktopWindow(),
                                         IgnoreMessage, 0);
  RECT place = {};
  if (dialog != nullptr && GetWindowRect(dialog, &place)) {
    size.cx = place.right - place.left;
    size.cy = place.bottom - place.top;
  }
  if (dialog != nullptr) DestroyWindow(dialog);
  return size;
}

HRESULT CBasePropertyPage::SetObjects(ULONG count, IUnknown** objects) {
  if (count == 0) {
    m_objectSet = false;
    return AtEdge([&] { return OnDisconnect(); });
  }
  if (count > 1) return E_UNEXPECTED;
  if (objects == nullptr || *objects == nullptr) return E_POINTER;
  const HRESULT result = AtEdge([&] { return OnConnect(*objects); });
  m_objectSet = SUCCEEDED(result);
  return result;
}

HRESULT CBasePropertyPage::OnConnect(IUnknown*) {
  return S_OK;
}

HRESULT CBasePropertyPage::Show(UINT command) {
  if (m_dialog == nullptr) return E_UNEXPECTED;
  if (command != SW_SHOW && command != SW_SHOWNORMAL && command != SW_HIDE) return E_INVALIDARG;
  ShowWindow(m_dialog, static_cast<int>(command));
  return S_OK;
}

HRESULT CBasePropertyPage::Move(LPCRECT place) {
  if (m_dialog == nullptr) return E_UNEXPECTED;
  if (place == nullptr) return E_POINTER;
  MoveWindow(m_dialog, place->left, place->top, place->right - place->left, place->bottom - place->top, TRUE);
  return S_OK;
}

HRESULT CBasePropertyPage::IsPageDirty() {
  return S_FALSE;
}

HRESULT CBasePropertyPage::Apply() {
  return m_objectSet && m_site ? S_OK : E_UNEXPECTED;
}

HRESULT CBasePropertyPage::Help(LPCOLESTR) {
  return E_NOTIMPL;
}

HRESULT CBasePropertyPage::TranslateAccelerator(MSG*) {
  return E_NOTIMPL;
}

INT_PTR CBasePropertyPage::OnReceiveMessage(HWND, UINT, WPARAM, LPARAM) {
  return FALSE;
}

INT_PTR CALLBACK CBasePropertyPage::DialogProc(HWND dialog, UINT message, WPARAM wide, LPARAM extra) {
  if (message == WM_INITDIALOG) {
    SetWindowLongPtrW(dialog, GWLP_USERDATA, extra);
    std::bit_cast<CBasePropertyPage*>(extra)->m_dialog = dialog;
  }
  // Fonts and sizes are told before the page is, and some messages come after it has gone.
  auto* page = std::bit_cast<CBasePropertyPage*>(GetWindowLongPtrW(dialog, GWLP_USERDATA));
  if (page == nullptr) return FALSE;
  INT_PTR handled = FALSE;
  AtEdge([&] {
    handled = page->OnReceiveMessage(dialog, message, wide, extra);
    return S_OK;
  });
  return handled;
}

}  // namespace kt

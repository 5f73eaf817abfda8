#pragma once

#include <ocidl.h>

#include <string>

#include "module/com/com_pointer.h"
#include "module/com/unknown.h"

namespace kt {

/// A property page that is a dialog of the module's resources and shows things; it changes none.
///
/// Its owner's frame hands it one object, activates it, and takes both back; all on the frame's thread.
class CBasePropertyPage : public CUnknown, public IPropertyPage {
 public:
  /// `dialog` and `title` are the identifiers of a dialog and a string of the module.
  CBasePropertyPage(IUnknown* owner, int dialog, UINT title);
  ~CBasePropertyPage() override;
  DECLARE_IUNKNOWN
  HRESULT NonDelegatingQueryInterface(REFIID iid, void** object) override;

  HRESULT STDMETHODCALLTYPE SetPageSite(IPropertyPageSite* site) override;
  HRESULT STDMETHODCALLTYPE Activate(HWND parent, LPCRECT place, WINBOOL modal) override;
  HRESULT STDMETHODCALLTYPE Deactivate() override;
  HRESULT STDMETHODCALLTYPE GetPageInfo(PROPPAGEINFO* info) override;
  HRESULT STDMETHODCALLTYPE SetObjects(ULONG count, IUnknown** objects) override;
  HRESULT STDMETHODCALLTYPE Show(UINT command) override;
  HRESULT STDMETHODCALLTYPE Move(LPCRECT place) override;
  HRESULT STDMETHODCALLTYPE IsPageDirty() override;
  HRESULT STDMETHODCALLTYPE Apply() override;
  HRESULT STDMETHODCALLTYPE Help(LPCOLESTR folder) override;
  HRESULT STDMETHODCALLTYPE TranslateAccelerator(MSG* message) override;

 protected:
  /// The page is handed its object. A failure leaves the page without one.
  virtual HRESULT OnConnect(IUnknown* object);
  /// The page has to let go of it; may come more than once.
  virtual HRESULT OnDisconnect() { return S_OK; }
  /// The dialog stands, and is about to be shown. A failure takes it away again.
  virtual HRESULT OnActivate() { return S_OK; }
  /// A message of the dialog; TRUE when it was handled.
  virtual INT_PTR OnReceiveMessage(HWND dialog, UINT message, WPARAM wide, LPARAM extra);

  /// The dialog; null while the page is not active.
  HWND Dialog() const { return m_dialog; }

 private:
  static INT_PTR CALLBACK DialogProc(HWND dialog, UINT message, WPARAM wide, LPARAM extra);
  SIZE DialogSize() const;

  const int m_dialogId;
  const UINT m_titleId;
  HWND m_dialog = nullptr;
  ComPointer<IPropertyPageSite> m_site;
  bool m_objectSet = false;
};

}  // namespace kt

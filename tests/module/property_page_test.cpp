#include "module/property_page.h"

#include <objbase.h>

#include <string>
#include <thread>

#include "module/com_edge.h"
#include "module/frame_test.h"

namespace kt::test {
namespace {

constexpr int kDialog = 201;
constexpr UINT kTitle = 7;
constexpr int kEdit = 1001;

class Page final : public CBasePropertyPage {
 public:
  Page() : CBasePropertyPage(nullptr, kDialog, kTitle) {}
  HRESULT m_connect = S_OK;
  HRESULT m_activate = S_OK;
  int m_disconnects = 0;
  int m_edits = 0;
  using CBasePropertyPage::Dialog;

 protected:
  HRESULT OnConnect(IUnknown*) override { return m_connect; }
  HRESULT OnDisconnect() override {
    ++m_disconnects;
    return S_OK;
  }
  HRESULT OnActivate() override {
    SetDlgItemTextW(Dialog(), kEdit, L"41");
    return m_activate;
  }
  INT_PTR OnReceiveMessage(HWND, UINT message, WPARAM wide, LPARAM) override {
    if (message != WM_COMMAND || LOWORD(wide) != kEdit || HIWORD(wide) != EN_CHANGE) return FALSE;
    ++m_edits;
    // What a page throws must not reach the window system.
    throw CResultException{E_FAIL};
  }
};

class Site final : public CUnknown, public IPropertyPageSite {
 public:
  Site() : CUnknown(nullptr) {}
  DECLARE_IUNKNOWN
  HRESULT STDMETHODCALLTYPE OnStatusChange(DWORD) override { return S_OK; }
  HRESULT STDMETHODCALLTYPE GetLocaleID(LCID*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetPageContainer(IUnknown**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE TranslateAccelerator(MSG*) override { return E_NOTIMPL; }
};

class PropertyPageTest : public FrameTest {
 protected:
  void SetUp() override {
    m_parent = CreateWindowExW(0, L"STATIC", L"frame", WS_POPUP | WS_VISIBLE, 0, 0, 400, 300, nullptr,
                               nullptr, nullptr, nullptr);
    if (m_parent == nullptr) GTEST_SKIP() << "no windows without a display";
  }
  void TearDown() override {
    if (m_parent != nullptr) DestroyWindow(m_parent);
    FrameTest::TearDown();
  }
  HWND m_parent = nullptr;
};

TEST_F(PropertyPageTest, TellsItsTitleAndSize) {
  Held<Page> page;
  EXPECT_EQ(page->GetPageInfo(nullptr), E_POINTER);
  PROPPAGEINFO info = {};
  ASSERT_EQ(page->GetPageInfo(&info), S_OK);
  EXPECT_STREQ(info.pszTitle, L"Numbers");
  EXPECT_GT(info.size.cx, 100);
  EXPECT_GT(info.size.cy, 50);
  CoTaskMemFree(info.pszTitle);
}

TEST_F(PropertyPageTest, LivesThroughTheOrderOfItsFrame) {
  Held<Page> page;
  Held<CCountingSource> source(nullptr);
  Held<Site> site;
  IUnknown* object = static_cast<IBaseFilter*>(&*source);
  const RECT place = {10, 20, 210, 140};

  EXPECT_EQ(page->Activate(m_parent, &place, FALSE), E_UNEXPECTED) << "without an object";
  EXPECT_EQ(page->SetPageSite(&*site), S_OK);
  EXPECT_EQ(page->SetPageSite(&*site), E_UNEXPECTED);
  EXPECT_EQ(page->SetObjects(1, nullptr), E_POINTER);
  ASSERT_EQ(page->SetObjects(1, &object), S_OK);
  ASSERT_EQ(page->Activate(m_parent, &place, FALSE), S_OK);
  EXPECT_EQ(page->Activate(m_parent, &place, FALSE), E_UNEXPECTED);
  EXPECT_TRUE(IsWindowVisible(page->Dialog()));
  EXPECT_EQ(GetDlgItemInt(page->Dialog(), kEdit, nullptr, FALSE), 41u);
  EXPECT_EQ(page->m_edits, 1);
  RECT now = {};
  GetWindowRect(page->Dialog(), &now);
  EXPECT_EQ(now.right - now.left, 200);

  EXPECT_EQ(page->IsPageDirty(), S_FALSE);
  EXPECT_EQ(page->Apply(), S_OK);

  EXPECT_EQ(page->Show(SW_MAXIMIZE), E_INVALIDARG);
  EXPECT_EQ(page->Show(SW_HIDE), S_OK);
  EXPECT_EQ(page->Deactivate(), S_OK);
  EXPECT_EQ(page->Deactivate(), E_UNEXPECTED);
  EXPECT_EQ(page->SetObjects(0, nullptr), S_OK);
  EXPECT_EQ(page->SetObjects(0, nullptr), S_OK);
  EXPECT_EQ(page->m_disconnects, 2);
  EXPECT_EQ(page->Activate(m_parent, &place, FALSE), E_UNEXPECTED);
  EXPECT_EQ(page->SetPageSite(nullptr), S_OK);
}

// A page that could not take its object, or not show it, leaves no window.
TEST_F(PropertyPageTest, StaysInactiveWhenItFails) {
  Held<Page> page;
  Held<CCountingSource> source(nullptr);
  IUnknown* object = static_cast<IBaseFilter*>(&*source);
  const RECT place = {0, 0, 100, 100};
  page->m_connect = E_NOINTERFACE;
  EXPECT_EQ(page->SetObjects(1, &object), E_NOINTERFACE);
  EXPECT_EQ(page->Activate(m_parent, &place, FALSE), E_UNEXPECTED);
  page->m_connect = S_OK;
  page->m_activate = E_ABORT;
  ASSERT_EQ(page->SetObjects(1, &object), S_OK);
  EXPECT_EQ(page->Activate(m_parent, &place, FALSE), E_ABORT);
  EXPECT_EQ(page->Dialog(), nullptr);
}

}  // namespace
}  // namespace kt::test

#include "module/property_page.h"

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
  HRESULT Activate(Page& page) {
    const RECT place = {10, 20, 210, 140};
    return page.Activate(m_parent, &place, FALSE);
  }
  HWND m_parent = nullptr;
};

// Frames differ in what they call twice, and in which order. A page that could not take its object, or not
// show it, leaves no window.
TEST_F(PropertyPageTest, LivesThroughTheOrderOfItsFrame) {
  Held<Page> page;
  Held<CRecordingSink> shown;
  IUnknown* object = static_cast<IBaseFilter*>(&*shown);
  EXPECT_EQ(Activate(*page), E_UNEXPECTED) << "without an object";
  EXPECT_EQ(page->SetObjects(1, nullptr), E_POINTER);
  page->m_connect = E_NOINTERFACE;
  EXPECT_EQ(page->SetObjects(1, &object), E_NOINTERFACE);
  EXPECT_EQ(Activate(*page), E_UNEXPECTED);
  page->m_connect = S_OK;
  ASSERT_EQ(page->SetObjects(1, &object), S_OK);
  page->m_activate = E_ABORT;
  EXPECT_EQ(Activate(*page), E_ABORT);
  EXPECT_EQ(page->Dialog(), nullptr);
  page->m_activate = S_OK;
  ASSERT_EQ(Activate(*page), S_OK);
  EXPECT_EQ(Activate(*page), E_UNEXPECTED);
  RECT now = {};
  GetWindowRect(page->Dialog(), &now);
  EXPECT_EQ(now.right - now.left, 200);
  EXPECT_EQ(GetDlgItemInt(page->Dialog(), kEdit, nullptr, FALSE), 41u);
  EXPECT_EQ(page->m_edits, 2);

  EXPECT_EQ(page->Show(SW_MAXIMIZE), E_INVALIDARG);
  EXPECT_EQ(page->Deactivate(), S_OK);
  EXPECT_EQ(page->Deactivate(), E_UNEXPECTED);
  EXPECT_EQ(page->SetObjects(0, nullptr), S_OK);
  EXPECT_EQ(page->SetObjects(0, nullptr), S_OK);
  EXPECT_EQ(page->m_disconnects, 2);
  EXPECT_EQ(Activate(*page), E_UNEXPECTED);
}

}  // namespace
}  // namespace kt::test

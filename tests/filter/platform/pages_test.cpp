// The property pages as hosts show them: in the frame that the platform makes for what the filter names.

#include <windows.h>

#include <commctrl.h>
#include <objbase.h>
#include <olectl.h>

#include <cwchar>
#include <thread>

#include "filter/platform/page_resources.h"
#include "filter/platform/source_host.h"

namespace kt::test {
namespace {

constexpr wchar_t kCaption[] = L"Ketral pages";

/// The text of a control of a window of this program, whatever its thread.
std::string TextOf(HWND dialog, int control) {
  char text[100] = {};
  GetDlgItemTextA(dialog, control, text, sizeof text);
  return text;
}

/// The pages of a filter on the screen.
class Frame {
 public:
  explicit Frame(IUnknown* object) {
    ComPointer<ISpecifyPropertyPages> specified;
    EXPECT_EQ(object->QueryInterface(IID_ISpecifyPropertyPages, specified.PutVoid()), S_OK);
    EXPECT_EQ(specified->GetPages(&m_pages), S_OK);
    m_thread = std::thread([this, object] {
      CoInitializeEx(nullptr, COINIT_MULTITHREADED);
      IUnknown* objects[] = {object};
      m_result = OleCreatePropertyFrame(nullptr, 0, 0, kCaption, 1, objects, m_pages.cElems, m_pages.pElems,
                                        0, 0, nullptr);
      CoUninitialize();
    });
    Eventually([&] { return IsWindowVisible(Window()) != FALSE; });
  }
  Frame(const Frame&) = delete;
  Frame& operator=(const Frame&) = delete;
  ~Frame() {
    // Posted, because the frame looks whether it is to end between messages of its own queue.
    PostMessageW(Window(), PSM_PRESSBUTTON, PSBTN_CANCEL, 0);
    m_thread.join();
    EXPECT_EQ(m_result, S_OK);
    CoTaskMemFree(m_pages.pElems);
  }
  /// Turns to a page and returns its dialog, which the platform puts into one of its own.
  HWND Page(int index) {
    SendMessageW(Window(), PSM_SETCURSEL, static_cast<WPARAM>(index), 0);
    return GetWindow(reinterpret_cast<HWND>(SendMessageW(Window(), PSM_GETCURRENTPAGEHWND, 0, 0)), GW_CHILD);
  }
  /// The platform puts words of its own around the caption.
  HWND Window() {
    HWND window = nullptr;
    EnumWindows(IsOther, reinterpret_cast<LPARAM>(&window));
    return window;
  }

 private:
  static WINBOOL CALLBACK IsOther(HWND top, LPARAM found) {
    wchar_t title[100] = {};
    GetWindowTextW(top, title, static_cast<int>(std::size(title)));
    if (std::wcsstr(title, kCaption) == nullptr) return TRUE;
    *reinterpret_cast<HWND*>(found) = top;
    return FALSE;
  }

  CAUUID m_pages = {};
  HRESULT m_result = E_FAIL;
  std::thread m_thread;
};

using PagesTest = SourceTest;

/// What the labels of the track page say.
std::string LabelsOf(HWND page) {
  std::string text = TextOf(page, LABEL_TRACK_COUNT) + " " + TextOf(page, LABEL_MOVIE_TIME_SCALE) + " |";
  for (const int label :
       {LABEL_TRACK_ID, LABEL_MEDIA_TYPE, LABEL_SAMPLE_COUNT, LABEL_TIME_SCALE, LABEL_DURATION}) {
    text += " " + TextOf(page, label);
  }
  return text;
}

// The tracks and the movie's ticks per second; number and type of a track, its samples, ticks per second and
// milliseconds. Beyond the last track there is nothing to tell, which is no failure; text that is no number
// leaves what was shown.
TEST_F(PagesTest, ShowWhatTheFileHas) {
  const std::string first = "2 1000 | 1 Video 100 12800 4000", second = "2 1000 | 2 Audio 174 44100 4000";
  const std::pair<const wchar_t*, std::string> kTyped[] = {
      {L"2", second}, {L"", second}, {L"3", "2 1000 | 0  0 0 0"}, {L"1", first}};
  PlayedSource source;
  {
    Frame frame(source.Filter());
    EXPECT_EQ(LabelsOf(frame.Page(1)), "0 1000 | 0  0 0 0");
  }
  EXPECT_EQ(source.Load(MediaFile(L"bframes-aac.mp4")), S_OK);
  Frame frame(source.Filter());
  const HWND page = frame.Page(1);
  ASSERT_NE(page, nullptr);
  EXPECT_EQ(TextOf(page, EDIT_TRACK), "1");
  EXPECT_EQ(LabelsOf(page), first);
  for (const auto& [typed, shown] : kTyped) {
    SetDlgItemTextW(page, EDIT_TRACK, typed);
    EXPECT_EQ(LabelsOf(page), shown);
  }
  // As the upper of the buttons beside the number does it.
  SendDlgItemMessageW(page, SPIN_TRACK, UDM_SETPOS32, 0, 2);
  EXPECT_EQ(LabelsOf(page), second);
  int last = 0;
  SendDlgItemMessageW(page, SPIN_TRACK, UDM_GETRANGE32, 0, reinterpret_cast<LPARAM>(&last));
  EXPECT_EQ(last, 2);
}

// Frames differ in what they call twice, and in which order. A page that was refused its object, be it a
// second one, leaves no window.
TEST_F(PagesTest, LiveThroughTheOrderOfTheirFrame) {
  PlayedSource source;
  const Held<CRecordingSink> sink;
  IUnknown* object = source.Filter();
  IUnknown* other = static_cast<IBaseFilter*>(&*sink);
  const auto page = Made<IPropertyPage>(::CLSID_KtMp4FileReaderPropertyPage);
  ASSERT_TRUE(page);
  const auto activate = [&] {
    const RECT place = {10, 20, 210, 140};
    return page->Activate(GetDesktopWindow(), &place, FALSE);
  };
  EXPECT_EQ(activate(), E_UNEXPECTED) << "without an object";
  EXPECT_EQ(page->SetObjects(1, nullptr), E_POINTER);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(page->SetObjects(1, &other), E_NOINTERFACE);
    EXPECT_EQ(activate(), E_UNEXPECTED);
    EXPECT_EQ(page->SetObjects(1, &object), S_OK);
  }
  EXPECT_EQ(activate(), S_OK);
  EXPECT_EQ(activate(), E_UNEXPECTED);
  EXPECT_EQ(page->Show(SW_MAXIMIZE), E_INVALIDARG);
  EXPECT_EQ(page->Deactivate(), S_OK);
  EXPECT_EQ(page->Deactivate(), E_UNEXPECTED);
  EXPECT_EQ(page->SetObjects(0, nullptr), S_OK);
  EXPECT_EQ(page->SetObjects(0, nullptr), E_UNEXPECTED);
  EXPECT_EQ(activate(), E_UNEXPECTED);
}

TEST_F(PagesTest, TellWhatTheFilterIs) {
  PlayedSource source;
  Frame frame(source.Filter());
  const HWND page = frame.Page(0);
  ASSERT_NE(page, nullptr);
  std::string lines;
  for (HWND child = GetWindow(page, GW_CHILD); child != nullptr; child = GetWindow(child, GW_HWNDNEXT)) {
    char line[100] = {};
    GetWindowTextA(child, line, sizeof line);
    lines += std::string(line) + "\n";
  }
  EXPECT_NE(lines.find("MPEG-4 File Reader Filter\n"), std::string::npos) << lines;
  EXPECT_NE(lines.find("ISO/IEC 14496\n"), std::string::npos) << lines;
  const auto logo =
      reinterpret_cast<HBITMAP>(SendDlgItemMessageW(page, CONTROL_LOGO, STM_GETIMAGE, IMAGE_BITMAP, 0));
  BITMAP bitmap = {};
  EXPECT_NE(GetObjectW(logo, sizeof bitmap, &bitmap), 0);
  EXPECT_EQ(bitmap.bmWidth, 96);
  const std::pair<CLSID, const wchar_t*> kTitles[] = {{::CLSID_KtMp4FileReaderAboutPage, L"About"},
                                                      {::CLSID_KtMp4FileReaderPropertyPage, L"Basic"}};
  for (const auto& [clsid, title] : kTitles) {
    PROPPAGEINFO info = {};
    ASSERT_EQ(Made<IPropertyPage>(clsid)->GetPageInfo(&info), S_OK);
    EXPECT_STREQ(info.pszTitle, title);
    CoTaskMemFree(info.pszTitle);
  }
}

}  // namespace
}  // namespace kt::test

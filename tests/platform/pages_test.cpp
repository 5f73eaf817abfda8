// The property pages as hosts show them: in the frame that the platform makes for what the filter names.

#include <windows.h>

#include <commctrl.h>
#include <objbase.h>
#include <olectl.h>

#include <cwchar>
#include <thread>

#include "filter/platform/page_resources.h"
#include "platform/source_host.h"

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
    EnumWindows(
        [](HWND top, LPARAM found) -> WINBOOL {
          wchar_t title[100] = {};
          GetWindowTextW(top, title, static_cast<int>(std::size(title)));
          if (std::wcsstr(title, kCaption) == nullptr) return TRUE;
          *reinterpret_cast<HWND*>(found) = top;
          return FALSE;
        },
        reinterpret_cast<LPARAM>(&window));
    return window;
  }

 private:
  CAUUID m_pages = {};
  HRESULT m_result = E_FAIL;
  std::thread m_thread;
};

using PagesTest = SourceTest;

/// In place of what is typed: the upper of the buttons beside the number.
constexpr const wchar_t* kUp = L"up";

struct PageRow {
  const wchar_t* file;
  /// What is typed for the track, and what is shown then.
  std::vector<std::pair<const wchar_t*, const char*>> typed;
};

// The tracks and the movie's ticks per second; number and type of a track, its samples, ticks per second and
// milliseconds. Beyond the last track there is nothing to tell, which is no failure; text that is no number
// leaves what was shown.
const PageRow kRows[] = {
    {L"bframes-aac.mp4",
     {{nullptr, "2 1000 | 1 Video 100 12800 4000"},
      {L"2", "2 1000 | 2 Audio 174 44100 4000"},
      {L"", "2 1000 | 2 Audio 174 44100 4000"},
      {L"3", "2 1000 | 0  0 0 0"},
      {L"1", "2 1000 | 1 Video 100 12800 4000"},
      {kUp, "2 1000 | 2 Audio 174 44100 4000"}}},
    {L"aac.m4a", {{nullptr, "1 1000 | 1 Audio 66 22050 3000"}}},
    {L"h263.3gp", {{nullptr, "1 1000 | 1 Video 45 61440 3000"}}},
    {nullptr, {{nullptr, "0 1000 | 0  0 0 0"}, {L"2", "0 1000 | 0  0 0 0"}}},
};

/// What the labels of the track page say.
std::string LabelsOf(HWND page) {
  std::string text = TextOf(page, LABEL_TRACK_COUNT) + " " + TextOf(page, LABEL_MOVIE_TIME_SCALE) + " |";
  for (const int label :
       {LABEL_TRACK_ID, LABEL_MEDIA_TYPE, LABEL_SAMPLE_COUNT, LABEL_TIME_SCALE, LABEL_DURATION}) {
    text += " " + TextOf(page, label);
  }
  return text;
}

TEST_F(PagesTest, ShowWhatTheFileHas) {
  for (const PageRow& row : kRows) {
    PlayedSource source;
    EXPECT_TRUE(row.file == nullptr || source.Load(MediaFile(row.file)) == S_OK);
    Frame frame(source.Filter());
    const HWND page = frame.Page(1);
    ASSERT_NE(page, nullptr);
    EXPECT_EQ(TextOf(page, EDIT_TRACK), "1");
    for (const auto& [typed, shown] : row.typed) {
      if (typed == kUp) SendDlgItemMessageW(page, SPIN_TRACK, UDM_SETPOS32, 0, 2);
      if (typed != nullptr && typed != kUp) SetDlgItemTextW(page, EDIT_TRACK, typed);
      EXPECT_EQ(LabelsOf(page), shown);
    }
    int last = 0;
    SendDlgItemMessageW(page, SPIN_TRACK, UDM_GETRANGE32, 0, reinterpret_cast<LPARAM>(&last));
    EXPECT_EQ(std::to_string(last), TextOf(page, LABEL_TRACK_COUNT));
  }
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
}

}  // namespace
}  // namespace kt::test

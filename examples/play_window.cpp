// Plays a file in a window, by the source filter and the decoders that are installed. The filter has to be
// registered. Escape or closing the window ends it, and so does the end of the film.
#include <windows.h>

#include <control.h>
#include <dshow.h>
#include <evcode.h>
#include <ktmp4/ktmp4source.h>

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <string>

#include "graph_support.h"

namespace {

constexpr UINT kGraphEvent = WM_APP;
constexpr UINT_PTR kTitleTimer = 1;
constexpr LONGLONG kSecond = 10'000'000;
constexpr LONGLONG kStep = 5 * kSecond;
// Of a window without pictures.
constexpr long kPlainWidth = 480, kPlainHeight = 120;
constexpr long kSmallWidth = 320;

class Player {
 public:
  explicit Player(std::wstring title) : m_title(std::move(title)) {}
  ~Player() {
    if (m_control.Get() != nullptr) m_control->Stop();
    // Its owner goes before the graph does; without one it would be a window on the screen.
    if (m_video.Get() != nullptr) {
      m_video->put_Visible(OAFALSE);
      m_video->put_Owner(0);
    }
    if (m_window != nullptr) DestroyWindow(m_window);
  }

  HRESULT Open(const wchar_t* name);
  HRESULT Show();
  /// Until the film ends, or somebody ends it.
  HRESULT Play();

 private:
  static LRESULT CALLBACK Answer(HWND window, UINT message, WPARAM first, LPARAM second);
  HRESULT RenderOnPlainRenderer(IBaseFilter* source);
  HRESULT RenderPins(IBaseFilter* source);
  void OnKey(WPARAM key);
  void OnGraphEvents();
  void Seek(LONGLONG position);
  void LayOut();
  void WriteTitle();

  const std::wstring m_title;
  Reference<IGraphBuilder> m_graph;
  Reference<IMediaControl> m_control;
  Reference<IMediaEventEx> m_events;
  Reference<IMediaSeeking> m_seeking;
  Reference<IVideoWindow> m_video;
  HWND m_window = nullptr;
  long m_width = 0;  // of the pictures; 0 without any
  long m_height = 0;
  bool m_isPaused = false;
  HRESULT m_result = S_OK;
};

HRESULT Player::Open(const wchar_t* name) {
  HRESULT result = m_graph.Create(CLSID_FilterGraph, IID_IGraphBuilder);
  if (SUCCEEDED(result)) result = m_control.From(m_graph.Get(), IID_IMediaControl);
  if (SUCCEEDED(result)) result = m_events.From(m_graph.Get(), IID_IMediaEventEx);
  if (SUCCEEDED(result)) result = m_seeking.From(m_graph.Get(), IID_IMediaSeeking);
  Reference<IBaseFilter> source;
  if (SUCCEEDED(result)) result = source.Create(CLSID_KtMp4FileReader, IID_IBaseFilter);
  if (SUCCEEDED(result)) result = m_graph->AddFilter(source.Get(), L"Source");
  Reference<IFileSourceFilter> loader;
  if (SUCCEEDED(result)) result = loader.From(source.Get(), IID_IFileSourceFilter);
  if (SUCCEEDED(result)) result = loader->Load(name, nullptr);
  return SUCCEEDED(result) ? RenderOnPlainRenderer(source.Get()) : result;
}

/// The plain renderer shows the pictures, which needs nothing of a graphics card: what is in a graph is taken
/// ahead of what is only installed. Without pictures it goes again.
HRESULT Player::RenderOnPlainRenderer(IBaseFilter* source) {
  Reference<IBaseFilter> renderer;
  if (SUCCEEDED(renderer.Create(CLSID_VideoRenderer, IID_IBaseFilter))) {
    m_graph->AddFilter(renderer.Get(), L"Pictures");
  }
  const HRESULT result = RenderPins(source);
  Reference<IEnumPins> pins;
  Reference<IPin> input, peer;
  const bool isUsed = renderer.Get() != nullptr && SUCCEEDED(renderer->EnumPins(pins.Put())) &&
                      pins->Next(1, input.Put(), nullptr) == S_OK && input->ConnectedTo(peer.Put()) == S_OK;
  if (renderer.Get() != nullptr && !isUsed) m_graph->RemoveFilter(renderer.Get());
  return result;
}

/// Plays what can be played, and tells the rest. Without any track VFW_E_CANNOT_RENDER.
HRESULT Player::RenderPins(IBaseFilter* source) {
  Reference<IEnumPins> pins;
  HRESULT result = source->EnumPins(pins.Put());
  if (FAILED(result)) return result;
  result = VFW_E_CANNOT_RENDER;
  for (;;) {
    Reference<IPin> pin;
    if (pins->Next(1, pin.Put(), nullptr) != S_OK) return result;
    const HRESULT rendered = m_graph->Render(pin.Get());
    if (SUCCEEDED(rendered)) {
      result = S_OK;
      continue;
    }
    PIN_INFO info = {};
    if (FAILED(pin->QueryPinInfo(&info))) continue;
    if (info.pFilter != nullptr) info.pFilter->Release();
    std::fprintf(stderr, "play_window: \"%ls\" does not play, no decoder or device takes it: %ls\n",
                 info.achName, ResultName(rendered).c_str());
  }
}

HRESULT Player::Show() {
  WNDCLASSW kind = {};
  kind.lpfnWndProc = Answer;
  kind.hInstance = GetModuleHandleW(nullptr);
  kind.hCursor = LoadCursorW(nullptr, MAKEINTRESOURCEW(32512));  // the arrow
  kind.hbrBackground = static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH));
  kind.lpszClassName = L"Ketral MP4 window";
  RegisterClassW(&kind);

  Reference<IBasicVideo> pictures;
  if (SUCCEEDED(pictures.From(m_graph.Get(), IID_IBasicVideo)) &&
      FAILED(pictures->GetVideoSize(&m_width, &m_height))) {
    m_width = m_height = 0;
  }
  RECT area = {0, 0, m_width > 0 ? m_width : kPlainWidth, m_width > 0 ? m_height : kPlainHeight};
  if (area.right < kSmallWidth) area = {0, 0, area.right * 2, area.bottom * 2};
  AdjustWindowRect(&area, WS_OVERLAPPEDWINDOW, FALSE);
  m_window = CreateWindowW(kind.lpszClassName, m_title.c_str(), WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN,
                           CW_USEDEFAULT, CW_USEDEFAULT, area.right - area.left, area.bottom - area.top,
                           nullptr, nullptr, kind.hInstance, nullptr);
  if (m_window == nullptr) return HRESULT_FROM_WIN32(GetLastError());
  SetWindowLongPtrW(m_window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));

  HRESULT result = m_events->SetNotifyWindow(reinterpret_cast<OAHWND>(m_window), kGraphEvent, 0);
  if (SUCCEEDED(result) && m_width > 0) {
    result = m_video.From(m_graph.Get(), IID_IVideoWindow);
    if (SUCCEEDED(result)) result = m_video->put_Owner(reinterpret_cast<OAHWND>(m_window));
    if (SUCCEEDED(result)) result = m_video->put_WindowStyle(WS_CHILD | WS_CLIPSIBLINGS);
    // Keys go to the player wherever they are pressed.
    if (SUCCEEDED(result)) result = m_video->put_MessageDrain(reinterpret_cast<OAHWND>(m_window));
  }
  if (FAILED(result)) return result;
  LayOut();
  ShowWindow(m_window, SW_SHOWNORMAL);
  SetForegroundWindow(m_window);
  return S_OK;
}

HRESULT Player::Play() {
  const HRESULT result = m_control->Run();
  if (FAILED(result)) return result;
  SetTimer(m_window, kTitleTimer, 250, nullptr);
  MSG message;
  while (GetMessageW(&message, nullptr, 0, 0) > 0) {
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
  return m_result;
}

LRESULT CALLBACK Player::Answer(HWND window, UINT message, WPARAM first, LPARAM second) {
  Player* const player = reinterpret_cast<Player*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  if (player == nullptr) return DefWindowProcW(window, message, first, second);
  switch (message) {
    case WM_CLOSE:
      PostQuitMessage(0);
      return 0;
    case WM_KEYDOWN:
      player->OnKey(first);
      return 0;
    case WM_SIZE:
      player->LayOut();
      return 0;
    case WM_TIMER:
      player->WriteTitle();
      return 0;
    case kGraphEvent:
      player->OnGraphEvents();
      return 0;
    default:
      return DefWindowProcW(window, message, first, second);
  }
}

void Player::OnKey(WPARAM key) {
  LONGLONG position = 0;
  m_seeking->GetCurrentPosition(&position);
  switch (key) {
    case VK_ESCAPE:
      PostQuitMessage(0);
      break;
    case VK_SPACE:
      m_isPaused = !m_isPaused;
      if (m_isPaused) {
        m_control->Pause();
      } else {
        m_control->Run();
      }
      break;
    case VK_LEFT:
      Seek(std::max(position - kStep, 0LL));
      break;
    case VK_RIGHT:
      Seek(position + kStep);
      break;
    case VK_HOME:
      Seek(0);
      break;
    default:
      return;
  }
  WriteTitle();
}

/// Beyond the end there is nothing to see.
void Player::Seek(LONGLONG position) {
  LONGLONG duration = 0;
  if (FAILED(m_seeking->GetDuration(&duration)) || position >= duration) return;
  m_seeking->SetPositions(&position, AM_SEEKING_AbsolutePositioning, nullptr, AM_SEEKING_NoPositioning);
}

void Player::OnGraphEvents() {
  long code = 0;
  LONG_PTR first = 0, second = 0;
  while (m_events->GetEvent(&code, &first, &second, 0) == S_OK) {
    const HRESULT failure = static_cast<HRESULT>(first);
    m_events->FreeEventParams(code, first, second);
    if (code == EC_ERRORABORT || code == EC_STREAM_ERROR_STOPPED) {
      m_result = FAILED(failure) ? failure : E_FAIL;
    } else if (code != EC_COMPLETE && code != EC_USERABORT) {
      continue;
    }
    PostQuitMessage(0);
  }
}

/// The pictures as large as they fit, and not distorted.
void Player::LayOut() {
  if (m_video.Get() == nullptr) return;
  RECT room = {};
  GetClientRect(m_window, &room);
  const long width = std::min<long>(room.right, MulDiv(room.bottom, m_width, m_height));
  const long height = MulDiv(width, m_height, m_width);
  m_video->SetWindowPosition((room.right - width) / 2, (room.bottom - height) / 2, width, height);
}

void Player::WriteTitle() {
  LONGLONG position = 0, duration = 0;
  m_seeking->GetCurrentPosition(&position);
  m_seeking->GetDuration(&duration);
  const auto text = [](LONGLONG time) {
    wchar_t clock[32] = {};
    const long long seconds = time / kSecond;
    std::swprintf(clock, 32, L"%lld:%02lld", seconds / 60, seconds % 60);
    return std::wstring(clock);
  };
  const std::wstring title = m_title + L"  " + text(position) + L" of " + text(duration);
  SetWindowTextW(m_window, (m_isPaused ? title + L"  (paused)" : title).c_str());
}

/// "film.mp4" of a file or a URL.
std::wstring NameAlone(const std::wstring& name) {
  const std::wstring whole = name.find(L"://") == name.npos ? name : name.substr(0, name.find(L'&'));
  return whole.substr(whole.find_last_of(L"/\\:") + 1);
}

HRESULT PlayInWindow(const wchar_t* name, const std::wstring& title) {
  Player player(title);
  HRESULT result = player.Open(name);
  if (SUCCEEDED(result)) result = player.Show();
  return SUCCEEDED(result) ? player.Play() : result;
}

}  // namespace

int main() {
  int count = 0;
  LPWSTR* const words = CommandLineToArgvW(GetCommandLineW(), &count);
  if (words == nullptr || count < 2 || count > 3) {
    std::fprintf(stderr,
                 "play_window FILE|URL [TITLE]\n"
                 "Plays a file in a window. Space holds it, the arrows go 5 seconds back or on, Home to the "
                 "begin; Escape ends.\n");
    return 2;
  }
  const std::wstring title = count == 3 ? words[2] : NameAlone(words[1]);
  HRESULT result = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  if (SUCCEEDED(result)) {
    result = PlayInWindow(words[1], title);
    CoUninitialize();
  }
  if (FAILED(result)) {
    std::fprintf(stderr, "play_window: cannot play \"%ls\": %ls\n", title.c_str(),
                 FailureText(words[1], result).c_str());
  }
  LocalFree(words);
  return SUCCEEDED(result) ? 0 : 1;
}

// Loads a file into the source filter and prints its captions and metadata texts as they come. The filter has
// to be registered. Nothing is shown: each pin ends in a null renderer, so that no decoder is needed.
#include <windows.h>

#include <control.h>
#include <dshow.h>
#include <evcode.h>
#include <ktmp4/ktmp4source.h>

#include <cstdio>
#include <cwchar>
#include <string>

#include "graph_support.h"

namespace {

// The null renderer of the platform; not every SDK names it.
constexpr GUID kNullRenderer = {0xc1f400a4, 0x3f08, 0x11d3, {0x9f, 0x0b, 0x00, 0x60, 0x08, 0x03, 0x9e, 0x37}};

HRESULT ConnectToNothing(IGraphBuilder* graph, IPin* output) {
  Reference<IBaseFilter> renderer;
  HRESULT result = renderer.Create(kNullRenderer, IID_IBaseFilter);
  if (SUCCEEDED(result)) result = graph->AddFilter(renderer.Get(), nullptr);
  Reference<IEnumPins> pins;
  if (SUCCEEDED(result)) result = renderer->EnumPins(pins.Put());
  Reference<IPin> input;
  if (SUCCEEDED(result)) result = pins->Next(1, input.Put(), nullptr) == S_OK ? S_OK : E_UNEXPECTED;
  return SUCCEEDED(result) ? graph->ConnectDirect(output, input.Get(), nullptr) : result;
}

/// Counts the pins in `*connected`.
HRESULT ConnectAllPins(IGraphBuilder* graph, IBaseFilter* source, int* connected) {
  Reference<IEnumPins> pins;
  HRESULT result = source->EnumPins(pins.Put());
  while (SUCCEEDED(result)) {
    Reference<IPin> pin;
    if (pins->Next(1, pin.Put(), nullptr) != S_OK) break;
    result = ConnectToNothing(graph, pin.Get());
    ++*connected;
  }
  return result;
}

void PrintTexts(IMetadataStorage* storage, KtMp4TextType type, const char* what) {
  UINT64 time = 0;
  char* text = nullptr;
  while (storage->GetItem(type, &time, &text) == S_OK) {
    // Below 0 ahead of a position that was sought.
    std::printf("%s %.3f s: %s\n", what, static_cast<double>(static_cast<INT64>(time)) / 1e7, text);
    CoTaskMemFree(text);
  }
}

/// The event is used for other things, too.
void PrintScreen(LONG_PTR word, LONG_PTR screen) {
  if (word == 0 || screen == 0 || std::wcscmp(reinterpret_cast<BSTR>(word), L"Text") != 0) return;
  std::printf("screen: %ls\n", reinterpret_cast<BSTR>(screen));
}

/// Ends with the stream, with a failure of the play, or when the graph tells nothing any more.
HRESULT WatchUntilTheEnd(IMediaEvent* events, IMetadataStorage* storage) {
  for (;;) {
    long code = 0;
    LONG_PTR first = 0, second = 0;
    const HRESULT got = events->GetEvent(&code, &first, &second, 100);
    if (FAILED(got) && got != E_ABORT) return got;
    if (got != S_OK) {
      Sleep(10);
      continue;
    }
    if (code == EC_KTMP4_CAPTION) PrintTexts(storage, KTMP4_TEXT_CAPTIONS, "caption");
    if (code == EC_KTMP4_METADATA) PrintTexts(storage, KTMP4_TEXT_METADATA, "metadata");
    if (code == EC_OLE_EVENT) PrintScreen(first, second);
    const HRESULT failure = static_cast<HRESULT>(first);
    events->FreeEventParams(code, first, second);
    if (code == EC_COMPLETE || code == EC_USERABORT) return S_OK;
    if (code == EC_ERRORABORT || code == EC_STREAM_ERROR_STOPPED) return FAILED(failure) ? failure : E_FAIL;
  }
}

HRESULT Watch(const wchar_t* name) {
  Reference<IGraphBuilder> graph;
  HRESULT result = graph.Create(CLSID_FilterGraph, IID_IGraphBuilder);
  if (FAILED(result)) return result;
  Reference<IBaseFilter> source;
  result = source.Create(CLSID_KtMp4FileReader, IID_IBaseFilter);
  if (FAILED(result)) return result;
  Reference<IFileSourceFilter> loader;
  Reference<IMetadataStorage> storage;
  Reference<IMediaControl> control;
  Reference<IMediaEvent> events;
  result = graph->AddFilter(source.Get(), L"Source");
  if (SUCCEEDED(result)) result = loader.From(source.Get(), IID_IFileSourceFilter);
  if (SUCCEEDED(result)) result = loader->Load(name, nullptr);
  if (SUCCEEDED(result)) result = storage.From(source.Get(), IID_IMetadataStorage);
  if (SUCCEEDED(result)) result = storage->Enable(KTMP4_TEXT_CAPTIONS, 1);
  if (SUCCEEDED(result)) result = storage->Enable(KTMP4_TEXT_METADATA, 1);
  int connected = 0;
  if (SUCCEEDED(result)) result = ConnectAllPins(graph.Get(), source.Get(), &connected);
  // From a file without a track that can be played nothing comes, not even an end.
  if (SUCCEEDED(result) && connected == 0) return S_OK;
  if (SUCCEEDED(result)) result = control.From(graph.Get(), IID_IMediaControl);
  if (SUCCEEDED(result)) result = events.From(graph.Get(), IID_IMediaEvent);
  if (SUCCEEDED(result)) result = control->Run();
  if (SUCCEEDED(result)) result = WatchUntilTheEnd(events.Get(), storage.Get());
  if (control.Get() != nullptr) control->Stop();
  return result;
}

// A URL is taken as it stands. Of a file the captions are wanted, which its plain name does not ask for.
std::wstring LoadedName(const std::wstring& name) {
  constexpr wchar_t kScheme[] = L"ktmp4file://";
  if (name.rfind(kScheme, 0) == 0) return name;
  wchar_t whole[MAX_PATH] = {};
  const DWORD length = GetFullPathNameW(name.c_str(), MAX_PATH, whole, nullptr);
  const bool hasDrive = length > 2 && length < MAX_PATH && whole[1] == L':';
  // Behind "&" a URL has its parameters.
  return hasDrive && name.find(L'&') == name.npos ? kScheme + std::wstring(whole) + L"&cc=on" : name;
}

}  // namespace

int main() {
  int count = 0;
  LPWSTR* const words = CommandLineToArgvW(GetCommandLineW(), &count);
  if (words == nullptr || count != 2) {
    std::fprintf(
        stderr,
        "watch_texts FILE|URL\n"
        "Plays a file without showing it, and prints captions and metadata texts as they come. A FILE is\n"
        "loaded as ktmp4file://FILE&cc=on, a URL as it stands.\n");
    return 2;
  }
  HRESULT result = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  if (SUCCEEDED(result)) {
    result = Watch(LoadedName(words[1]).c_str());
    CoUninitialize();
  }
  if (FAILED(result)) {
    std::fprintf(stderr, "watch_texts: cannot play \"%ls\": %ls\n", words[1],
                 FailureText(words[1], result).c_str());
  }
  LocalFree(words);
  return SUCCEEDED(result) ? 0 : 1;
}

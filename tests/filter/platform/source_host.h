#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include <ktmp4/ktmp4source.h>
#include <ktmp4/types.h>
#include "module/frame_test.h"
#include "module/host_graph.h"
#include "support/temp_file.h"

namespace kt::test {

/// A module's file, in memory while this lives.
class ServerModule {
 public:
  explicit ServerModule(const std::wstring& path) : m_module(LoadLibraryW(path.c_str())) {}
  ServerModule(const ServerModule&) = delete;
  ServerModule& operator=(const ServerModule&) = delete;
  ~ServerModule() { FreeLibrary(m_module); }

  bool IsThere() const { return m_module != nullptr; }
  HRESULT Register() const { return Call("DllRegisterServer"); }
  HRESULT Unregister() const { return Call("DllUnregisterServer"); }
  HRESULT CanUnload() const { return Call("DllCanUnloadNow"); }
  ComPointer<IClassFactory> Factory(REFCLSID clsid) const;
  /// Its name as the platform writes it.
  std::wstring Path() const {
    wchar_t path[500] = {};
    GetModuleFileNameW(m_module, path, 500);
    return path;
  }

 private:
  template <class Function>
  Function* Find(const char* name) const {
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(m_module, name)));
  }
  HRESULT Call(const char* name) const;

  const HMODULE m_module;
};

/// The module with the filter, and that with the companion.
std::wstring SourcePath();
std::wstring DecoderPath();

/// Connects two pins of a graph with the type that `output` offers at a position.
HRESULT ConnectByType(HostGraph& graph, IPin* output, IPin* input, ULONG position);

/// The samples that a pin has to deliver behind a seek to `position`: as the library has it, from the sync
/// sample on, and all but the last one.
std::vector<ULONG> SamplesFrom(const std::wstring& file, u32 track, i64 position);

/// A real file of the project, "Z:/.../NAME", and the URL of a file.
std::wstring MediaFile(const std::wstring& name);
std::wstring UrlOf(const std::wstring& file, const std::wstring& parameters = L"");

/// A file with a given name, alone in a folder of its own.
class NamedFile {
 public:
  NamedFile(const std::wstring& name, const std::vector<u8>& content);
  std::wstring Name() const { return m_path.wstring(); }
  const std::filesystem::path& Path() const { return m_path; }

 private:
  TempFile m_folder;
  std::filesystem::path m_path;
};

/// How a source is played.
struct PlayScript {
  SinkScript sink = {};
  /// The offered type that pins are connected with: 0 the plain, 1 the stamped one.
  ULONG typePosition = 0;
};

/// A graph with the filter, made by its class. What no test expects to fail is a failure of the test.
class PlayedSource {
 public:
  PlayedSource();
  /// The same with a file loaded and a sink at each pin.
  PlayedSource(const std::wstring& name, PlayScript script = {});
  PlayedSource(const PlayedSource&) = delete;
  PlayedSource& operator=(const PlayedSource&) = delete;
  ~PlayedSource();

  HRESULT Load(const std::wstring& name) { return As<IFileSourceFilter>()->Load(name.c_str(), nullptr); }
  /// Gives each unconnected pin a sink.
  void Connect(PlayScript script = {});

  void Run() { EXPECT_TRUE(SUCCEEDED(m_graph.m_control->Run())); }
  void Pause() { EXPECT_TRUE(SUCCEEDED(m_graph.m_control->Pause())); }
  void Stop() { EXPECT_EQ(m_graph.m_control->Stop(), S_OK); }
  /// From start to end, and stopped.
  void PlayToEnd();
  /// Seeks as a renderer does: by a pin of the source.
  HRESULT Seek(i64 position, std::size_t pin = 0);

  /// Has a pin render itself into a graph.
  HRESULT Render(std::size_t pin, IGraphBuilder* graph);

  HostGraph& Graph() { return m_graph; }
  IBaseFilter* Filter() { return m_filter.Get(); }
  template <class Interface>
  ComPointer<Interface> As() {
    return test::As<Interface>(m_filter);
  }
  std::vector<ComPointer<IPin>> Pins();
  CRecordingPin& Sink(std::size_t pin) { return (*m_sinks[pin])->Pin(); }
  std::vector<ULONG> LastSegment(std::size_t pin) { return Sink(pin).LastSegment(); }

 private:
  HostGraph m_graph;
  ComPointer<IBaseFilter> m_filter;
  std::vector<std::unique_ptr<Held<CRecordingSink>>> m_sinks;
};

/// Wine's graph manager looks up what filter the ending of a name asks for, and then takes its own reader all
/// the same. While this lives, asking for that reader leads to the filter.
class ReaderReplacement {
 public:
  ReaderReplacement() { EXPECT_EQ(CoTreatAsClass(kPlatformReader, ::CLSID_KtMp4FileReader), S_OK); }
  ReaderReplacement(const ReaderReplacement&) = delete;
  ReaderReplacement& operator=(const ReaderReplacement&) = delete;
  ~ReaderReplacement() { CoTreatAsClass(kPlatformReader, kPlatformReader); }

 private:
  static constexpr CLSID kPlatformReader = {
      0xe436ebb5, 0x524f, 0x11ce, {0x9f, 0x53, 0x00, 0x20, 0xaf, 0x0b, 0xa7, 0x70}};
};

/// A test with the module registered, which leaves nothing of it behind.
class SourceTest : public FrameTest {
 protected:
  void SetUp() override { ASSERT_EQ(m_module.Register(), S_OK); }
  void TearDown() override {
    FrameTest::TearDown();
    EXPECT_TRUE(Eventually([&] { return m_module.CanUnload() == S_OK; }))
        << "an object has outlived its test";
  }

  const ServerModule m_module{SourcePath()};
};

}  // namespace kt::test

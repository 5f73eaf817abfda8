// How texts come to an application: by its callback behind a file mapping, by queues and by events.

#include <objbase.h>
#include <process.h>
#include <vfwmsgs.h>

#include <cstring>
#include <set>
#include <thread>

#include "filter/platform/callback.h"
#include "filter/platform/reader_movie.h"
#include "filter/platform/source_host.h"

namespace kt::test {
namespace {

const std::vector<std::wstring> kAllTexts = {L"caption 0:00:00 Hi", L"metadata 0:00:00 Hello"};

/// The platform knows how to marshal the callback, from the module beside the filter's.
class TextRoadsTest : public SourceTest {
 protected:
  void SetUp() override {
    SourceTest::SetUp();
    if (!m_proxies.IsThere()) GTEST_SKIP() << "built without the marshalling of the callback";
    ASSERT_EQ(m_proxies.Register(), S_OK);
  }
  void TearDown() override {
    EXPECT_TRUE(!m_proxies.IsThere() || m_proxies.Unregister() == S_OK);
    SourceTest::TearDown();
  }

 private:
  const ServerModule m_proxies{std::filesystem::path(SourcePath()).parent_path() /
                               L"callback/ktmp4captionps.dll"};
};

/// What a process of its own does for one of the tests; that one knows how to marshal.
using TextRoadsAloneTest = SourceTest;

/// Time and text of what a queue has next; empty when it has nothing.
std::string NextText(IMetadataStorage& storage, UINT32 type) {
  UINT64 time = 0;
  char* text = nullptr;
  const HRESULT result = storage.GetItem(type, &time, &text);
  EXPECT_EQ(result, text != nullptr ? S_OK : S_FALSE);
  const std::string next = text != nullptr ? std::to_string(time) + " " + text : "";
  CoTaskMemFree(text);
  return next;
}

TEST_F(TextRoadsTest, TextsComeByCallbackQueueAndEvent) {
  const ReaderMovie movie;
  Held<Callback> callback;
  const CallbackMapping mapping(&*callback);
  {
    PlayedSource played(movie.Url(mapping.Parameter()));
    const ComPointer<IMetadataStorage> storage = played.As<IMetadataStorage>();
    // Any type but the captions' means the other queue.
    for (const int type : {static_cast<int>(KTMP4_TEXT_CAPTIONS), 7})
      EXPECT_EQ(storage->Enable(type, 1), S_OK);
    // The film is so short that a worker which gets no turn finds it over once the graph runs.
    played.Pause();
    EXPECT_TRUE(Eventually([&] { return callback->HasCome(kAllTexts[0]); }));
    played.Run();
    int rows = 0;
    int metadata = 0;
    std::vector<std::wstring> screens;
    EXPECT_TRUE(played.Graph().Comes(EC_COMPLETE, [&](long code, LONG_PTR first, LONG_PTR second) {
      const auto text = [](LONG_PTR parameter) { return std::wstring(reinterpret_cast<BSTR>(parameter)); };
      if (code == EC_KTMP4_CAPTION) ++rows;
      if (code == EC_KTMP4_METADATA) ++metadata;
      if (code == EC_OLE_EVENT && text(first) == L"Text") screens.push_back(text(second));
    }));
    EXPECT_EQ(rows, 1);
    EXPECT_EQ(metadata, 1);
    EXPECT_TRUE(std::ranges::any_of(screens, [](auto& screen) { return screen.find(L"Hi") != screen.npos; }));
    EXPECT_EQ(callback->Texts(), kAllTexts);
    EXPECT_EQ(NextText(*storage.Get(), KTMP4_TEXT_CAPTIONS), "400000 Hi");
    EXPECT_EQ(NextText(*storage.Get(), KTMP4_TEXT_METADATA), "100000 Hello");
    EXPECT_EQ(NextText(*storage.Get(), KTMP4_TEXT_METADATA), "");
    EXPECT_EQ(storage->GetItem(KTMP4_TEXT_CAPTIONS, nullptr, nullptr), E_POINTER);
  }
  // The filter keeps the callback without ever giving it back.
  callback->Release();
}

enum class Meanwhile { Stops, Seeks, Serves };

// An application with one thread, which may not be called from others: the worker waits for it and it for the
// worker. What the callback wants done has to come again later, whether a change is under way or would only
// begin, and the workers' apartment, which is theirs alone, has to outlast them.
TEST_F(TextRoadsTest, ACallbackThatIsDueDoesNotBlockAStopOrASeek) {
  const ReaderMovie movie;
  CoUninitialize();
  std::thread([&] {
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
    for (const Meanwhile meanwhile : {Meanwhile::Stops, Meanwhile::Seeks, Meanwhile::Serves}) {
      Held<Callback> callback;
      {
        const CallbackMapping mapping(static_cast<ICaptionCallback*>(&*callback));
        PlayedSource played(movie.Url(mapping.Parameter()));
        const auto seek = [&] { return played.Seek(0); };
        const auto hasCome = [&] { return callback->HasCome(kAllTexts[0]); };
        std::set<HRESULT> inside;
        callback->m_onText = [&] { inside.insert({seek(), played.Filter()->Stop()}); };
        played.Run();
        if (meanwhile == Meanwhile::Serves) {
          EXPECT_TRUE(Eventually([&] {
            // Serves what other threads want of this one.
            MSG message;
            while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
            return hasCome();
          }));
        } else {
          // Nobody serves calls here.
          Sleep(500);
          EXPECT_FALSE(hasCome());
        }
        EXPECT_EQ(meanwhile == Meanwhile::Seeks ? seek() : S_OK, S_OK);
        EXPECT_EQ(played.Filter()->Stop(), S_OK);
        EXPECT_TRUE(hasCome());
        EXPECT_EQ(inside, std::set<HRESULT>({static_cast<HRESULT>(VFW_E_WRONG_STATE)}));
        FILTER_STATE state = State_Running;
        EXPECT_EQ(played.Filter()->GetState(0, &state), S_OK);
        EXPECT_EQ(state, State_Stopped);
        played.Stop();
      }
      CoDisconnectObject(static_cast<ICaptionCallback*>(&*callback), 0);
    }
    CoUninitialize();
  }).join();
  ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
}

constexpr const wchar_t* kPlayedUrl = L"KTMP4_TEST_URL";

// Started by the test below, as a process of its own.
TEST_F(TextRoadsAloneTest, DISABLED_PlaysAUrlTwice) {
  wchar_t url[400] = {};
  ASSERT_NE(GetEnvironmentVariableW(kPlayedUrl, url, 400), 0u);
  PlayedSource played(url);
  for (int round = 0; round < 2; ++round) {
    played.PlayToEnd();
    EXPECT_EQ(played.Seek(0), S_OK);
  }
}

TEST_F(TextRoadsTest, TheCallbackIsCalledFromAnotherProcessInEachPlay) {
  const ReaderMovie movie;
  Held<Callback> callback;
  const CallbackMapping mapping(&*callback);
  SetEnvironmentVariableW(kPlayedUrl, movie.Url(mapping.Parameter()).c_str());
  const std::wstring quoted = L"\"" + ModulePath() + L"\"";
  EXPECT_EQ(_wspawnl(_P_WAIT, ModulePath().c_str(), quoted.c_str(), L"--gtest_also_run_disabled_tests",
                     L"--gtest_filter=TextRoadsAloneTest.*", nullptr),
            0);
  EXPECT_EQ(callback->Texts(),
            (std::vector<std::wstring>{kAllTexts[0], kAllTexts[0], kAllTexts[1], kAllTexts[1]}));
  CoDisconnectObject(static_cast<ICaptionCallback*>(&*callback), 0);
}

TEST(MarshallObjectTest, TheMappingIsAStreamWithAnEnd) {
  bool ok = true;
  CMarshallObject missing("ktmp4-test-nobody-made-this", false, &ok);
  EXPECT_FALSE(ok);
  char bytes[8] = "1234567";
  ULONG done = 5;
  EXPECT_EQ(missing.Read(bytes, 1, &done), S_FALSE);
  EXPECT_EQ(done, 0u);

  CMarshallObject writer(nullptr, true, &ok);
  ASSERT_TRUE(ok);
  CMarshallObject reader("KT-DEFAULT-MEMMAP", false, &ok);
  ASSERT_TRUE(ok);
  EXPECT_EQ(writer.Write(bytes, 4, nullptr), S_OK);
  EXPECT_EQ(writer.Write(bytes + 4, 4, &done), S_OK);
  EXPECT_EQ(done, 4u);
  std::vector<char> all(20'000);
  EXPECT_EQ(reader.Read(all.data(), 8, nullptr), S_OK);
  EXPECT_STREQ(all.data(), bytes);
  EXPECT_EQ(reader.Read(all.data(), 20'000 - 7, nullptr), S_FALSE) << "a byte too many";
  EXPECT_EQ(reader.Read(all.data(), 20'000 - 8, nullptr), S_OK) << "up to the end";
  EXPECT_EQ(reader.Read(all.data(), 1, nullptr), S_FALSE);
  EXPECT_EQ(reader.Seek({}, STREAM_SEEK_SET, nullptr), STG_E_INVALIDFUNCTION);
  EXPECT_EQ(reader.Commit(0), E_FAIL);

  // A stranger may have promised memory that is not there.
  const char* const name = "ktmp4-test-reserved";
  const HANDLE reserved = CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE | SEC_RESERVE, 0,
                                             KTMP4_CALLBACK_MAPPING_SIZE, name);
  CMarshallObject empty(name, false, &ok);
  EXPECT_TRUE(ok);
  EXPECT_EQ(empty.Read(all.data(), 1, nullptr), S_FALSE);
  CloseHandle(reserved);
}

}  // namespace
}  // namespace kt::test

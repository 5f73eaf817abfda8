// The filter's interfaces and pins, as a host asks them.

#include <vfwmsgs.h>

#include <chrono>
#include <thread>

#include "filter/platform/reader_movie.h"
#include "filter/platform/source_host.h"
#include "support/movie_builder.h"

namespace kt::test {
namespace {

using FilterTest = SourceTest;

constexpr HRESULT kWrongState = VFW_E_WRONG_STATE;

TEST_F(FilterTest, LoadsNames) {
  const std::wstring film = MediaFile(L"bframes-aac.mp4");
  const NamedFile accented(L"K\u00f6nig \u00df.mp4", ReadFile(film));
  const struct {
    std::wstring name;
    HRESULT result;
    // No name at all, which is not kept.
    bool isNone = false;
  } kNames[] = {{UrlOf(film, L"&cc=on&vmr9=0"), S_OK},
                {accented.Name(), S_OK},
                {film + L".missing", E_FAIL},
                {std::wstring(100'000, L'\u00e4'), E_FAIL, true}};
  for (const auto& row : kNames) {
    SCOPED_TRACE(row.name.substr(0, 300));
    PlayedSource source;
    EXPECT_EQ(source.Load(row.name), row.result);
    EXPECT_EQ(source.Pins().size(), row.result == S_OK ? 2u : 0u);
    wchar_t* name = nullptr;
    AM_MEDIA_TYPE type = {};
    type.lSampleSize = 5;
    EXPECT_EQ(source.As<IFileSourceFilter>()->GetCurFile(&name, &type), S_OK);
    EXPECT_EQ(std::wstring(name), row.isNone ? L"" : row.name);
    EXPECT_EQ(type.lSampleSize, 0u);
    CoTaskMemFree(name);
  }
  const ComPointer<IFileSourceFilter> loader = PlayedSource().As<IFileSourceFilter>();
  EXPECT_EQ(loader->Load(nullptr, nullptr), E_FAIL);
  EXPECT_EQ(loader->GetCurFile(nullptr, nullptr), E_POINTER);
}

TEST_F(FilterTest, PinsOfferTheirTypes) {
  const ReaderMovie movie;
  PlayedSource source(movie.Name());
  const struct {
    GUID major, subtype, format;
    ULONG formatSize;
    long bufferSize;
  } kTypes[] = {{::MEDIATYPE_Video, ::MEDIASUBTYPE_KtMp4Video, ::FORMAT_KtMp4Video, 106, 320 * 240 * 2 + 16},
                {::MEDIATYPE_Audio, ::MEDIASUBTYPE_KtMp4Audio, ::FORMAT_WaveFormatEx, 20, 4096 + 16},
                {::MEDIATYPE_AUXLine21Data, ::MEDIASUBTYPE_Line21_BytePair, ::GUID_NULL, 0, 150 + 16}};
  const std::vector<ComPointer<IPin>> pins = source.Pins();
  ASSERT_EQ(pins.size(), std::size(kTypes));
  for (std::size_t i = 0; i < std::size(kTypes); ++i) {
    SCOPED_TRACE(i);
    ComPointer<IEnumMediaTypes> types;
    ASSERT_EQ(pins[i]->EnumMediaTypes(types.Put()), S_OK);
    AM_MEDIA_TYPE* type = nullptr;
    ASSERT_EQ(types->Next(1, &type, nullptr), S_OK);
    EXPECT_EQ(type->majortype, kTypes[i].major);
    EXPECT_EQ(type->subtype, kTypes[i].subtype);
    EXPECT_EQ(type->formattype, kTypes[i].format);
    EXPECT_EQ(type->cbFormat, kTypes[i].formatSize);
    EXPECT_EQ(type->bFixedSizeSamples, i == 2);
    EXPECT_EQ(type->bTemporalCompression, i == 0);
    DeleteMediaType(type);
    ALLOCATOR_PROPERTIES properties = {};
    ASSERT_EQ(source.Sink(i).TakenAllocator()->GetProperties(&properties), S_OK);
    EXPECT_EQ(properties.cbBuffer, kTypes[i].bufferSize);
  }
}

// What the logic says of a sample arrives in the platform's one.
TEST_F(FilterTest, FillsTheSamplesOfThePlatform) {
  const ReaderMovie movie;
  std::vector<i64> seen;
  const auto look = [&](IMediaSample* sample) {
    // The fifth of the video alone has five bytes behind the two times.
    if (sample->GetActualDataLength() != 16 + 5) return;
    i64 start = 0, stop = 0, number = 0, next = 0;
    BYTE* bytes = nullptr;
    sample->GetTime(&start, &stop);
    sample->GetMediaTime(&number, &next);
    sample->GetPointer(&bytes);
    seen = {start, stop, number, next, sample->IsSyncPoint() == S_OK, bytes[8]};
  };
  PlayedSource(movie.Name(), {.sink = {.m_look = look}, .typePosition = 1}).PlayToEnd();
  EXPECT_EQ(seen, (std::vector<i64>{400'000, 500'000, 5, 6, 1, 40}));
}

// What is the filter's to answer and what each pin's.
TEST_F(FilterTest, AnswersForPositions) {
  const ReaderMovie movie;
  PlayedSource source(movie.Name());
  const ComPointer<IMediaSeeking> filter = source.As<IMediaSeeking>();
  LONGLONG time = 0, stop = 500'000;
  EXPECT_EQ(filter->SetPositions(nullptr, 0, &stop, AM_SEEKING_AbsolutePositioning), S_OK);
  EXPECT_EQ(filter->GetStopPosition(&time), S_OK);
  EXPECT_EQ(time, 500'000);
  EXPECT_EQ(filter->SetTimeFormat(&::TIME_FORMAT_FRAME), E_INVALIDARG);
  for (std::size_t i = 0; i < 2; ++i) {
    const auto seeking = As<IMediaSeeking>(source.Pins()[i]);
    EXPECT_EQ(seeking->GetCurrentPosition(&time), i == 0 ? S_FALSE : E_NOTIMPL);
    EXPECT_EQ(seeking->GetStopPosition(&time), S_OK);
    EXPECT_EQ(time, 1'000'000);
    EXPECT_EQ(seeking->ConvertTimeFormat(&time, nullptr, 42, &::TIME_FORMAT_MEDIA_TIME), S_OK);
    EXPECT_EQ(time, 42);
    EXPECT_EQ(seeking->ConvertTimeFormat(&time, &::TIME_FORMAT_FRAME, 42, nullptr), E_INVALIDARG);
    EXPECT_EQ(seeking->GetPositions(&time, &stop), S_FALSE) << "nothing has been played";
  }
}

// Video and sound go as fast as they are taken, captions by the clock of the graph.
TEST_F(FilterTest, CaptionsComeWhenTheyAreDue) {
  Track captions = CaptionedTrack();
  captions.stts = Stts({{4, 300}});
  captions.stsz = Stsz({3, 3, 3, 3});
  const NamedFile file(L"captions.mp4", MovieOf(captions).Build());
  PlayedSource played(file.Name());
  const auto begin = std::chrono::steady_clock::now();
  played.PlayToEnd();
  EXPECT_EQ(played.LastSegment(0).size(), 3u);
  // The third is due at 600 ms, and comes 50 ms ahead.
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(540));
}

TEST_F(FilterTest, OneGraphTakesOneReader) {
  const std::wstring film = MediaFile(L"aac.m4a");
  PlayedSource first(film);
  const auto second = Made<IBaseFilter>(::CLSID_KtMp4FileReader);
  ASSERT_EQ(first.Graph().m_builder->AddFilter(second.Get(), L"Another"), S_OK);
  EXPECT_EQ(As<IFileSourceFilter>(second)->Load(film.c_str(), nullptr), kWrongState);
  EXPECT_EQ(first.Graph().m_builder->RemoveFilter(second.Get()), S_OK);
  first.PlayToEnd();
  // A manager that lists the filter before it joins must not make it its own second.
  EXPECT_EQ(first.Filter()->JoinFilterGraph(first.Graph().m_builder.Get(), L"Again"), S_OK);
  EXPECT_EQ(first.Load(film), S_OK);
  first.Pause();
  EXPECT_EQ(first.Load(film), kWrongState) << "while workers read what it writes";
}

// A person is told and asked; the other tracks are loaded when the answer has come. Nothing may change
// meanwhile, on any thread: a message box serves whatever comes to its own.
TEST_F(FilterTest, ShowsWhatCanNotBeRead) {
  Movie broken;
  broken.tracks.resize(2);
  broken.tracks[1].stsz = {};
  const NamedFile file(L"broken.mp4", broken.Build());
  std::string said;
  PlayedSource source;
  std::jthread person([&](const std::stop_token& stopped) {
    while (!stopped.stop_requested()) {
      if (const HWND box = FindWindowA(nullptr, "MP4 Error")) {
        char text[80] = {};
        // The number of a message box's text.
        GetDlgItemTextA(box, 0xFFFF, text, sizeof text);
        said += text;
        EXPECT_EQ(source.Load(file.Name()), kWrongState);
        EXPECT_EQ(source.Filter()->Run(0), kWrongState);
        const Held<CRecordingSink> sink;
        EXPECT_EQ(source.Pins().at(0)->Connect(&sink->Pin(), nullptr), kWrongState);
        EXPECT_EQ(source.Pins().at(0)->Disconnect(), kWrongState);
        EXPECT_EQ(source.Filter()->JoinFilterGraph(source.Graph().m_builder.Get(), nullptr), kWrongState);
        PostMessageA(box, WM_COMMAND, IDOK, 0);
        return;
      }
      Sleep(10);
    }
  });
  EXPECT_EQ(source.Load(file.Name()), S_OK);
  person.request_stop();
  person.join();
  EXPECT_EQ(said, "Cannot get track");
  EXPECT_EQ(source.Filter()->Run(0), S_OK);
  EXPECT_EQ(source.Filter()->Stop(), S_OK);
}

}  // namespace
}  // namespace kt::test

// The filter as a host meets it: loading, interfaces, pins, play in the platform's graph.

#include <cstring>
#include <thread>

#include "filter/platform/platform_guid.h"
#include "module/com_pointer.h"
#include "platform/played_reader.h"
#include "platform/reader_movie.h"
#include "support/movie_builder.h"

namespace kt::test {
namespace {

class FilterTest : public FrameTest {};

TEST_F(FilterTest, LoadsNamesAndUrls) {
  const ReaderMovie movie;
  const struct {
    const char* what;
    std::wstring name;
    HRESULT result;
    ULONG pins;
  } kRows[] = {
      {"plain name", movie.Name(), S_OK, 3},
      {"URL", movie.Url(L""), S_OK, 3},
      {"no captions", movie.Url(L"&cc=off"), S_OK, 2},
      {"the scheme in capitals is none", L"KTMP4FILE://" + movie.Name(), E_FAIL, 0},
      {"parameters belong to URLs", movie.Name() + L"&cc=off", E_FAIL, 0},
      {"missing file", movie.Name() + L".missing", E_FAIL, 0},
      {"no room for the name", std::wstring(300, L'a'), E_FAIL, 0},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.what);
    Held<CMP4FileReaderFilter> reader(nullptr);
    EXPECT_EQ(reader->Load(row.name.c_str(), nullptr), row.result);
    EXPECT_EQ(reader->GetPinCount(), row.pins);
    // The name as it was given, but for one that is refused by its length.
    wchar_t* name = nullptr;
    CMediaType type;
    type.lSampleSize = 5;
    EXPECT_EQ(reader->GetCurFile(&name, &type), S_OK);
    EXPECT_EQ(std::wstring(name), row.name.size() < 256 ? row.name : L"");
    EXPECT_EQ(type.lSampleSize, 0u);
    CoTaskMemFree(name);
  }
  Held<CMP4FileReaderFilter> reader(nullptr);
  EXPECT_EQ(reader->Load(nullptr, nullptr), E_FAIL);
  EXPECT_EQ(reader->GetCurFile(nullptr, nullptr), E_POINTER);
}

TEST_F(FilterTest, ASecondLoadLeavesTheFirstPinsWithoutATrack) {
  const ReaderMovie movie;
  Held<CMP4FileReaderFilter> reader(nullptr);
  EXPECT_EQ(reader->Load(movie.Name().c_str(), nullptr), S_OK);
  EXPECT_EQ(reader->Load(movie.Url(L"&cc=off").c_str(), nullptr), S_OK);
  ASSERT_EQ(reader->GetPinCount(), 5u);
  Held<CRecordingSink> sinks[2];
  for (ULONG i = 0; i < 2; ++i) {
    EXPECT_EQ(reader->GetPin(i * 3)->Connect(&sinks[i]->Pin(), nullptr), S_OK);
    EXPECT_EQ(sinks[i]->Run(0), S_OK);
  }
  EXPECT_EQ(reader->Run(0), S_OK);
  for (ULONG i = 0; i < 2; ++i) {
    EXPECT_TRUE(Eventually([&] { return sinks[i]->Pin().Count(SinkEvent::EndOfStream) == 1; }));
    EXPECT_EQ(sinks[i]->Pin().Count(SinkEvent::Sample), i == 0 ? 0 : kReaderSamples - 1);
    EXPECT_EQ(sinks[i]->Stop(), S_OK);
  }
  EXPECT_EQ(reader->Stop(), S_OK);
  for (ULONG i = 0; i < 2; ++i) {
    reader->GetPin(i * 3)->Disconnect();
    sinks[i]->Pin().Disconnect();
  }
}

TEST_F(FilterTest, TellsTheFactsOfTheFile) {
  Held<CMP4FileReaderFilter> held(nullptr);
  ComPointer<IMP4FileReader> reader;
  ASSERT_EQ(held->QueryInterface(__uuidof(IMP4FileReader), reader.PutVoid()), S_OK);
  UINT32 number = 77;
  EXPECT_EQ(reader->GetTrackCount(&number), S_OK);
  EXPECT_EQ(number, 0u);
  EXPECT_EQ(reader->GetTrackId(0, &number), VFW_S_NO_MORE_ITEMS);

  const ReaderMovie movie;
  ASSERT_EQ(held->Load(movie.Url(L"&cc=off").c_str(), nullptr), S_OK);
  EXPECT_EQ(reader->GetTrackCount(&number), S_OK);
  EXPECT_EQ(number, 3u);
  using Getter = HRESULT (STDMETHODCALLTYPE IMP4FileReader::*)(INT32, UINT32*);
  const struct {
    Getter get;
    UINT32 values[3];
  } kRows[] = {
      {&IMP4FileReader::GetTrackId, {1, 2, 3}},
      // A caption track that is not wanted is not said to be one.
      {&IMP4FileReader::GetTrackType, {KTMP4_TRACK_VIDEO, KTMP4_TRACK_AUDIO, KTMP4_TRACK_UNKNOWN}},
      {&IMP4FileReader::GetSampleCount, {kReaderSamples, kReaderSamples, kReaderSamples}},
      {&IMP4FileReader::GetTimeScale, {1000, 1000, 1000}},
  };
  for (const auto& row : kRows) {
    for (INT32 i = 0; i < 3; ++i) {
      EXPECT_EQ((reader.Get()->*row.get)(i, &number), S_OK);
      EXPECT_EQ(number, row.values[i]);
    }
    number = 77;
    EXPECT_EQ((reader.Get()->*row.get)(-1, &number), E_INVALIDARG);
    EXPECT_EQ((reader.Get()->*row.get)(3, &number), VFW_S_NO_MORE_ITEMS);
    EXPECT_EQ(number, 77u);
    EXPECT_EQ((reader.Get()->*row.get)(0, nullptr), E_POINTER);
  }
  UINT32 movieTimeScale = 0;
  EXPECT_EQ(reader->GetMovieTimeScale(&movieTimeScale), S_OK);
  UINT64 duration = 0;
  EXPECT_EQ(reader->GetDuration(1, &duration), S_OK);
  EXPECT_EQ(duration * 1000 / movieTimeScale, u64{kReaderSamples} * 10);
}

TEST_F(FilterTest, OffersItsPagesAndItsEmptyQueues) {
  Held<CMP4FileReaderFilter> reader(nullptr);
  ComPointer<ISpecifyPropertyPages> specify;
  ASSERT_EQ(reader->QueryInterface(IID_ISpecifyPropertyPages, specify.PutVoid()), S_OK);
  CAUUID pages = {};
  ASSERT_EQ(specify->GetPages(&pages), S_OK);
  ASSERT_EQ(pages.cElems, 2u);
  EXPECT_TRUE(pages.pElems[0] == ::CLSID_KtMp4FileReaderAboutPage);
  EXPECT_TRUE(pages.pElems[1] == ::CLSID_KtMp4FileReaderPropertyPage);
  CoTaskMemFree(pages.pElems);

  ComPointer<IMetadataStorage> storage;
  ASSERT_EQ(reader->QueryInterface(__uuidof(IMetadataStorage), storage.PutVoid()), S_OK);
  UINT64 time = 5;
  char* text = nullptr;
  // Any type but the captions' enables the other queue; only two can be asked.
  EXPECT_EQ(storage->Enable(7, 1), S_OK);
  EXPECT_EQ(storage->GetItem(7, &time, &text), E_INVALIDARG);
  EXPECT_EQ(storage->GetItem(KTMP4_TEXT_METADATA, &time, &text), S_FALSE);
  EXPECT_EQ(time, 5u);
  EXPECT_EQ(storage->GetItem(KTMP4_TEXT_CAPTIONS, nullptr, &text), E_POINTER);
}

TEST_F(FilterTest, PinsOfferAndTakeTheirTypes) {
  const ReaderMovie movie;
  Held<CMP4FileReaderFilter> reader(nullptr);
  ASSERT_EQ(reader->Load(movie.Name().c_str(), nullptr), S_OK);
  const struct {
    const wchar_t* name;
    GUID major;
    GUID subtypes[2];
    GUID format;
    ULONG formatSize;
    long buffers;
    long bufferSize;
  } kRows[] = {
      {L"MPEG-4 Track Video",
       ::MEDIATYPE_Video,
       {::MEDIASUBTYPE_KtMp4Video, ::MEDIASUBTYPE_KtMp4VideoStamped},
       ::FORMAT_KtMp4Video,
       106,
       1,
       320 * 240 * 2 + 16},
      {L"MPEG-4 Track Audio",
       ::MEDIATYPE_Audio,
       {::MEDIASUBTYPE_KtMp4Audio, ::MEDIASUBTYPE_KtMp4AudioStamped},
       ::FORMAT_WaveFormatEx,
       20,
       1,
       4096 + 16},
      {L"MPEG-4 Track Line21",
       ::MEDIATYPE_AUXLine21Data,
       {::MEDIASUBTYPE_Line21_BytePair, ::GUID_NULL},
       ::GUID_NULL,
       0,
       1,
       150 + 16},
  };
  ASSERT_EQ(reader->GetPinCount(), std::size(kRows));
  for (ULONG i = 0; i < std::size(kRows); ++i) {
    CBasePin& pin = *reader->GetPin(i);
    SCOPED_TRACE(i);
    EXPECT_EQ(pin.Name(), kRows[i].name);
    ComPointer<IEnumMediaTypes> types;
    ASSERT_EQ(pin.EnumMediaTypes(types.Put()), S_OK);
    for (int position = 0; position < 2; ++position) {
      AM_MEDIA_TYPE* type = nullptr;
      ASSERT_EQ(types->Next(1, &type, nullptr), S_OK);
      const bool isText = kRows[i].formatSize == 0 && position == 1;
      EXPECT_TRUE(type->majortype == (isText ? ::MEDIATYPE_Text : kRows[i].major));
      EXPECT_TRUE(type->subtype == kRows[i].subtypes[position]);
      EXPECT_TRUE(type->formattype == kRows[i].format);
      ASSERT_EQ(type->cbFormat, kRows[i].formatSize);
      EXPECT_EQ(type->bFixedSizeSamples, i == 2);
      EXPECT_EQ(type->bTemporalCompression, i == 0);
      if (type->cbFormat > 0) {
        EXPECT_EQ(std::memcmp(type->pbFormat + type->cbFormat - 2, kReaderInfo, 2), 0);
      }
      EXPECT_EQ(pin.QueryAccept(type), S_OK);
      type->majortype = ::MEDIATYPE_Stream;
      EXPECT_EQ(pin.QueryAccept(type), S_FALSE);
      DeleteMediaType(type);
    }
    AM_MEDIA_TYPE* none = nullptr;
    EXPECT_EQ(types->Next(1, &none, nullptr), S_FALSE);

    Held<CRecordingSink> sink;
    EXPECT_EQ(pin.Connect(&sink->Pin(), nullptr), S_OK);
    ALLOCATOR_PROPERTIES properties = {};
    ASSERT_EQ(sink->Pin().TakenAllocator()->GetProperties(&properties), S_OK);
    EXPECT_EQ(properties.cBuffers, kRows[i].buffers);
    EXPECT_EQ(properties.cbBuffer, kRows[i].bufferSize);
    pin.Disconnect();
    sink->Pin().Disconnect();
  }
}

TEST_F(FilterTest, PlaysToTheEndAndSeeks) {
  const Deadline deadline("play and seek");
  const ReaderMovie movie;
  for (const int position : {0, 1}) {
    PlayedReader played(movie.Name());
    played.Connect(position);
    EXPECT_TRUE(SUCCEEDED(played.m_control->Run()));
    EXPECT_TRUE(played.Comes(EC_COMPLETE));
    EXPECT_TRUE(played.Ends(1));
    for (std::size_t i = 0; i < 3; ++i) {
      EXPECT_EQ(played.Sink(i).Count(SinkEvent::Sample), kReaderSamples - 1);
    }

    // The second pin leaves the matter to the first, which moves all.
    ComPointer<IMediaSeeking> seeking;
    LONGLONG target = 650000;
    ASSERT_EQ(played.Reader().GetPin(1)->QueryInterface(IID_IMediaSeeking, seeking.PutVoid()), S_OK);
    EXPECT_EQ(seeking->SetPositions(&target, AM_SEEKING_AbsolutePositioning, nullptr, 0), S_OK);
    EXPECT_EQ(played.Sink(0).Count(SinkEvent::BeginFlush), 0u);
    ASSERT_EQ(played.Reader().GetPin(0)->QueryInterface(IID_IMediaSeeking, seeking.PutVoid()), S_OK);
    EXPECT_EQ(seeking->SetPositions(&target, AM_SEEKING_AbsolutePositioning, nullptr, 0), S_OK);
    EXPECT_TRUE(played.Ends(2));
    const std::vector<SinkEvent> events = played.Sink(0).Events();
    const SinkEvent kBehindTheSeek[] = {
        {SinkEvent::BeginFlush, 0}, {SinkEvent::EndFlush, 0}, {SinkEvent::NewSegment, 650000},
        {SinkEvent::Sample, 5},     {SinkEvent::Sample, 6},   {SinkEvent::Sample, 7},
        {SinkEvent::Sample, 8},     {SinkEvent::Sample, 9},   {SinkEvent::EndOfStream, 0}};
    ASSERT_GE(events.size(), std::size(kBehindTheSeek));
    EXPECT_TRUE(std::equal(events.end() - static_cast<std::ptrdiff_t>(std::size(kBehindTheSeek)),
                           events.end(), std::begin(kBehindTheSeek)));
    LONGLONG stop = 0;
    EXPECT_EQ(seeking->GetPositions(&target, &stop), S_OK);
    EXPECT_EQ(stop, 1000000);
  }
}

TEST_F(FilterTest, AnswersForPositions) {
  const ReaderMovie movie;
  Held<CMP4FileReaderFilter> reader(nullptr);
  ASSERT_EQ(reader->Load(movie.Name().c_str(), nullptr), S_OK);
  DWORD caps = 0;
  EXPECT_EQ(reader->GetCapabilities(&caps), S_OK);
  EXPECT_EQ(caps, 63u);
  caps = AM_SEEKING_CanSeekAbsolute | AM_SEEKING_CanPlayBackwards;
  EXPECT_EQ(reader->CheckCapabilities(&caps), S_FALSE);
  EXPECT_EQ(caps, DWORD{AM_SEEKING_CanSeekAbsolute | AM_SEEKING_CanPlayBackwards});

  for (ULONG i = 0; i < 2; ++i) {
    SCOPED_TRACE(i);
    ComPointer<IMediaSeeking> seeking;
    ASSERT_EQ(reader->GetPin(i)->QueryInterface(IID_IMediaSeeking, seeking.PutVoid()), S_OK);
    const bool isMaster = i == 0;
    LONGLONG time = -1;
    EXPECT_EQ(seeking->GetDuration(&time), S_OK);
    EXPECT_EQ(time, 1000000);
    EXPECT_EQ(seeking->GetCurrentPosition(&time), isMaster ? S_FALSE : E_NOTIMPL);
    EXPECT_EQ(seeking->SetTimeFormat(&::TIME_FORMAT_MEDIA_TIME), isMaster ? S_OK : E_NOTIMPL);
    EXPECT_EQ(seeking->SetTimeFormat(&::TIME_FORMAT_FRAME), E_NOTIMPL);
    EXPECT_EQ(seeking->ConvertTimeFormat(&time, nullptr, 42, &::TIME_FORMAT_MEDIA_TIME), S_OK);
    EXPECT_EQ(time, 42);
    EXPECT_EQ(seeking->ConvertTimeFormat(&time, &::TIME_FORMAT_FRAME, 42, nullptr), E_INVALIDARG);
    double rate = 0;
    EXPECT_EQ(seeking->SetRate(2.0), S_OK);
    EXPECT_EQ(seeking->GetRate(&rate), S_OK);
    EXPECT_EQ(rate, 1.0);
    EXPECT_EQ(seeking->GetPreroll(&time), S_OK);
    EXPECT_EQ(time, 0);
    EXPECT_EQ(seeking->GetTimeFormat(nullptr), E_POINTER);
  }
  EXPECT_EQ(reader->SetTimeFormat(&::TIME_FORMAT_FRAME), E_INVALIDARG);
  LONGLONG time = 1000001;
  EXPECT_EQ(reader->SetPositions(&time, AM_SEEKING_AbsolutePositioning, nullptr, 0), S_FALSE);
  EXPECT_EQ(reader->SetPositions(nullptr, AM_SEEKING_AbsolutePositioning, nullptr, 0), E_POINTER);
  EXPECT_EQ(reader->GetPreroll(&time), E_NOTIMPL);
}

TEST_F(FilterTest, OneGraphTakesOneReader) {
  const ReaderMovie movie;
  PlayedReader first(movie.Name());
  Held<CMP4FileReaderFilter> second(nullptr);
  ASSERT_EQ(first.m_builder->AddFilter(&*second, L"Another"), S_OK);
  EXPECT_EQ(second->Load(movie.Name().c_str(), nullptr), static_cast<HRESULT>(VFW_E_WRONG_STATE));
  EXPECT_EQ(second->GetPinCount(), 0u);
  EXPECT_EQ(first.m_builder->RemoveFilter(&*second), S_OK);
  // A manager that lists the filter before it joins must not make it its own second.
  EXPECT_EQ(first.Reader().JoinFilterGraph(first.m_builder.Get(), L"Again"), S_OK);
  EXPECT_EQ(first.Reader().Load(movie.Name().c_str(), nullptr), S_OK);
}

// A person is told and asked; the other tracks are loaded when the answer has come.
TEST_F(FilterTest, ShowsWhatCanNotBeRead) {
  const Deadline deadline("load of a broken track");
  Movie broken;
  broken.tracks.emplace_back();
  broken.tracks[0].stsz = {};
  const TempFile file(broken.Build());
  const std::string name = file.Name();
  std::string said;
  std::jthread person([&said](const std::stop_token& stopped) {
    while (!stopped.stop_requested()) {
      if (const HWND box = FindWindowA(nullptr, "MP4 Error")) {
        char text[80] = {};
        // The number of a message box's text.
        GetDlgItemTextA(box, 0xFFFF, text, sizeof text);
        said += text;
        PostMessageA(box, WM_COMMAND, IDOK, 0);
        return;
      }
      Sleep(10);
    }
  });
  Held<CMP4FileReaderFilter> reader(nullptr);
  EXPECT_EQ(reader->Load(std::wstring(name.begin(), name.end()).c_str(), nullptr), S_OK);
  person.request_stop();
  person.join();
  EXPECT_EQ(said, "Cannot get track");
  EXPECT_EQ(reader->GetPinCount(), 1u);
}

}  // namespace
}  // namespace kt::test

// The filter's interfaces and pins, as a host asks them.

#include <vfwmsgs.h>

#include <cstring>
#include <thread>

#include "platform/reader_movie.h"
#include "platform/source_host.h"
#include "support/movie_builder.h"

namespace kt::test {
namespace {

using FilterTest = SourceTest;

// What it tells of tracks that are there stands on the track page.
TEST_F(FilterTest, TellsNothingOfTracksThatAreNotThere) {
  PlayedSource source;
  const ComPointer<IMP4FileReader> reader = source.As<IMP4FileReader>();
  UINT32 number = 77;
  EXPECT_EQ(reader->GetTrackId(0, &number), VFW_S_NO_MORE_ITEMS);
  ASSERT_EQ(source.Load(MediaFile(L"aac.m4a")), S_OK);
  for (const auto get : {&IMP4FileReader::GetTrackId, &IMP4FileReader::GetTrackType,
                         &IMP4FileReader::GetSampleCount, &IMP4FileReader::GetTimeScale}) {
    const auto ask = [&](INT32 index, UINT32* output) { return (reader.Get()->*get)(index, output); };
    EXPECT_EQ(ask(-1, &number), E_INVALIDARG);
    EXPECT_EQ(ask(1, &number), VFW_S_NO_MORE_ITEMS);
    EXPECT_EQ(number, 77u);
    EXPECT_EQ(ask(0, nullptr), E_POINTER);
  }
  UINT64 duration = 77;
  EXPECT_EQ(reader->GetDuration(-1, &duration), E_INVALIDARG);
  EXPECT_EQ(reader->GetDuration(1, &duration), VFW_S_NO_MORE_ITEMS);
  EXPECT_EQ(duration, 77u);
}

TEST_F(FilterTest, HasTwoQueues) {
  PlayedSource source;
  const ComPointer<IMetadataStorage> storage = source.As<IMetadataStorage>();
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
  PlayedSource source(movie.Name());
  // Two of each pin.
  const struct {
    std::wstring name;
    GUID major, subtype, format;
    ULONG formatSize;
  } kTypes[] = {
      {L"Video", ::MEDIATYPE_Video, ::MEDIASUBTYPE_KtMp4Video, ::FORMAT_KtMp4Video, 106},
      {L"Video", ::MEDIATYPE_Video, ::MEDIASUBTYPE_KtMp4VideoStamped, ::FORMAT_KtMp4Video, 106},
      {L"Audio", ::MEDIATYPE_Audio, ::MEDIASUBTYPE_KtMp4Audio, ::FORMAT_WaveFormatEx, 20},
      {L"Audio", ::MEDIATYPE_Audio, ::MEDIASUBTYPE_KtMp4AudioStamped, ::FORMAT_WaveFormatEx, 20},
      {L"Line21", ::MEDIATYPE_AUXLine21Data, ::MEDIASUBTYPE_Line21_BytePair, ::GUID_NULL, 0},
      {L"Line21", ::MEDIATYPE_Text, ::GUID_NULL, ::GUID_NULL, 0},
  };
  const long kBufferSizes[] = {320 * 240 * 2 + 16, 4096 + 16, 150 + 16};
  const std::vector<ComPointer<IPin>> pins = source.Pins();
  ASSERT_EQ(pins.size(), std::size(kBufferSizes));
  for (std::size_t i = 0; i < std::size(kTypes); ++i) {
    SCOPED_TRACE(i);
    const std::size_t pin = i / 2;
    PIN_INFO info = {};
    EXPECT_EQ(pins[pin]->QueryPinInfo(&info), S_OK);
    EXPECT_EQ(info.achName, L"MPEG-4 Track " + kTypes[i].name);
    info.pFilter->Release();
    ComPointer<IEnumMediaTypes> types;
    ASSERT_EQ(pins[pin]->EnumMediaTypes(types.Put()), S_OK);
    EXPECT_EQ(types->Skip(i % 2), S_OK);
    AM_MEDIA_TYPE* type = nullptr;
    ASSERT_EQ(types->Next(1, &type, nullptr), S_OK);
    EXPECT_EQ(types->Skip(1), i % 2 == 0 ? S_OK : S_FALSE);
    EXPECT_EQ(type->majortype, kTypes[i].major);
    EXPECT_EQ(type->subtype, kTypes[i].subtype);
    EXPECT_EQ(type->formattype, kTypes[i].format);
    ASSERT_EQ(type->cbFormat, kTypes[i].formatSize);
    // The set-up of the decoder stands at the end.
    EXPECT_TRUE(pin == 2 || std::memcmp(type->pbFormat + type->cbFormat - 2, kReaderInfo, 2) == 0);
    EXPECT_EQ(type->bFixedSizeSamples, pin == 2);
    EXPECT_EQ(type->bTemporalCompression, pin == 0);
    EXPECT_EQ(pins[pin]->QueryAccept(type), S_OK);
    type->majortype = ::MEDIATYPE_Stream;
    EXPECT_EQ(pins[pin]->QueryAccept(type), S_FALSE);
    DeleteMediaType(type);
    ALLOCATOR_PROPERTIES properties = {};
    ASSERT_EQ(source.Sink(pin).TakenAllocator()->GetProperties(&properties), S_OK);
    EXPECT_EQ(properties.cBuffers, 1);
    EXPECT_EQ(properties.cbBuffer, kBufferSizes[pin]);
  }
}

TEST_F(FilterTest, AnswersForPositions) {
  const ReaderMovie movie;
  PlayedSource source(movie.Name());
  const ComPointer<IMediaSeeking> filter = source.As<IMediaSeeking>();
  DWORD caps = 0;
  EXPECT_EQ(filter->GetCapabilities(&caps), S_OK);
  EXPECT_EQ(caps, 63u);
  caps = AM_SEEKING_CanSeekAbsolute | AM_SEEKING_CanPlayBackwards;
  EXPECT_EQ(filter->CheckCapabilities(&caps), S_FALSE);
  EXPECT_EQ(caps, DWORD{AM_SEEKING_CanSeekAbsolute | AM_SEEKING_CanPlayBackwards});

  for (std::size_t i = 0; i < 2; ++i) {
    SCOPED_TRACE(i);
    ComPointer<IMediaSeeking> seeking;
    ASSERT_EQ(source.Pins()[i].Query(&seeking), S_OK);
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
    EXPECT_EQ(seeking->GetTimeFormat(nullptr), E_POINTER);
    EXPECT_EQ(seeking->GetPreroll(&time), S_OK);
    EXPECT_EQ(time, 0);
    LONGLONG stop = 0;
    EXPECT_EQ(seeking->GetPositions(&time, &stop), S_FALSE) << "nothing has been played";
    EXPECT_EQ(stop, 1000000);
  }
  EXPECT_EQ(filter->SetTimeFormat(&::TIME_FORMAT_FRAME), E_INVALIDARG);
  LONGLONG time = 1000001;
  EXPECT_EQ(filter->SetPositions(&time, AM_SEEKING_AbsolutePositioning, nullptr, 0), S_FALSE);
  EXPECT_EQ(filter->SetPositions(nullptr, AM_SEEKING_AbsolutePositioning, nullptr, 0), E_POINTER);
  EXPECT_EQ(filter->GetPreroll(&time), E_NOTIMPL);
  LONGLONG stop = 500000;
  time = 0;
  EXPECT_EQ(
      filter->SetPositions(&time, AM_SEEKING_AbsolutePositioning, &stop, AM_SEEKING_AbsolutePositioning),
      S_OK);
  EXPECT_EQ(filter->GetStopPosition(&time), S_OK);
  EXPECT_EQ(time, 500000);
}

TEST_F(FilterTest, OneGraphTakesOneReader) {
  const std::wstring film = MediaFile(L"aac.m4a");
  PlayedSource first(film);
  ComPointer<IBaseFilter> second;
  ASSERT_EQ(CoCreateInstance(::CLSID_KtMp4FileReader, nullptr, CLSCTX_INPROC_SERVER, IID_IBaseFilter,
                             second.PutVoid()),
            S_OK);
  ASSERT_EQ(first.Graph().m_builder->AddFilter(second.Get(), L"Another"), S_OK);
  ComPointer<IFileSourceFilter> loader;
  ASSERT_EQ(second.Query(&loader), S_OK);
  EXPECT_EQ(loader->Load(film.c_str(), nullptr), static_cast<HRESULT>(VFW_E_WRONG_STATE));
  EXPECT_EQ(first.Graph().m_builder->RemoveFilter(second.Get()), S_OK);
  first.PlayToEnd();
  // A manager that lists the filter before it joins must not make it its own second.
  EXPECT_EQ(first.Filter()->JoinFilterGraph(first.Graph().m_builder.Get(), L"Again"), S_OK);
  EXPECT_EQ(first.Load(film), S_OK);
}

// A person is told and asked; the other tracks are loaded when the answer has come.
TEST_F(FilterTest, ShowsWhatCanNotBeRead) {
  Movie broken;
  broken.tracks.resize(2);
  broken.tracks[0].stsz = {};
  const NamedFile file(L"broken.mp4", broken.Build());
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
  PlayedSource source;
  EXPECT_EQ(source.Load(file.Name()), S_OK);
  person.request_stop();
  person.join();
  EXPECT_EQ(said, "Cannot get track");
  EXPECT_EQ(source.Pins().size(), 1u);
}

}  // namespace
}  // namespace kt::test

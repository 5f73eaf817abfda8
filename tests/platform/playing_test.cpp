// The module in the platform's filter graph manager: what it loads, offers and delivers.

#include <strmif.h>

#include "platform/reader_movie.h"
#include "platform/source_host.h"
#include "support/movie_builder.h"

namespace kt::test {
namespace {

using PlayingTest = SourceTest;

TEST_F(PlayingTest, DeliversWhatTheLibraryReadsButTheLastSample) {
  const std::pair<const wchar_t*, u32> kFiles[] = {
      {L"bframes-aac.mp4", 2}, {L"ntsc-faststart.mp4", 1}, {L"h263.3gp", 1}, {L"aac.m4a", 1}};
  for (const auto& [name, tracks] : kFiles) {
    for (const bool isStamped : {false, true}) {
      SCOPED_TRACE(testing::Message() << name << (isStamped ? ", stamped" : ""));
      PlayedSource played(MediaFile(name), {.typePosition = isStamped});
      ASSERT_EQ(played.Pins().size(), tracks);
      played.PlayToEnd();
      for (u32 pin = 0; pin < tracks; ++pin) {
        const std::vector<TakenSample> expected =
            SamplesOf(MediaFile(name), {.track = pin + 1, .isStamped = isStamped});
        EXPECT_GT(expected.size(), 40u);
        EXPECT_EQ(played.Taken(pin), expected) << "pin " << pin;
        EXPECT_EQ(played.Sink(pin).Count(SinkEvent::EndOfStream), 1u);
        EXPECT_EQ(played.Sink(pin).Events().front(), (SinkEvent{SinkEvent::NewSegment, 0}));
      }
    }
  }
}

// With the sinks in the graph as other filters would be.
TEST_F(PlayingTest, RendersFiles) {
  const ReaderReplacement replacement;
  const struct {
    const wchar_t* name;
    std::vector<const GUID*> subtypes;
    std::vector<std::size_t> samples;
  } kFiles[] = {{L"bframes-aac.mp4", {&::MEDIASUBTYPE_KtMp4Video, &::MEDIASUBTYPE_KtMp4Audio}, {99, 173}},
                {L"h263.3gp", {&::MEDIASUBTYPE_KtH263}, {44}},
                {L"aac.m4a", {&::MEDIASUBTYPE_KtMp4Audio}, {65}}};
  for (const auto& file : kFiles) {
    SCOPED_TRACE(file.name);
    HostGraph graph;
    ASSERT_EQ(graph.Create(), S_OK);
    std::vector<std::unique_ptr<Held<CRecordingSink>>> sinks;
    for (const GUID* subtype : file.subtypes) {
      sinks.push_back(std::make_unique<Held<CRecordingSink>>(SinkScript{.m_accept = subtype}));
      ASSERT_EQ(graph.m_builder->AddFilter(&**sinks.back(), nullptr), S_OK);
    }
    EXPECT_EQ(graph.m_builder->RenderFile(MediaFile(file.name).c_str(), nullptr), S_OK);
    ASSERT_TRUE(SUCCEEDED(graph.m_control->Run()));
    EXPECT_TRUE(graph.Comes(EC_COMPLETE));
    EXPECT_EQ(graph.m_control->Stop(), S_OK);
    for (std::size_t i = 0; i < sinks.size(); ++i) {
      EXPECT_EQ((*sinks[i])->Pin().Count(SinkEvent::Sample), file.samples[i]);
    }
  }
}

TEST_F(PlayingTest, LoadsNamesAndUrls) {
  const std::wstring film = MediaFile(L"bframes-aac.mp4");
  const NamedFile plain(L"a&cc=off.mp4", ReadFile(film));
  const NamedFile accented(L"K\u00f6nig \u00df.mp4", ReadFile(film));
  const struct {
    std::wstring name;
    HRESULT result;
    // No name at all, which is not kept.
    bool isNone = false;
  } kNames[] = {
      {film, S_OK},
      // Without the colon of the drive.
      {UrlOf(film.substr(0, 1) + film.substr(2), L"&cc=on&vmr9=0"), S_OK},
      {plain.Name(), S_OK},
      {accented.Name(), S_OK},
      {MediaFile(L"refused-btrt.mp4"), E_FAIL},
      {film + L".missing", E_FAIL},
      // Parameters belong to URLs.
      {film + L"&cc=off", E_FAIL},
      {UrlOf(L""), E_FAIL, true},
      {std::wstring(255, L'x'), E_FAIL},
      {std::wstring(256, L'x'), E_FAIL, true},
      {std::wstring(100'000, L'\u00e4'), E_FAIL, true},
  };
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

TEST_F(PlayingTest, ASecondLoadLeavesTheFirstPinsWithoutATrack) {
  const ReaderMovie movie;
  PlayedSource played(movie.Name());
  EXPECT_EQ(played.Load(movie.Url(L"&cc=off")), S_OK);
  played.Connect();
  ASSERT_EQ(played.Pins().size(), 5u);
  played.PlayToEnd();
  for (std::size_t pin = 0; pin < 5; ++pin) {
    EXPECT_EQ(played.Taken(pin).size(), pin < 3 ? 0 : kReaderSamples - 1) << pin;
    EXPECT_EQ(played.Sink(pin).Count(SinkEvent::EndOfStream), 1u) << pin;
  }
}

TEST_F(PlayingTest, PlaysTheFirst32OfManyTracks) {
  Movie movie;
  movie.tracks.resize(40);
  const NamedFile file(L"many.mp4", movie.Build());
  PlayedSource source(file.Name());
  EXPECT_EQ(source.Pins().size(), 32u);
  source.PlayToEnd();
  for (std::size_t pin = 0; pin < 32; ++pin) EXPECT_EQ(source.Taken(pin).size(), 3u) << pin;
}

// Video and sound go as fast as they are taken, captions by the clock of the graph.
TEST_F(PlayingTest, CaptionsComeWhenTheyAreDue) {
  Track captions;
  captions.hdlr = Hdlr("text");
  captions.mediaHeader = Nmhd();
  captions.stsd = Stsd({Box("ln21", Bytes().Zeros(6).U16(1))});
  captions.stts = Stts({{4, 300}});
  captions.stsz = Stsz({3, 3, 3, 3});
  const NamedFile file(L"captions.mp4", MovieOf(captions).Build());
  PlayedSource played(file.Name());
  const auto begin = std::chrono::steady_clock::now();
  played.PlayToEnd();
  EXPECT_EQ(played.Taken(0).size(), 3u);
  // The third is due at 600 ms, and comes 50 ms ahead.
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(540));
}

}  // namespace
}  // namespace kt::test

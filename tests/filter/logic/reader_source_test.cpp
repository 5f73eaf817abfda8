#include "filter/logic/reader_source.h"

#include <algorithm>
#include <tuple>

#include "support/fake_host.h"

namespace kt::test {
namespace {
using Words = std::vector<std::string>;

FakeTrackFacts TrackOf(u32 kind, u32 id) {
  return {.kind = kind, .format = kind, .id = id};
}

// The two lists of sorts do not run in the same order.
TEST(ReaderSource, SortsTracksAndMakesPins) {
  FakeHost host;
  for (const u32 kind : {1u, 2u, 3u, 4u, 5u, 6u, 0u, 1u})
    host.file.tracks.push_back(TrackOf(kind, 10 + static_cast<u32>(host.file.tracks.size())));
  ASSERT_EQ(host.Source().Load("a.mp4"), FilterResult::Ok);

  const TrackTables& tables = host.Source().Tables();
  EXPECT_EQ(tables.m_trackCount, 8u);
  EXPECT_EQ(tables.m_movieTimeScale, 600u);
  static constexpr u32 kTypes[] = {1, 2, 6, 5, 4, 3, 0, 1};
  for (u32 i = 0; i < 8; ++i)
    EXPECT_EQ(std::pair(tables.m_trackType[i], tables.m_trackId[i]), std::pair(kTypes[i], 10 + i)) << i;

  const Words names = {"MPEG-4 Track Video", "MPEG-4 Track Audio", "MPEG-4 Track Line21",
                       "MPEG-4 Track Video"};
  EXPECT_EQ(host.offered, names);
  EXPECT_TRUE(host.Source().HasVideo() && host.Source().HasAudio() && host.Source().HasLine21());
  const auto& pins = host.Source().Pins();
  ASSERT_EQ(pins.size(), 4u);
  for (std::size_t i = 0; i < pins.size(); ++i) EXPECT_EQ(pins[i]->SeekMaster(), i == 0) << i;
  EXPECT_EQ(host.Source().SeekPin(), pins[0].get());
  EXPECT_EQ(host.file.open.size(), 4u) << "tracks without a pin are closed at once";
  EXPECT_TRUE(host.errors.empty());
}

TEST(ReaderSource, ASecondFileTakesThePlaceOfTheFirst) {
  FakeHost host({TrackOf(MP4_KIND_VIDEO, 1), TrackOf(MP4_KIND_HINT, 2), TrackOf(MP4_KIND_AUDIO, 3)});
  ASSERT_EQ(host.Source().Load("ktmp4file://c/x.mp4&mdccid=N"), FilterResult::Ok);
  EXPECT_EQ(host.Source().CallbackName(), "N");
  EXPECT_EQ(host.file.log,
            (Words{"Open c:/x.mp4 00", "OpenTrack 1", "OpenTrack 2", "CloseTrack 2", "OpenTrack 3"}));
  host.file.log.clear();

  ASSERT_EQ(host.Source().Load("b.mp4", L"b.mp4"), FilterResult::Ok);
  EXPECT_EQ(host.file.log, (Words{"CloseTrack 1", "CloseTrack 3", "Close", "delete", "Open b.mp4 00",
                                  "OpenTrack 1", "OpenTrack 2", "CloseTrack 2", "OpenTrack 3"}));
  EXPECT_EQ(host.Source().GivenName(), L"b.mp4");
  EXPECT_EQ(host.Source().CallbackName(), "");
  // The pins of the first file stay, without tracks, and go on counting.
  ASSERT_EQ(host.Source().Pins().size(), 4u);
  EXPECT_EQ(TrackBehind(*host.Source().Pins()[0]), nullptr);
  EXPECT_FALSE(host.Source().Pins()[2]->SeekMaster());
  EXPECT_EQ(Ask(host.Source(), &CReaderSource::GetDuration).result, FilterResult::False);
}

TEST(ReaderSource, RefusalsChangeNothing) {
  FakeHost host({TrackOf(MP4_KIND_VIDEO, 1)});
  ASSERT_EQ(host.Source().Load("ktmp4file://c/x.mp4&mdccid=N&cc=on&forextractoruse=1", L"given"),
            FilterResult::Ok);
  host.file.log.clear();
  EXPECT_EQ(host.Source().Load(nullptr), FilterResult::Fail);
  EXPECT_EQ(host.Source().Load("ktmp4file://"), FilterResult::Fail);
  EXPECT_EQ(host.Source().Load(std::string(300, 'x').c_str()), FilterResult::Fail);
  host.Source().SetSecondInstance(true);
  EXPECT_EQ(host.Source().Load("b.mp4"), FilterResult::WrongState);
  EXPECT_EQ(host.Source().Load(nullptr), FilterResult::WrongState)
      << "the second instance is looked at first";
  EXPECT_TRUE(host.file.log.empty());
  EXPECT_EQ(host.Source().GivenName(), L"given");
  EXPECT_EQ(host.Source().CallbackName(), "N&cc=on&forextractoruse=1");
  // A plain name has no parameters, so the switches of the URL before stay.
  host.Source().SetSecondInstance(false);
  ASSERT_EQ(host.Source().Load("b.mp4"), FilterResult::Ok);
  EXPECT_TRUE(host.Source().Switches().m_captionText);
  EXPECT_TRUE(host.Source().Switches().m_forExtractor);
}

TEST(ReaderSource, AFileThatCanNotBeUsedIsDropped) {
  const std::tuple<const char*, Words> kRows[] = {{"CreateMp4File", {}},
                                                  {"Open", {"Open a.mp4 00", "delete"}},
                                                  {"GetTrackCount", {"Open a.mp4 00", "Close", "delete"}}};
  for (const auto& [failing, log] : kRows) {
    FakeHost host;
    host.file.failing = {failing};
    EXPECT_EQ(host.Source().Load("a.mp4"), FilterResult::Fail) << failing;
    EXPECT_EQ(host.file.log, log) << failing;
    EXPECT_FALSE(host.Source().IsLoaded()) << failing;
  }
}

// What is looked at of no tracks, whose movie does not tell its time scale, and of too many.
TEST(ReaderSource, LooksAtNoneTo32Tracks) {
  FakeHost host;
  host.file.failing = {"GetMovieTimeScale"};
  host.file.movieTimeScale = 7;
  for (const std::size_t count : {0u, 40u}) {
    EXPECT_EQ(host.Source().Tables().m_movieTimeScale, 1000u);
    host.file.tracks.assign(count, TrackOf(MP4_KIND_VIDEO, 1));
    EXPECT_EQ(host.Source().Load("a.mp4"), FilterResult::Ok);
    EXPECT_EQ(host.Source().Tables().m_trackCount, std::min<std::size_t>(count, 32));
    EXPECT_EQ(host.Source().Pins().size(), host.Source().Tables().m_trackCount);
    EXPECT_EQ(host.Source().SeekPin() != nullptr, count > 0);
  }
}

TEST(ReaderSource, WhatATrackDoesNotTellIsShownAndLeftOut) {
  static constexpr std::tuple<const char*, const char*, bool> kRows[] = {
      {"OpenTrack", "Cannot get track", false},
      {"GetTrackId", "Cannot get track id", true},
      {"GetSampleCount", "Cannot get track sample count", true},
      {"GetTimeScale", "Cannot get track time scale", true},
      {"GetDuration", "Cannot get track time scale", true},
      {"GetTrackType", "Cannot get track type", false},
  };
  for (const auto& [failing, shown, pin] : kRows) {
    FakeHost host({TrackOf(MP4_KIND_VIDEO, 1), TrackOf(MP4_KIND_AUDIO, 2)});
    host.file.tracks[0].failing = {failing};
    EXPECT_EQ(host.Source().Load("a.mp4"), FilterResult::Ok) << failing;
    EXPECT_EQ(host.errors, Words{shown}) << failing;
    const TrackTables& tables = host.Source().Tables();
    EXPECT_EQ((std::tuple{host.Source().Pins().size(), host.file.open.size(), tables.m_trackType[0],
                          tables.m_trackId[1]}),
              (pin ? std::tuple{2u, 2u, 1u, 2u} : std::tuple{1u, 1u, 0u, 2u}))
        << failing;
    EXPECT_TRUE(host.Source().Pins()[0]->SeekMaster()) << "the first pin, not the first track";
  }
}

TEST(ReaderSource, CaptionTracksAreKeptOutByCcOff) {
  FakeHost host({TrackOf(MP4_KIND_TEXT, 4)}, "ktmp4file://c/x.mp4&cc=off");
  const TrackTables& tables = host.Source().Tables();
  EXPECT_TRUE(!host.Source().HasLine21() && host.Source().Pins().empty() && host.file.open.empty());
  EXPECT_TRUE(tables.m_trackCount == 1 && tables.m_trackId[0] == 4 && tables.m_trackType[0] == 0);
}

TEST(ReaderSource, NoMemoryForAPinKeepsWhatWasMade) {
  FakeHost host({TrackOf(MP4_KIND_AUDIO, 1), TrackOf(MP4_KIND_VIDEO, 2), TrackOf(MP4_KIND_VIDEO, 3)});
  host.pinRoom = 1;
  EXPECT_EQ(host.Source().Load("a.mp4"), FilterResult::OutOfMemory);
  EXPECT_EQ(host.Source().Pins().size(), 1u);
  EXPECT_EQ(host.file.open.size(), 1u) << "the track of the pin that was not made is given back";
  EXPECT_TRUE(host.Source().HasVideo());
  EXPECT_TRUE(host.Source().IsLoaded());
  EXPECT_EQ(host.offered.size(), 2u);
}

}  // namespace
}  // namespace kt::test

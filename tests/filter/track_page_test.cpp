#include "filter/logic/track_page.h"

#include <gtest/gtest.h>

#include <limits>
#include <tuple>

#include "support/fake_host.h"

namespace kt {
namespace {

using namespace test;

using Labels = TrackPage::Labels;

/// A source over a file of a video track and one of these tracks.
class Bench : public FakeHost {
 public:
  explicit Bench(std::vector<FakeTrackFacts> tracks) : FakeHost(std::move(tracks), "a.mp4") {}

  LoadedFileFacts facts{Source()};
  TrackPage page{facts};
};

FakeTrackFacts TrackOf(u32 kind, u64 duration) {
  FakeTrackFacts track;
  track.kind = kind;
  track.id = 7;
  track.duration = duration;
  track.samples.resize(3);
  return track;
}

// The page reads the types in its own way.
TEST(TrackPage, WordsAreNotThoseOfTheTypes) {
  const std::pair<u32, const char*> rows[] = {{MP4_KIND_UNKNOWN, "Unknown"},
                                              {MP4_KIND_VIDEO, "Video"},
                                              {MP4_KIND_AUDIO, "Audio"},
                                              {MP4_KIND_TEXT, "BIFS"},
                                              {MP4_KIND_SCENE_DESCRIPTION, "Object Descriptor"},
                                              {MP4_KIND_OBJECT_DESCRIPTOR, "Hint"},
                                              {MP4_KIND_HINT, "Unknown"}};
  for (const auto& [kind, word] : rows) {
    EXPECT_EQ(Bench({TrackOf(kind, 0)}).page.Activate().at(3), (TrackPage::Label{PAGE_MEDIA_TYPE, word}));
  }
}

TEST(TrackPage, ShowsTheFileAndTheSelectedTrack) {
  Bench bench({TrackOf(MP4_KIND_VIDEO, 599), TrackOf(MP4_KIND_AUDIO, 1200)});
  const Labels first = bench.page.Activate();
  EXPECT_EQ(first, (Labels{{PAGE_TRACK_COUNT, "2"},
                           {PAGE_MOVIE_TIME_SCALE, "600"},
                           {PAGE_TRACK_ID, "7"},
                           {PAGE_MEDIA_TYPE, "Video"},
                           {PAGE_SAMPLE_COUNT, "3"},
                           {PAGE_TIME_SCALE, "1000"},
                           {PAGE_DURATION, "998"}}));
  EXPECT_EQ(bench.page.TrackCount(), 2);
  EXPECT_EQ(bench.page.SelectTrack(2).back(), (TrackPage::Label{PAGE_DURATION, "2000"}));
  // Nothing is told of a number that is none, so the labels keep their texts.
  for (const i32 none : {0, -1, std::numeric_limits<i32>::min()}) {
    EXPECT_EQ(bench.page.SelectTrack(none), Labels());
  }
}

const Labels kNothing = {{PAGE_TRACK_ID, "0"},
                         {PAGE_MEDIA_TYPE, ""},
                         {PAGE_SAMPLE_COUNT, "0"},
                         {PAGE_TIME_SCALE, "0"},
                         {PAGE_DURATION, "0"}};

TEST(TrackPage, ShowsNothingOfWhatIsNotThere) {
  Bench bench({TrackOf(MP4_KIND_VIDEO, 599)});
  static_cast<void>(bench.page.Activate());
  for (const i32 beyond : {2, 33, std::numeric_limits<i32>::max()}) {
    EXPECT_EQ(bench.page.SelectTrack(beyond), kNothing);
  }
  // No file is loaded.
  FakeHost host;
  const LoadedFileFacts facts(host.Source());
  TrackPage page(facts);
  Labels expected = {{PAGE_TRACK_COUNT, "0"}, {PAGE_MOVIE_TIME_SCALE, "1000"}};
  expected.insert(expected.end(), kNothing.begin(), kNothing.end());
  EXPECT_EQ(page.Activate(), expected);
  EXPECT_EQ(page.SelectTrack(1), Labels());
}

TEST(TrackPage, NumbersAreAsWideAsThePageHasThem) {
  const std::tuple<u32, u64, const char*, const char*> rows[] = {{1000, 123456, "1000", "123456"},
                                                                 {0, 5, "0", "0"},
                                                                 {0xFFFFFFFF, 0xFFFFFFFF, "-1", "1000"},
                                                                 {1000, (u64{1} << 32) + 5, "1000", "5"}};
  for (const auto& [movieTimeScale, duration, movieTimeScaleText, durationText] : rows) {
    FakeTrackFacts track = TrackOf(MP4_KIND_VIDEO, duration);
    track.id = 0x80000000;
    FakeHost host({track});
    host.file.movieTimeScale = movieTimeScale;
    static_cast<void>(host.LoadOnePin());
    const LoadedFileFacts facts(host.Source());
    const Labels labels = TrackPage(facts).Activate();
    EXPECT_EQ(labels[1].text, movieTimeScaleText);
    EXPECT_EQ(labels[2].text, "-2147483648");
    EXPECT_EQ(labels[6].text, durationText);
  }
}

}  // namespace
}  // namespace kt

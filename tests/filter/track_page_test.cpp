#include "filter/logic/track_page.h"

#include <gtest/gtest.h>

#include <limits>

#include "support/fake_host.h"

namespace kt {
namespace {

using Labels = TrackPage::Labels;

/// A source over a file of a video track and one of these tracks.
class Bench : public test::FakeHost {
 public:
  explicit Bench(std::vector<test::FakeTrackFacts> tracks, const char* name = "a.mp4") {
    file.tracks = std::move(tracks);
    EXPECT_EQ(Source().Load(name), FilterResult::Ok);
  }

  LoadedFileFacts facts{Source()};
  TrackPage page{facts};
};

test::FakeTrackFacts TrackOf(u32 kind, u64 duration) {
  test::FakeTrackFacts track;
  track.kind = kind;
  track.id = 7;
  track.duration = duration;
  track.samples.resize(3);
  return track;
}

TEST(LoadedFileFacts, IndexesCountFromZero) {
  Bench bench({TrackOf(MP4_KIND_VIDEO, 40), TrackOf(MP4_KIND_HINT, u64{1} << 40)});
  const struct {
    i32 index;
    FilterResult result;
  } rows[] = {{0, FilterResult::Ok},
              {1, FilterResult::Ok},
              {2, FilterResult::NoMoreItems},
              {32, FilterResult::NoMoreItems},
              {std::numeric_limits<i32>::max(), FilterResult::NoMoreItems},
              {-1, FilterResult::InvalidArgument},
              {std::numeric_limits<i32>::min(), FilterResult::InvalidArgument}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.index);
    u32 id = 99, type = 99, samples = 99, timeScale = 99;
    u64 duration = 99;
    EXPECT_EQ(bench.facts.GetTrackId(row.index, &id), row.result);
    EXPECT_EQ(bench.facts.GetTrackType(row.index, &type), row.result);
    EXPECT_EQ(bench.facts.GetSampleCount(row.index, &samples), row.result);
    EXPECT_EQ(bench.facts.GetTimeScale(row.index, &timeScale), row.result);
    EXPECT_EQ(bench.facts.GetDuration(row.index, &duration), row.result);
    const bool there = row.result == FilterResult::Ok;
    EXPECT_EQ(id, there ? 7u : 99u);
    EXPECT_EQ(type, !there ? 99u : row.index == 0 ? READER_TRACK_VIDEO : READER_TRACK_HINT);
    EXPECT_EQ(samples, there ? 3u : 99u);
    EXPECT_EQ(timeScale, there ? 1000u : 99u);
    EXPECT_EQ(duration, !there ? 99u : row.index == 0 ? 40u : u64{1} << 40);
  }
  u32 count = 0, timeScale = 0;
  EXPECT_EQ(bench.facts.GetTrackCount(&count), FilterResult::Ok);
  EXPECT_EQ(bench.facts.GetMovieTimeScale(&timeScale), FilterResult::Ok);
  EXPECT_EQ(count, 2u) << "tracks without a pin count";
  EXPECT_EQ(timeScale, 600u);
}

// The page reads the types in its own way.
TEST(TrackPage, WordsAreNotThoseOfTheTypes) {
  const struct {
    u32 kind;
    const char* word;
  } rows[] = {{MP4_KIND_UNKNOWN, "Unknown"},
              {MP4_KIND_VIDEO, "Video"},
              {MP4_KIND_AUDIO, "Audio"},
              {MP4_KIND_TEXT, "BIFS"},
              {MP4_KIND_SCENE_DESCRIPTION, "Object Descriptor"},
              {MP4_KIND_OBJECT_DESCRIPTOR, "Hint"},
              {MP4_KIND_HINT, "Unknown"}};
  for (const auto& row : rows) {
    Bench bench({TrackOf(row.kind, 0)});
    EXPECT_EQ(bench.page.Activate().at(3), (TrackPage::Label{PAGE_MEDIA_TYPE, row.word}));
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

TEST(TrackPage, ShowsNothingOfATrackThatIsNotThere) {
  Bench bench({TrackOf(MP4_KIND_VIDEO, 599)});
  static_cast<void>(bench.page.Activate());
  for (const i32 beyond : {2, 33, std::numeric_limits<i32>::max()}) {
    EXPECT_EQ(bench.page.SelectTrack(beyond), kNothing);
  }
}

TEST(TrackPage, ShowsThatNoFileIsLoaded) {
  test::FakeHost host;
  const LoadedFileFacts facts(host.Source());
  TrackPage page(facts);
  Labels expected = {{PAGE_TRACK_COUNT, "0"}, {PAGE_MOVIE_TIME_SCALE, "1000"}};
  expected.insert(expected.end(), kNothing.begin(), kNothing.end());
  EXPECT_EQ(page.Activate(), expected);
  EXPECT_EQ(page.SelectTrack(1), Labels());
}

TEST(TrackPage, NumbersAreAsWideAsThePageHasThem) {
  const struct {
    u32 movieTimeScale;
    u64 duration;
    const char* movieTimeScaleText;
    const char* durationText;
  } rows[] = {{1000, 123456, "1000", "123456"},
              {0, 5, "0", "0"},
              {0xFFFFFFFF, 0xFFFFFFFF, "-1", "1000"},
              {1000, (u64{1} << 32) + 5, "1000", "5"}};
  for (const auto& row : rows) {
    test::FakeTrackFacts track = TrackOf(MP4_KIND_VIDEO, row.duration);
    track.id = 0x80000000;
    test::FakeHost host;
    host.file.tracks = {track};
    host.file.movieTimeScale = row.movieTimeScale;
    static_cast<void>(host.LoadOnePin());
    const LoadedFileFacts facts(host.Source());
    const Labels labels = TrackPage(facts).Activate();
    EXPECT_EQ(labels[1].text, row.movieTimeScaleText);
    EXPECT_EQ(labels[2].text, "-2147483648");
    EXPECT_EQ(labels[6].text, row.durationText);
  }
}

}  // namespace
}  // namespace kt

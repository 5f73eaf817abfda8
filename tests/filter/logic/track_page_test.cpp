#include "filter/logic/track_page.h"

#include <gtest/gtest.h>

#include <limits>
#include <tuple>

#include "support/fake_host.h"

namespace kt {
namespace {

using namespace test;

/// The page of a file with this track.
class Bench : public FakeHost {
 public:
  Bench(u32 kind, u64 duration, u32 movieTimeScale = 1000) {
    file.tracks = {{.kind = kind, .id = 0x80000000, .duration = duration}};
    file.movieTimeScale = movieTimeScale;
    EXPECT_EQ(Source().Load("a.mp4"), FilterResult::Ok);
  }

  LoadedFileFacts facts{Source()};
  TrackPage page{facts};
};

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
    EXPECT_EQ(Bench(kind, 0).page.Activate().at(3), (TrackPage::Label{PAGE_MEDIA_TYPE, word}));
  }
}

// Nothing is told of a number that is none, so the labels keep their texts.
TEST(TrackPage, ATrackHasANumber) {
  Bench bench(MP4_KIND_VIDEO, 599);
  EXPECT_EQ(bench.page.Activate().size(), 7u);
  for (const i32 none : {0, -1, std::numeric_limits<i32>::min()}) {
    EXPECT_EQ(bench.page.SelectTrack(none), TrackPage::Labels());
  }
  for (const i32 beyond : {2, 33, std::numeric_limits<i32>::max()}) {
    EXPECT_EQ(bench.page.SelectTrack(beyond).size(), 5u);
  }
}

TEST(TrackPage, NumbersAreAsWideAsThePageHasThem) {
  const std::tuple<u32, u64, const char*, const char*> rows[] = {{1000, 123456, "1000", "123456"},
                                                                 {0, 5, "0", "0"},
                                                                 {0xFFFFFFFF, 0xFFFFFFFF, "-1", "1000"},
                                                                 {1000, (u64{1} << 32) + 5, "1000", "5"}};
  for (const auto& [movieTimeScale, duration, movieTimeScaleText, durationText] : rows) {
    const TrackPage::Labels labels = Bench(MP4_KIND_VIDEO, duration, movieTimeScale).page.Activate();
    EXPECT_EQ(labels[1].text, movieTimeScaleText);
    EXPECT_EQ(labels[2].text, "-2147483648");
    EXPECT_EQ(labels[6].text, durationText);
  }
}

}  // namespace
}  // namespace kt

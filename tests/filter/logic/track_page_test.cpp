#include "filter/logic/track_page.h"

#include <limits>
#include <tuple>

#include "support/fake_host.h"

namespace kt::test {
namespace {

/// The page of a file with this track.
class Bench : public FakeHost {
 public:
  Bench(u32 kind, u64 duration, u32 movieTimeScale) {
    file.tracks = {{.kind = kind, .id = 0x80000000, .duration = duration}};
    file.movieTimeScale = movieTimeScale;
    EXPECT_EQ(Source().Load("a.mp4"), FilterResult::Ok);
  }

  LoadedFileFacts facts{Source()};
  TrackPage page{facts};
};

// The page reads the types in its own way, and numbers are as wide as it has them.
TEST(TrackPage, TellsOfATrack) {
  const std::tuple<u32, u64, u32, const char*> rows[] = {
      {MP4_KIND_UNKNOWN, 123456, 1000, "1 1000 -2147483648 Unknown 0 1000 123456 "},
      {MP4_KIND_VIDEO, 5, 0, "1 0 -2147483648 Video 0 1000 0 "},
      {MP4_KIND_AUDIO, 0xFFFFFFFF, 0xFFFFFFFF, "1 -1 -2147483648 Audio 0 1000 1000 "},
      {MP4_KIND_TEXT, (u64{1} << 32) + 5, 1000, "1 1000 -2147483648 BIFS 0 1000 5 "},
      {MP4_KIND_SCENE_DESCRIPTION, 5, 0, "1 0 -2147483648 Object Descriptor 0 1000 0 "},
      {MP4_KIND_OBJECT_DESCRIPTOR, 5, 0, "1 0 -2147483648 Hint 0 1000 0 "},
      {MP4_KIND_HINT, 5, 0, "1 0 -2147483648 Unknown 0 1000 0 "}};
  for (const auto& [kind, duration, movieTimeScale, expected] : rows) {
    std::string labels;
    for (const auto& [label, text] : Bench(kind, duration, movieTimeScale).page.Activate())
      labels += text + " ";
    EXPECT_EQ(labels, expected);
  }
}

// Nothing is told of a number that is none, so the labels keep their texts.
TEST(TrackPage, ATrackHasANumber) {
  Bench bench(MP4_KIND_VIDEO, 599, 1000);
  EXPECT_EQ(bench.page.Activate().at(3), (TrackPage::Label{PAGE_MEDIA_TYPE, "Video"}));
  for (const i32 none : {0, -1, std::numeric_limits<i32>::min()})
    EXPECT_TRUE(bench.page.SelectTrack(none).empty());
  for (const i32 beyond : {2, 33, std::numeric_limits<i32>::max()})
    EXPECT_EQ(bench.page.SelectTrack(beyond).size(), 5u);
}

}  // namespace
}  // namespace kt::test

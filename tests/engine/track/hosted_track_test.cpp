// A track without a file object: its set-up, and media data behind 4 GiB, which a hole in the file stands
// for.

#include <gtest/gtest.h>

#include "boxes/containers/movie_box.h"
#include "boxes/containers/track_box.h"
#include "boxes/media_data_box.h"
#include "engine/box/child_boxes.h"
#include "engine/track/track_impl.h"
#include "support/movie_builder.h"
#include "support/open_storage.h"
#include "support/written_movie.h"

namespace kt::test {
namespace {

constexpr u64 kFourGiB = u64{1} << 32;

/// A file without a file object, whose position a test can move.
class BareHost : public CTrackHost {
 public:
  BareHost() {
    EXPECT_EQ(storage.Open(temp.Name().c_str(), MP4_MODE_WRITE), MP4_OK);
    EXPECT_EQ(mediaData.StartWriting(&storage), MP4_OK);
  }
  ~BareHost() override { DetachTracks(); }

  Mp4Result GetTrackBox(u32 trackIndex, CTrackBox** box) override {
    return RequireChild(&movie, box, trackIndex);
  }
  Mp4Result AddTrackBox(CTrackBox** box) override { return AddNewChild(&movie, box); }
  Mp4Result GetMediaData(CMediaDataBox** found) override {
    *found = &mediaData;
    return MP4_OK;
  }
  Mp4Result GetMovieTimeScale(u32* timeScale) override {
    *timeScale = 1000;
    return MP4_OK;
  }
  Mp4Result ReadData(u8*, u64, u32, u64) override { return MP4_FILE_IO; }
  Mp4Result GetDataSize(u64* /*size*/) override { return MP4_FILE_IO; }

  /// The movie so far, as it would be written.
  Bytes Movie() {
    MemoryBlock memory(std::size_t{10'000});
    ExpectEach(MP4_OK, {movie.CalculateSize(), movie.Serialize(memory)});
    return memory.Written();
  }

  TempFile temp;
  CStorage storage;
  CMediaDataBox mediaData;
  CMovieBox movie;
};

void SetUpText(CTrackImpl& track) {
  ExpectEach(MP4_OK, {track.SetUp(1), track.SetTrackType(MP4_KIND_TEXT), track.SetTimeScale(1000),
                      track.SetLine21Format(0, 0, 0)});
}

TEST(LargeOffsets, WidenTheWholeTrackAtTheFirstChunkBehind4GiB) {
  const std::pair<std::vector<u64>, bool> cases[] = {
      {{16, kFourGiB - 1}, false},
      {{16, kFourGiB}, true},
      {{16, 2'000'000, kFourGiB + 5, kFourGiB + 2'000'000}, true},
      {{kFourGiB * 3}, true},
  };
  for (const auto& [positions, wide] : cases) {
    BareHost host;
    CTrackImpl track(&host, 0);
    SetUpText(track);
    u64 time = 0;
    for (const u64 position : positions) {  // chunks of one sample each
      ExpectEach(MP4_OK, {host.storage.SetPosition(position), WriteSample(&track, 1'000'000, time++)});
    }
    ASSERT_EQ(track.Finish(), MP4_OK);
    const Bytes movie = host.Movie();
    EXPECT_EQ(SampleTableBoxAt(movie, "stco"), wide ? Bytes() : Stco(positions));
    EXPECT_EQ(SampleTableBoxAt(movie, "co64"), wide ? Co64(positions) : Bytes());
  }
}

TEST(TrackSetUp, IsDoneOnceAndNeedsAFile) {
  BareHost host;
  CTrackImpl track(&host, 0);
  EXPECT_EQ(track.Finish(), MP4_NOT_FOUND);
  ExpectEach(MP4_NOT_READY, {track.AddSampleEntry(nullptr, 0, FourCc("ln21")), track.SetDuration(1)});
  SetUpText(track);
  EXPECT_EQ(track.SetUp(2), MP4_ALREADY_SET_UP);
  EXPECT_EQ(track.SetAudioFormat(0x80, 0, "", 0, MP4_FORMAT_MP4A), MP4_NOT_FOUND) << "no sound header";
  EXPECT_EQ(BoxAt(host.Movie(), "moov/trak/tkhd")[45], 0x80) << "the volume is stored before";
  EXPECT_EQ(track.AddSampleEntry(nullptr, 0, FourCc("avc1")), MP4_BAD_ARGUMENT);
  EXPECT_EQ(CTrackImpl(nullptr, 0).SetUp(1), MP4_NOT_READY);
}

}  // namespace
}  // namespace kt::test

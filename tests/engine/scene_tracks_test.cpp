// The object descriptor track and the scene track of a written file.

#include <gtest/gtest.h>

#include "support/movie_builder.h"
#include "support/written_movie.h"

namespace kt {
namespace {

using namespace test;

// A track of two samples that last two seconds each.
u32 AddMediaTrack(WrittenMovie& movie, u32 kind) {
  CMp4Track* track = movie.AddBareTrack();
  EXPECT_EQ(track->SetTrackType(kind), MP4_OK);
  EXPECT_EQ(track->SetTimeScale(8000), MP4_OK);
  EXPECT_EQ(kind == MP4_KIND_VIDEO ? track->SetVideoFormat(320, 240, "v", 1, MP4_FORMAT_MP4V)
                                   : track->SetAudioFormat(0x100, 0, "a", 1, MP4_FORMAT_MP4A),
            MP4_OK);
  EXPECT_EQ(WriteSample(track, 1, 0), MP4_OK);
  EXPECT_EQ(WriteSample(track, 1, 16000), MP4_OK);
  u32 id = 0;
  EXPECT_EQ(track->GetTrackId(&id), MP4_OK);
  EXPECT_EQ(movie->CloseTrack(track), MP4_OK);
  return id;
}

Bytes OnlySample(CMp4Track& track) {
  u32 count = 0, size = 0;
  EXPECT_EQ(track.GetSampleCount(&count), MP4_OK);
  EXPECT_EQ(count, 1u);
  Bytes bytes(100);
  EXPECT_EQ(track.ReadSample(1, 100, &size, bytes.data()), MP4_OK);
  bytes.resize(size);
  return bytes;
}

// An object of the file form: id, no URL, and one stream by the number of its reference.
Bytes ObjectOf(u16 id, u16 reference) {
  return Descriptor(
      17, Bytes().U16(static_cast<u64>(id << 6 | 0x1F)).Add(Descriptor(15, Bytes().U16(reference))));
}

const Bytes kVideoScene = Bytes().U64(0xC010126104885045).U24(0x053F00);
const Bytes kAudioScene = Bytes().U64(0xC0101281302A057C);
const Bytes kBothScene = Bytes().U64(0xC0101281302A0572).U64(0x6104885045053F00);

TEST(SceneTracks, ForVideoSoundOrBoth) {
  const struct {
    const char* what;
    bool video, audio;
    Bytes references, update, scene;
  } cases[] = {
      {"video", true, false, Bytes().U32(1), Descriptor(1, ObjectOf(20, 1)), kVideoScene},
      {"audio", false, true, Bytes().U32(2), Descriptor(1, ObjectOf(10, 1)), kAudioScene},
      {"both", true, true, Bytes().U32s({1, 2}), Descriptor(1, Bytes(ObjectOf(20, 1)).Add(ObjectOf(10, 2))),
       kBothScene},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    WrittenMovie movie(MP4_TYPE_MP4);
    const u32 video = AddMediaTrack(movie, MP4_KIND_VIDEO);
    const u32 audio = AddMediaTrack(movie, MP4_KIND_AUDIO);
    ASSERT_EQ(movie->AddSceneTracks(row.video ? video : 99, row.audio ? audio : 0, audio), MP4_OK);
    ASSERT_EQ(movie->Close(), MP4_OK);

    const Bytes content = movie.Content();
    OpenedMovie read(content);
    ASSERT_EQ(read.result, MP4_OK);
    EXPECT_EQ(BoxAt(content, "moov/trak/tref", 3), Box("tref", {Box("mpod", row.references)}));
    EXPECT_EQ(OnlySample(*read.OpenTrack(3)), row.update);
    EXPECT_EQ(OnlySample(*read.OpenTrack(4)), row.scene);
    const Bytes iods = BoxAt(content, "moov/iods");
    EXPECT_EQ(Bytes(iods.end() - 12, iods.end()),
              Bytes(Descriptor(14, Bytes().U32(4))).Add(Descriptor(14, Bytes().U32(3))))
        << "the scene comes first";
    constexpr u32 kKinds[] = {MP4_KIND_OBJECT_DESCRIPTOR, MP4_KIND_SCENE_DESCRIPTION};
    for (u32 index = 3; index <= 4; ++index) {
      const auto track = read.OpenTrack(index);
      u32 kind = 0, timeScale = 0;
      u64 duration = 0;
      EXPECT_EQ(track->GetTrackType(&kind), MP4_OK);
      EXPECT_EQ(kind, kKinds[index - 3]);
      EXPECT_EQ(track->GetTimeScale(&timeScale), MP4_OK);
      EXPECT_EQ(timeScale, 8000u);
      EXPECT_EQ(track->GetDuration(&duration), MP4_OK);
      EXPECT_EQ(duration, 4000u) << "that of the media, in movie ticks";
    }
    u8 info[4] = {};
    u32 size = 9;
    EXPECT_EQ(read.OpenTrack(3)->GetDecoderSpecificInfoSize(1, &size), MP4_NOT_FOUND);
    EXPECT_EQ(read.OpenTrack(4)->GetDecoderSpecificInfo(1, sizeof info, &size, info), MP4_OK);
    EXPECT_EQ(Bytes(info, info + size), Bytes().U24(0x000040));
  }
}

TEST(SceneTracks, AreNotAddedWithoutMediaOrAPlaceForThem) {
  const struct {
    const char* what;
    u32 fileType, video, audio, third;
  } cases[] = {
      {"no such tracks", MP4_TYPE_MP4, 0, 3, 7},
      {"a third track alone", MP4_TYPE_MP4, 0, 0, 1},
      {"a track that is not closed", MP4_TYPE_MP4, 2, 0, 0},
      {"no place for a descriptor", MP4_TYPE_3GP, 1, 0, 0},
  };
  for (const auto& row : cases) {
    WrittenMovie movie(row.fileType);
    AddMediaTrack(movie, MP4_KIND_VIDEO);
    const std::unique_ptr<CMp4Track> unfinished(movie.AddTextTrack());
    EXPECT_EQ(movie->AddSceneTracks(row.video, row.audio, row.third), MP4_NOT_FOUND) << row.what;
    u32 count = 0;
    EXPECT_EQ(movie->GetTrackCount(&count), MP4_OK);
    EXPECT_EQ(count, 2u) << row.what;
  }
}

}  // namespace
}  // namespace kt

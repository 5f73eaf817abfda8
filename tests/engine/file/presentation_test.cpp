// The object descriptor track, the scene track and the session description of a written file.

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

#include "hint/base64.h"
#include "support/written_movie.h"

#ifndef _WIN32
#include "support/file_size_limit.h"
#endif

namespace kt::test {
namespace {

// A track of two samples that last two seconds each; a format of 0 stands for none that pictures have.
u32 AddMediaTrack(WrittenMovie& movie, u32 kind, u32 format = MP4_FORMAT_MP4V, const Bytes& info = {1}) {
  CMp4Track* track = movie.AddTrack(kind, 8000, kind == MP4_KIND_AUDIO ? u32{MP4_FORMAT_MP4A} : format, info);
  WriteSamples(track, 1, {0, 16000});
  const u32 id = Got(*track, &CMp4Track::GetTrackId);
  EXPECT_EQ(movie->CloseTrack(track), MP4_OK);
  return id;
}

Bytes OnlySample(CMp4Track& track) {
  EXPECT_EQ(Got(track, &CMp4Track::GetSampleCount), 1u);
  return SampleOf(track, 1);
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
  // Of which media; the references, the update and the scene that are written.
  const std::tuple<const char*, bool, bool, Bytes, Bytes, Bytes> cases[] = {
      {"video", true, false, Bytes().U32(1), Descriptor(1, ObjectOf(20, 1)), kVideoScene},
      {"audio", false, true, Bytes().U32(2), Descriptor(1, ObjectOf(10, 1)), kAudioScene},
      {"both", true, true, Bytes().U32s({1, 2}), Descriptor(1, Bytes(ObjectOf(20, 1)).Add(ObjectOf(10, 2))),
       kBothScene},
  };
  for (const auto& [what, hasVideo, hasAudio, references, update, scene] : cases) {
    SCOPED_TRACE(what);
    WrittenMovie movie(MP4_TYPE_MP4);
    const u32 video = AddMediaTrack(movie, MP4_KIND_VIDEO);
    const u32 audio = AddMediaTrack(movie, MP4_KIND_AUDIO);
    ASSERT_EQ(movie->AddSceneTracks(hasVideo ? video : 99, hasAudio ? audio : 0, audio), MP4_OK);
    const Bytes content = movie.Finish({});
    OpenedMovie read(content);
    EXPECT_EQ(BoxAt(content, "moov/trak/tref", 3), Box("tref", {Box("mpod", references)}));
    EXPECT_EQ(OnlySample(*read.OpenTrack(3)), update);
    EXPECT_EQ(OnlySample(*read.OpenTrack(4)), scene);
    // Id 1; no profiles but audio and visual; the scene comes first.
    Bytes descriptor = {0x00, 0x4F, 0xFF, 0xFF, 15, 3, 0xFF};
    descriptor.Add(Descriptor(14, Bytes().U32(4))).Add(Descriptor(14, Bytes().U32(3)));
    EXPECT_EQ(BoxAt(content, "moov/iods"), FullBox("iods", 0, 0, Descriptor(0x10, descriptor)));
    constexpr u32 kKinds[] = {MP4_KIND_OBJECT_DESCRIPTOR, MP4_KIND_SCENE_DESCRIPTION};
    for (u32 index = 3; index <= 4; ++index) {
      const auto track = read.OpenTrack(index);
      EXPECT_EQ(Got(*track, &CMp4Track::GetTrackType), kKinds[index - 3]);
      EXPECT_EQ(Got(*track, &CMp4Track::GetTimeScale), 8000u);
      EXPECT_EQ(Got(*track, &CMp4Track::GetDuration), 4000u) << "that of the media, in movie ticks";
      const Bytes entries = SampleTableBoxAt(content, "stsd", index);
      const Bytes config = Bytes().U8(2).U8(index == 3 ? 1 << 2 | 1 : 3 << 2 | 1).U24(0x140000);
      EXPECT_NE(std::search(entries.begin(), entries.end(), config.begin(), config.end()), entries.end());
    }
    u8 info[4] = {};
    u32 size = 9;
    EXPECT_EQ(read.OpenTrack(3)->GetDecoderSpecificInfoSize(1, &size), MP4_NOT_FOUND);
    EXPECT_EQ(read.OpenTrack(4)->GetDecoderSpecificInfo(1, sizeof info, &size, info), MP4_OK);
    EXPECT_EQ(Bytes(info, info + size), Bytes().U24(0x000040));
  }
}

TEST(SceneTracks, AreNotAddedWithoutMediaOrAPlaceForThem) {
  const std::tuple<const char*, u32, u32, u32, u32> cases[] = {
      {"no such tracks", MP4_TYPE_MP4, 0, 3, 7},
      {"a third track alone", MP4_TYPE_MP4, 0, 0, 1},
      {"a track that is not closed", MP4_TYPE_MP4, 2, 0, 0},
      {"no place for a descriptor", MP4_TYPE_3GP, 1, 0, 0},
  };
  for (const auto& [what, fileType, video, audio, third] : cases) {
    WrittenMovie movie(fileType);
    AddMediaTrack(movie, MP4_KIND_VIDEO);
    const std::unique_ptr<CMp4Track> unfinished(movie.AddTextTrack());
    EXPECT_EQ(movie->AddSceneTracks(video, audio, third), MP4_NOT_FOUND) << what;
    EXPECT_EQ(Got(*movie, &CMp4File::GetTrackCount), 2u) << what;
  }
}

// The session description.

void HintTrackOf(WrittenMovie& movie, u32 media, u32 hintType) {
  ASSERT_EQ(movie->CloseHintTrack(movie.AddHintTrack(hintType, {media})), MP4_OK);
}

std::string Base64(const Bytes& bytes) {
  std::unique_ptr<char[]> text;
  u32 size = 0;
  EXPECT_EQ(Base64Encode(bytes.data(), static_cast<u32>(bytes.size()), &text, &size), MP4_OK);
  return text.get();
}

// The ES descriptor of a track as it stands in the file.
Bytes EsDescriptorOf(const Bytes& content, u32 track) {
  const Bytes entries = SampleTableBoxAt(content, "stsd", track);
  const Bytes code = Bytes().Text("esds");
  const auto found = std::search(entries.begin(), entries.end(), code.begin(), code.end());
  return Bytes(found + 8, entries.end());
}

// The same with a URL and the packet header of a session in place of that of a file.
Bytes StreamedEsDescriptor(const Bytes& content, u32 track, const std::string& url) {
  const Bytes old = EsDescriptorOf(content, track);
  EXPECT_EQ(Bytes(old.end() - 3, old.end()), Descriptor(6, {2})) << "that of the file stays";
  const std::string kept = url.substr(0, url.size() % 256);
  Bytes body(old.begin() + 2, old.begin() + 4);  // the id, behind a header of two bytes
  body.U8(0x40).U8(kept.size()).Text(kept).Add(Bytes(old.begin() + 5, old.end() - 3));
  return Descriptor(3, body.Add(Descriptor(6, {1})));
}

TEST(SessionDescription, CarriesThePresentation) {
  const std::tuple<const char*, Bytes, bool, bool, Bytes> cases[] = {
      {"both", {1}, true, true, kBothScene},
      {"sound", {1}, false, true, kAudioScene},
      {"a content of which the length of a URL keeps the rest modulo 256", Bytes(200, 7), true, false,
       kVideoScene},
  };
  for (const auto& [what, videoInfo, hasVideo, hasAudio, scene] : cases) {
    SCOPED_TRACE(what);
    WrittenMovie movie(MP4_TYPE_MP4);
    const u32 audio = hasAudio ? AddMediaTrack(movie, MP4_KIND_AUDIO) : 0;
    const u32 video = hasVideo ? AddMediaTrack(movie, MP4_KIND_VIDEO, MP4_FORMAT_MP4V, videoInfo) : 0;
    // Further ones, of which nothing is said.
    if (hasAudio) AddMediaTrack(movie, MP4_KIND_AUDIO, MP4_FORMAT_MP4A, {9});
    if (hasVideo) AddMediaTrack(movie, MP4_KIND_VIDEO, MP4_FORMAT_MP4V, {9});
    HintTrackOf(movie, video + (hasVideo ? 0 : audio), hasVideo ? MP4_HINT_VIDEO : MP4_HINT_AAC);
    const u32 count = Got(*movie, &CMp4File::GetTrackCount);
    ASSERT_EQ(movie->AddSceneTracks(video, audio, 0), MP4_OK);
    const Bytes content = movie.Finish({});
    const auto object = [&](u16 id, u32 track) {
      if (track == 0) return Bytes();
      return Descriptor(1, Bytes().U16(static_cast<u64>(id << 6 | 0x1F)).Add(EsDescriptorOf(content, track)));
    };
    const Bytes update = Descriptor(1, object(20, video).Add(object(10, audio)));
    Bytes descriptor = Bytes().U16(0x000F).Add({0xFF, 0xFF, 15, 3, 0xFF});
    descriptor.Add(
        StreamedEsDescriptor(content, count + 1, "data:application/mpeg4-od-au;base64," + Base64(update)));
    descriptor.Add(
        StreamedEsDescriptor(content, count + 2, "data:application/mpeg4-bifs-au;base64," + Base64(scene)));
    const std::string text =
        "a=control:*\r\na=isma-compliance:1,1.0,1\r\na=mpeg4-iod: \"data:application/mpeg4-iod;base64," +
        Base64(Descriptor(2, descriptor)) + "\"\r\n";
    EXPECT_EQ(BoxAt(content, "moov/udta/hnti"), Box("hnti", {Box("rtp ", Bytes().Text("sdp " + text))}));
  }
}

// Of the first file neither the tracks nor the payload numbers count for the second one, nor that it is
// hinted.
TEST(SessionDescription, OfASecondFileOfTheSameObjectStartsAnew) {
  WrittenMovie movie(MP4_TYPE_MP4);
  Bytes contents[2];
  for (Bytes& content : contents) {
    const u32 video = AddMediaTrack(movie, MP4_KIND_VIDEO);
    HintTrackOf(movie, video, MP4_HINT_VIDEO);
    ASSERT_EQ(movie->AddSceneTracks(video, 0, 0), MP4_OK);
    content = movie.Finish({});
    ASSERT_EQ(movie->Open(movie.Name().c_str(), MP4_MODE_WRITE, MP4_TYPE_MP4), MP4_OK);
  }
  EXPECT_EQ(contents[1], contents[0]);
  AddMediaTrack(movie, MP4_KIND_VIDEO);
  EXPECT_EQ(BoxAt(movie.Finish({}), "moov/udta"), Bytes());
}

TEST(SessionDescription, NeedsAPresentationByTheTypeOfTheFile) {
  const std::tuple<const char*, u32, u32, bool, bool, Mp4Result> cases[] = {
      {"hinted, without the scene", MP4_TYPE_MP4, MP4_FORMAT_MP4V, true, false, MP4_NO_SCENE_TRACKS},
      {"not hinted", MP4_TYPE_MP4, MP4_FORMAT_MP4V, false, false, MP4_OK},
      {"3GP", MP4_TYPE_3GP, MP4_FORMAT_MP4V, true, false, MP4_OK},
      {"pictures without an ES descriptor", MP4_TYPE_MP4, MP4_FORMAT_S263, true, true, MP4_NOT_FOUND},
      {"the same in 3GP", MP4_TYPE_3GP, MP4_FORMAT_S263, true, false, MP4_OK},
  };
  for (const auto& [what, fileType, format, hinted, scene, result] : cases) {
    WrittenMovie movie(fileType);
    const u32 video = AddMediaTrack(movie, MP4_KIND_VIDEO, format);
    if (hinted) HintTrackOf(movie, video, MP4_HINT_VIDEO);
    ASSERT_EQ(scene ? movie->AddSceneTracks(video, 0, 0) : MP4_OK, MP4_OK);
    EXPECT_EQ(movie->Close(), result) << what;
    EXPECT_EQ(BoxAt(movie.Content(), "moov/udta"), Bytes()) << what;
    if (result != MP4_NO_SCENE_TRACKS) continue;
    EXPECT_EQ(movie.Content(), Bytes()) << "a header that is patched drives out what has gathered";
    ASSERT_EQ(movie->AddSceneTracks(video, 0, 0), MP4_OK) << "the file has stayed open";
    EXPECT_EQ(movie->Close(), MP4_OK);
  }
}

// A track of pictures whose entry tells neither their size nor how to decode them.
TEST(SessionDescription, HasAnswersForWhatPicturesDoNotTell) {
  WrittenMovie movie;
  const u32 video = AddMediaTrack(movie, MP4_KIND_VIDEO, 0);
  HintTrackOf(movie, video, MP4_HINT_VIDEO);
  const Bytes box = BoxAt(movie.Finish({}), "moov/trak/udta/hnti", 2);
  EXPECT_EQ(std::string(box.begin() + 16, box.end()),
            "m=video 0 RTP/AVP 96\r\nb=AS:0\r\na=rtpmap:96 MP4V-ES/90000\r\na=range:npt=0-4.0000\r\n"
            "a=control:trackID=2\r\na=cliprect:0,0,288,352\r\na=fmtp:96 profile-level-id=1;config=\r\n"
            "a=mpeg4-esid:1\r\n");
}

#ifndef _WIN32

TEST(SessionDescription, IsComposedOnceHoweverOftenTheFileIsClosed) {
  WrittenMovie movie(MP4_TYPE_MP4);
  const u32 video = AddMediaTrack(movie, MP4_KIND_VIDEO);
  HintTrackOf(movie, video, MP4_HINT_VIDEO);
  ASSERT_EQ(movie->AddSceneTracks(video, 0, 0), MP4_OK);
  {
    const FileSizeLimit full(200);
    ExpectEach(MP4_FILE_IO, {movie->Close(), movie->Close()});
  }
  char text[2000] = "";
  ASSERT_EQ(movie->GetMovieSdp(text, sizeof text), MP4_OK);
  EXPECT_EQ(std::string(text).rfind("a=control:*"), 0u) << text;
  EXPECT_EQ(BoxAt(movie.Finish({}), "moov/udta/hnti/rtp "), Box("rtp ", Bytes().Text("sdp ").Text(text)));
}

#endif

}  // namespace
}  // namespace kt::test

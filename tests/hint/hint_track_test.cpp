#include <ktmp4/mp4_hint_track.h>

#include <cstring>
#include <map>
#include <memory>
#include <tuple>
#include <vector>

#include "hint/hint_support.h"
#include "support/written_movie.h"

namespace kt::test {
namespace {

constexpr u32 kEndless = 0xFFFFFFFF;

/// A media track as it is written: samples that are `step` ticks apart.
struct Media {
  u32 kind = MP4_KIND_VIDEO;
  u32 timeScale = 1000;
  u32 step = 40;
  std::vector<u32> sizes = {};
  u64 lateBy = 0;  // ticks that the last sample comes behind its turn
};

Media Video(std::vector<u32> sizes) {
  return {MP4_KIND_VIDEO, 1000, 40, std::move(sizes)};
}
Media Sound(std::vector<u32> sizes) {
  return {MP4_KIND_AUDIO, 48000, 1024, std::move(sizes)};
}
Media Captions(std::vector<u32> sizes, u32 step = 40) {
  return {MP4_KIND_TEXT, 1000, step, std::move(sizes)};
}

/// A file that is written, hinted and read again.
class HintedMovie {
 public:
  explicit HintedMovie(const Media& media) { AddMedia(media); }
  void AddMedia(const Media& media) {
    const std::map<u32, u32> formats = {{MP4_KIND_VIDEO, MP4_FORMAT_MP4V}, {MP4_KIND_AUDIO, MP4_FORMAT_MP4A}};
    const u32 format = media.kind == MP4_KIND_TEXT ? 0 : formats.at(media.kind);
    CMp4Track* track = movie.AddTrack(media.kind, media.timeScale, format, {0x11, 0x90});
    for (u32 i = 0; i < media.sizes.size(); ++i) {
      const u64 late = i + 1 == media.sizes.size() ? media.lateBy : 0;
      EXPECT_EQ(WriteSample(track, media.sizes[i], u64{media.step} * i + late), MP4_OK);
    }
    EXPECT_EQ(movie->CloseTrack(track), MP4_OK);
  }
  CMp4HintTrack* AddHint(u32 hintType, const std::vector<u32>& references = {1}) {
    return movie.AddHintTrack(hintType, references);
  }
  /// Closes what is written, with this hint track, and opens it again to read.
  OpenedMovie& Reopen(CMp4HintTrack* hint = nullptr) {
    EXPECT_EQ(hint != nullptr ? movie->CloseHintTrack(hint) : MP4_OK, MP4_OK);
    m_read = std::make_unique<OpenedMovie>(movie.Finish({}));
    return *m_read;
  }
  /// The hint samples in words, see `Describe`, each behind its time.
  std::string Samples(u32 index) {
    const std::unique_ptr<CMp4Track> track = m_read->OpenTrack(index);
    std::string text;
    for (u32 sample = 1; sample <= Got(*track, &CMp4Track::GetSampleCount); ++sample)
      text += (text.empty() ? "" : ", ") +
              std::to_string(Got(*track, &CMp4Track::GetSampleDecodingTime, sample)) +
              Describe(SampleOf(*track, sample));
    return text;
  }
  /// A box of the hint track, by its path below "trak".
  Bytes HintBox(const std::string& path, u32 index = 2) {
    return BoxAt(movie.Content(), "moov/trak/" + path, index);
  }
  std::unique_ptr<CMp4HintTrack> OpenHint(u32 index) {
    CMp4HintTrack* hint = nullptr;
    EXPECT_EQ((*m_read)->OpenHintTrack(index, &hint), MP4_OK);
    return std::unique_ptr<CMp4HintTrack>(hint);
  }

  WrittenMovie movie;

 private:
  std::unique_ptr<OpenedMovie> m_read;
};

Bytes Slice(const Bytes& bytes, std::ptrdiff_t at, std::ptrdiff_t size) {
  EXPECT_GE(std::ssize(bytes), at + size);
  return std::ssize(bytes) < at + size ? Bytes() : Bytes(bytes.begin() + at, bytes.begin() + at + size);
}

TEST(HintTrack, PacketisesEachKind) {
  Media late = Sound({10, 20, 30, 1, 2, 3, 40});
  late.lateBy = 500;
  // Media, hint type, samples in a packet, RTP clock; 0 for what is not set. Then the hint samples, see
  // `HintedMovie::Samples`.
  const std::tuple<Media, u32, u32, u32, std::string> cases[] = {
      // What gathers at the end is left out, and so is the only sample of a track.
      {Video({100}), MP4_HINT_VIDEO, 0, 0, ""},
      {Video({496, 100, 50}), MP4_HINT_VIDEO, 0, 0, "0 #0* 1:496, 3600 #1* 2:100"},
      // One that is cut is written at once, behind the group before it; sequence numbers go on.
      {Video({497}), MP4_HINT_VIDEO, 0, 0, "0 #0* 1:497"},
      {Video({100, 600, 100}), MP4_HINT_VIDEO, 0, 0, "0 #0* 1:100, 3600 #1 2:500 #2* 2:100@500"},
      // Times outgrow 32 bits.
      {{MP4_KIND_VIDEO, 1000, 23000000, {9, 9, 9, 9, 9}},
       MP4_HINT_VIDEO,
       0,
       0,
       "0 #0* 1:9, 2070000000 #1* 2:9, 4140000000 #2* 3:9, 6210000000 #3* 4:9"},
      // The clock of video is 90000, whatever is asked for; that of sound can be set.
      {Video({9, 9, 9}), MP4_HINT_VIDEO, 0, 8000, "0 #0* 1:9, 3600 #1* 2:9"},
      {Sound({10, 10, 10}), MP4_HINT_AAC, 0, 0, "0 #0* 0 16 0 80 1:10, 1024 #1* 0 16 0 80 2:10"},
      {Sound({10, 10, 10}), MP4_HINT_AAC, 0, 1000, "0 #0* 0 16 0 80 1:10, 21 #1* 0 16 0 80 2:10"},
      // Two bytes for the group and two for each sample count in every kind.
      {Sound({100, 100, 290, 300, 196, 1, 9}), MP4_HINT_AAC, 3, 0,
       "0 #0* 0 48 3 32 3 32 9 16 1:100 2:100 3:290, 3072 #1* 0 16 9 96 4:300"},
      {Video({100, 100, 293, 1, 1}), MP4_HINT_VIDEO, kEndless, 0, "0 #0* 1:100 2:100"},
      // LATM: full groups, at the time of the sample behind them; what is written begins at 0 in any case.
      {late, MP4_HINT_LATM, 0, 0, "0 #0* 10 1:10 20 2:20 30 3:30, 3572 #1* 1 4:1 2 5:2 3 6:3"},
      {Captions({2, 2, 2, 2, 2}), MP4_HINT_CAPTION, 0, 0, "0 #0* 0 1:2 2:2, 7200 #1* 0 3:2 4:2"},
  };
  for (const auto& [media, hintType, maxSamples, rtpTimeScale, expected] : cases) {
    HintedMovie hinted(media);
    CMp4HintTrack* hint = hinted.AddHint(hintType);
    EXPECT_EQ(hint->SetMaxSamplesPerPacket(maxSamples), maxSamples != 0 ? MP4_OK : MP4_BAD_ARGUMENT);
    EXPECT_EQ(hint->SetRtpTimeScale(rtpTimeScale), MP4_OK);
    hinted.Reopen(hint);
    EXPECT_EQ(hinted.Samples(2), expected);
  }
}

// All tracks are asked for their times by way of the one whose turn was last, at first the last one that was
// opened, and a group goes out under the name, the sizes and the clock of the track behind it.
TEST(HintTrack, MixesUpSeveralReferences) {
  const std::tuple<std::vector<u32>, std::vector<u32>, const char*> cases[] = {
      {{10, 20, 30}, {5, 6}, "0 #0* 0 1:5, 2 #1* 0 1:10, 18000 #2* 0 2:6"}, {{600}, {}, ""}};
  for (const auto& [first, sizes, expected] : cases) {
    HintedMovie hinted(Captions(first, 10));
    hinted.AddMedia({MP4_KIND_TEXT, 500, 100, sizes});
    hinted.Reopen(hinted.AddHint(MP4_HINT_CAPTION, {1, 2}));
    EXPECT_EQ(hinted.Samples(3), expected);
  }
}

TEST(HintTrack, LeavesItsBoxesBehind) {
  HintedMovie hinted(Captions({110, 20, 150, 2}, 500));
  CMp4HintTrack* hint = hinted.AddHint(MP4_HINT_CAPTION);
  ExpectEach(MP4_OK, {hint->SetMaxPacketSize(301), hint->SetTimeOffset(9)});
  hinted.Reopen(hint);
  const u32 average = 282 * 8000 / 1500;
  EXPECT_EQ(hinted.HintBox("mdia/minf/hmhd"),
            FullBox("hmhd", 0, 0, Bytes().U16(301).U16(150).U32s({280 * 8, average, 0})));
  EXPECT_EQ(hinted.HintBox("tref"), Box("tref", {Box("hint", Bytes().U32(1))}));
  Bytes entry = Bytes().Zeros(6).U16(1).U16(1).U16(1).U32(301).Add(Box("tims", Bytes().U32(90000)));
  entry.Add(Box("tsro", Bytes().U32(0))).Add(Box("snro", Bytes().U32(0)));
  EXPECT_EQ(hinted.HintBox("mdia/minf/stbl/stsd"), Stsd({Box("rtp ", entry)}));
  EXPECT_EQ(Slice(hinted.HintBox("mdia/hdlr"), 16, 4), Bytes().Text("hint"));
  EXPECT_EQ(hinted.HintBox("mdia/minf/stbl/stss"), FullBox("stss", 0, 0, Bytes().U32(0)))
      << "no hint sample is a sync sample";

  const std::unique_ptr<CMp4HintTrack> read = hinted.OpenHint(2);
  char text[400];
  ASSERT_EQ(read->GetTrackSdp(text, sizeof text), MP4_OK);
  EXPECT_EQ(std::string(text).find("m=text 0 RTP/AVP 96\r\nb=AS:2\r\n"), 0u) << text;
  const u32 size = static_cast<u32>(std::strlen(text)) + 1;
  EXPECT_EQ(hinted.HintBox("udta/hnti"), Box("hnti", {Box("sdp ", Bytes().Text(text))}));
  EXPECT_EQ(read->GetTrackSdp(text, size), MP4_OK);
  EXPECT_EQ(read->GetTrackSdp(text, size - 1), MP4_BUFFER_TOO_SMALL);
}

TEST(HintTrack, DescribesWhatItSends) {
  const std::tuple<Media, u32, const char*> cases[] = {
      {Sound({10}), MP4_HINT_LATM, "config=4400"},  // of five frames
      {Sound({10, 10, 10}), MP4_HINT_LATM, "npt=0-0.0640\r\n"},
      {Video({20, 10}), MP4_HINT_VIDEO, "npt=0-0.0800\r\na=control:trackID=2\r\na=cliprect:0,0,240,320\r\n"},
  };
  for (const auto& [media, hintType, part] : cases) {
    HintedMovie hinted(media);
    CMp4HintTrack* hint = hinted.AddHint(hintType);
    ASSERT_EQ(hint->SetMaxSamplesPerPacket(5), MP4_OK);
    hinted.Reopen(hint);
    // Without time there is no rate, and the guesses stand.
    const u32 guess = media.sizes.size() == 1 ? 500000 : 30 * 8;
    EXPECT_EQ(Slice(hinted.HintBox("mdia/minf/hmhd"), 12, 8), Bytes().U16(500).U16(250).U32(guess)) << part;
    char text[400] = "";
    EXPECT_EQ(hinted.OpenHint(2)->GetTrackSdp(text, sizeof text), MP4_OK);
    EXPECT_NE(std::string(text).find(part), std::string::npos) << part << text;
  }
}

TEST(HintTrack, ClosesWithoutAReferenceAndNumbersTo128) {
  HintedMovie hinted(Captions({2, 2, 2}));
  const auto fail = [&](CMp4HintTrack* added, Mp4Result result) {
    const std::unique_ptr<CMp4HintTrack> hint(added);
    EXPECT_EQ(hinted.movie->CloseHintTrack(added), result);
    EXPECT_EQ(hint->SetTimeScale(1), MP4_OK) << "or the file could not be closed";
  };
  for (u32 number = 96; number < 128; ++number) {
    if (number == 98) {  // a close that fails uses its number up, too
      fail(hinted.AddHint(MP4_HINT_CAPTION, {200}), MP4_NOT_FOUND);
      continue;
    }
    CMp4HintTrack* hint = hinted.AddHint(MP4_HINT_CAPTION, {});
    EXPECT_EQ(hint->SetRtpTimeScale(number == 97 ? 8000 : 0), MP4_OK);
    ASSERT_EQ(hinted.movie->CloseHintTrack(hint), MP4_OK);
  }
  ASSERT_EQ(hinted.movie->CloseHintTrack(hinted.AddHint(MP4_HINT_CAPTION)), MP4_OK);
  fail(hinted.AddHint(MP4_HINT_CAPTION), MP4_BAD_ARGUMENT);
  hinted.Reopen();
  // Of 128 there are 7 bits in the packets.
  const auto dump = [&] { return hinted.OpenHint(34)->DumpHintSample(1); };
  EXPECT_NE(Printed(dump).find("Payload type: 0 "), std::string::npos);
  EXPECT_EQ(Slice(hinted.HintBox("mdia/mdhd", 2), 20, 4), Bytes().U32(90000));
  EXPECT_EQ(Slice(hinted.HintBox("mdia/mdhd", 3), 20, 4), Bytes().U32(8000));
}

TEST(HintTrack, RefusesWhatItCannotPacketise) {
  const std::tuple<const char*, Media, u32, std::vector<u32>, u16, Mp4Result> cases[] = {
      {"a track that is not there", Video({}), MP4_HINT_VIDEO, {9}, 500, MP4_NOT_FOUND},
      {"itself, which is not closed", Video({}), MP4_HINT_VIDEO, {2}, 500, MP4_NOT_FOUND},
      {"a second one that is not there", Video({}), MP4_HINT_VIDEO, {1, 9}, 500, MP4_NOT_FOUND},
      {"video as AAC", Video({}), MP4_HINT_AAC, {1}, 500, MP4_NOT_READY},
      {"sound as video", Sound({}), MP4_HINT_VIDEO, {1}, 500, MP4_NOT_READY},
      {"sound as captions", Sound({}), MP4_HINT_CAPTION, {1}, 500, MP4_NOT_READY},
      {"LATM of two", Sound({}), MP4_HINT_LATM, {1, 1}, 500, MP4_BAD_ARGUMENT},
      {"LATM of video", Video({}), MP4_HINT_LATM, {1}, 500, MP4_BAD_ARGUMENT},
      {"LATM too large", Sound({499, 1, 1, 1}), MP4_HINT_LATM, {1}, 500, MP4_NOT_READY},
      {"AAC without room", Sound({10}), MP4_HINT_AAC, {1}, 3, MP4_NOT_READY},
  };
  for (const auto& [name, media, hintType, references, maxPacketSize, result] : cases) {
    HintedMovie hinted(media);
    const std::unique_ptr<CMp4HintTrack> hint(hinted.AddHint(hintType, references));
    EXPECT_EQ(hint->SetMaxPacketSize(maxPacketSize), MP4_OK);
    EXPECT_EQ(hinted.movie->CloseHintTrack(hint.get()), result) << name;
    // Once it has begun it cannot be made good, for what it has written stays.
    EXPECT_EQ(hint->SetMaxPacketSize(2000), MP4_OK);
    EXPECT_EQ(hinted.movie->CloseHintTrack(hint.get()), references[0] == 1 ? MP4_NOT_READY : result) << name;
  }
  CMp4HintTrack* hint = nullptr;
  EXPECT_EQ(WrittenMovie()->AddHintTrack(&hint, 4), MP4_BAD_ARGUMENT);
}

// Every operation, in each state that a hint track can be in. "." stands for MP4_OK, "F" for MP4_NOT_FOUND,
// "S" for MP4_BUFFER_TOO_SMALL, "-" for MP4_NOT_READY.
TEST(HintTrack, AnswersByItsState) {
  const std::map<Mp4Result, char> letters = {
      {MP4_OK, '.'}, {MP4_NOT_FOUND, 'F'}, {MP4_BUFFER_TOO_SMALL, 'S'}, {MP4_NOT_READY, '-'}};
  const auto answers = [&](CMp4HintTrack* hint) {
    u32 number = 0;
    i32 offset = 0;
    u64 time = 0;
    char text[4];
    std::string told;
    for (const Mp4Result result :
         {hint->GetHintTrackId(&number), hint->ReservedHint1(0), hint->ReservedHint2(0),
          hint->AddReferencedTrack(1), hint->ReservedHint3(0, 0), hint->ReservedHint4(0, 0, 0, 0),
          hint->GetPacketTime(1, &time), hint->DumpHintSample(1), hint->SetMaxPacketSize(9),
          hint->SetMaxSamplesPerPacket(2), hint->GetTrackSdp(text, 4), hint->GetTimeScale(&number),
          hint->GetTimeOffset(&offset), hint->GetSequenceOffset(&offset), hint->SetTimeScale(1),
          hint->SetTimeOffset(1), hint->SetSequenceOffset(1), hint->SetRtpTimeScale(1)}) {
      told += letters.at(result);
    }
    return told;
  };
  const std::string written = ".FF...-F..F---....", bound = ".FF-......S------.",
                    detached = "--F------.-------.";
  HintedMovie hinted(Captions({2, 2, 2}));
  std::unique_ptr<CMp4HintTrack> hint(hinted.AddHint(MP4_HINT_CAPTION));
  EXPECT_EQ(answers(hint.get()), written);
  EXPECT_EQ(hint->SetMaxPacketSize(0), MP4_BAD_ARGUMENT);
  std::unique_ptr<CMp4HintTrack> unused(hinted.AddHint(MP4_HINT_VIDEO, {}));
  ExpectEach(MP4_OK, {unused->SetTimeScale(1), hinted.movie->CloseHintTrack(hint.release())});
  OpenedMovie& file = hinted.Reopen();
  EXPECT_EQ(answers(unused.get()), detached);
  EXPECT_EQ(hinted.movie->CloseHintTrack(unused.get()), MP4_NOT_READY);

  testing::internal::CaptureStdout();
  hint = hinted.OpenHint(2);
  EXPECT_EQ(answers(hint.get()), bound);
  const std::string dump = testing::internal::GetCapturedStdout();
  EXPECT_EQ(dump.find("    Packet Count 1\n    {\n      Relative time: 0 "), 0u) << dump;
  EXPECT_TRUE(dump.ends_with("    }\n\n ------------------ \n")) << dump;
  EXPECT_EQ(Got(*hint, &CMp4HintTrack::GetHintTrackId), 2u);
  u32 media = 0;
  EXPECT_EQ(GetReferencedTrack(hint.get(), 3, &media), MP4_NOT_FOUND);
  EXPECT_EQ(GetReferencedTrack(nullptr, 1, &media), MP4_BAD_ARGUMENT);
  EXPECT_EQ(Ask(*hint, &CMp4HintTrack::GetPacketTime, 99u).result, MP4_NOT_FOUND);
  EXPECT_EQ(hint->DumpHintSample(0), MP4_ZERO_INDEX);
  EXPECT_EQ(file->CloseHintTrack(hint.get()), MP4_NOT_READY) << "it is not being written";
  ASSERT_EQ(file->Close(), MP4_OK);
  EXPECT_EQ(answers(hint.get()), detached);
  EXPECT_EQ(GetReferencedTrack(hint.get(), 1, &media), MP4_NOT_READY);
}

TEST(HintTrack, BindsToHintTracksForRtpAlone) {
  const Bytes entry = MpegEntry("rtp ", Bytes().U16(1).U16(1).U32(1450).Add(Box("tims", Bytes().U32(9))));
  const Bytes mediaHeader = FullBox("hmhd", 0, 0, Bytes().Zeros(16));
  const Track hint = TrackOf("hint", mediaHeader, entry).WithOneChunk(3, Stsz({0xFFFFFFFF, 0, 3}));
  Movie movie;
  movie.tracks = {hint, Track(), TrackOf("hint", mediaHeader, Box("abcd", Bytes().Zeros(8))),
                  hint.With(&Track::stsd, Stsd({}))};
  OpenedMovie opened(movie);
  const Mp4Result expected[] = {MP4_BAD_ARGUMENT, MP4_OK,        MP4_BAD_ARGUMENT,
                                MP4_BAD_BOX,      MP4_NOT_FOUND, MP4_BAD_ARGUMENT};
  for (u32 index = 0; index < std::size(expected); ++index) {
    CMp4HintTrack* bound = nullptr;
    EXPECT_EQ(opened->OpenHintTrack(index, &bound), expected[index]) << index;
    const std::unique_ptr<CMp4HintTrack> held(bound);
    if (!held) continue;
    EXPECT_EQ(held->DumpHintSample(1), MP4_FILE_IO) << "a size from the file is no reason to take memory";
    EXPECT_EQ(held->DumpHintSample(2), MP4_BAD_ARGUMENT);
    char text[4];
    EXPECT_EQ(held->GetTrackSdp(text, 4), MP4_NOT_FOUND);
  }
}

}  // namespace
}  // namespace kt::test

#include "hint/mp4_hint_track.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <vector>

#include "hint/hint_support.h"
#include "support/movie_builder.h"
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

/// For each packet " #sequence number", with "*" for the marker, then its bytes and its samples: a sample of
/// 7 bytes as "1:7", from byte 500 on as "1:7@500".
std::string Describe(const Bytes& bytes) {
  CHintSample hintSample(nullptr);
  EXPECT_EQ(Read(&hintSample, bytes), MP4_OK);
  std::string text;
  CHintPacket* packet = nullptr;
  for (u32 i = 1; hintSample.GetPacket(i, &packet) == MP4_OK; ++i) {
    const RtpHeader header = packet->GetHeader();
    text += " #" + std::to_string(header.sequenceNumber) + (header.marker != 0 ? "*" : "");
    CRTPBaseConstructor* constructor = nullptr;
    for (u32 k = 1; packet->GetConstructor(k, &constructor) == MP4_OK; ++k) {
      if (const auto* data = dynamic_cast<CRTPImmediateConstructor*>(constructor)) {
        for (const u8 byte : data->Data()) text += " " + std::to_string(byte);
      } else if (const auto* piece = dynamic_cast<CRTPSampleConstructor*>(constructor)) {
        text += " " + std::to_string(piece->SampleNumber()) + ":" + std::to_string(piece->Length());
        if (piece->SampleOffset() != 0) text += "@" + std::to_string(piece->SampleOffset());
      }
    }
  }
  return text;
}

/// A file that is written, hinted and read again.
class HintedMovie {
 public:
  u32 AddMedia(const Media& media) {
    CMp4Track* track = movie.AddBareTrack();
    EXPECT_EQ(track->SetTrackType(media.kind), MP4_OK);
    EXPECT_EQ(track->SetTimeScale(media.timeScale), MP4_OK);
    const u8 info[] = {0x11, 0x90};
    if (media.kind == MP4_KIND_AUDIO) {
      EXPECT_EQ(track->SetAudioFormat(0x100, 0, info, 2, MP4_FORMAT_MP4A), MP4_OK);
    } else if (media.kind == MP4_KIND_VIDEO) {
      EXPECT_EQ(track->SetVideoFormat(320, 240, info, 2, MP4_FORMAT_MP4V), MP4_OK);
    } else {
      EXPECT_EQ(track->SetLine21Format(0, 0, 0), MP4_OK);
    }
    for (u32 i = 0; i < media.sizes.size(); ++i) {
      const u64 late = i + 1 == media.sizes.size() ? media.lateBy : 0;
      EXPECT_EQ(WriteSample(track, media.sizes[i], u64{media.step} * i + late), MP4_OK);
    }
    EXPECT_EQ(movie->CloseTrack(track), MP4_OK);
    return ++m_tracks;
  }
  CMp4HintTrack* AddHint(u32 hintType, std::initializer_list<u32> references = {1}) {
    CMp4HintTrack* hint = nullptr;
    EXPECT_EQ(movie->AddHintTrack(&hint, hintType), MP4_OK);
    for (const u32 track : references) EXPECT_EQ(hint->AddReferencedTrack(track), MP4_OK);
    ++m_tracks;
    return hint;
  }
  /// Closes what is written, and opens it again to read.
  CMp4File* Reopen() {
    EXPECT_EQ(movie->Close(), MP4_OK);
    CMp4File* made = nullptr;
    EXPECT_EQ(CreateMp4File(&made), MP4_OK);
    m_read.reset(made);
    EXPECT_EQ(m_read->Open(movie.Name().c_str(), MP4_MODE_READ, MP4_TYPE_3GP), MP4_OK);
    return made;
  }
  /// The hint samples in words, see `Describe`, each behind its time.
  std::string Samples(u32 index) {
    CMp4Track* opened = nullptr;
    u32 count = 0;
    EXPECT_EQ(m_read->OpenTrack(index, &opened), MP4_OK);
    const std::unique_ptr<CMp4Track> track(opened);
    EXPECT_EQ(track->GetSampleCount(&count), MP4_OK);
    std::string text;
    for (u32 sample = 1; sample <= count; ++sample) {
      u32 size = 0;
      u64 time = 0;
      EXPECT_EQ(track->GetSampleSize(sample, &size), MP4_OK);
      Bytes bytes(size);
      EXPECT_EQ(track->ReadSample(sample, size, &size, bytes.data()), MP4_OK);
      EXPECT_EQ(track->GetSampleDecodingTime(sample, &time), MP4_OK);
      text += (text.empty() ? "" : ", ") + std::to_string(time) + Describe(bytes);
    }
    return text;
  }
  /// A box of the hint track, by its path below "trak".
  Bytes HintBox(const std::string& path, u32 index = 2) {
    return BoxAt(movie.Content(), "moov/trak/" + path, index);
  }
  std::unique_ptr<CMp4HintTrack> OpenHint(u32 index) {
    CMp4HintTrack* hint = nullptr;
    EXPECT_EQ(m_read->OpenHintTrack(index, &hint), MP4_OK);
    return std::unique_ptr<CMp4HintTrack>(hint);
  }

  WrittenMovie movie;

 private:
  u32 m_tracks = 0;
  std::unique_ptr<CMp4File> m_read;
};

Bytes Slice(const Bytes& bytes, std::ptrdiff_t at, std::ptrdiff_t size) {
  EXPECT_GE(std::ssize(bytes), at + size);
  return std::ssize(bytes) < at + size ? Bytes() : Bytes(bytes.begin() + at, bytes.begin() + at + size);
}

TEST(HintTrack, PacketisesEachKind) {
  const Media sound = {MP4_KIND_AUDIO, 48000, 1024, {10, 10, 10}};
  const struct {
    const char* name;
    Media media;
    u32 hintType;
    std::string expected;
    u32 maxSamples = 0;
    u32 rtpTimeScale = 0;
  } cases[] = {
      // What gathers at the end is left out, and so is the only sample of a track.
      {"a lone sample", {MP4_KIND_VIDEO, 1000, 40, {100}}, MP4_HINT_VIDEO, ""},
      {"video", {MP4_KIND_VIDEO, 1000, 40, {496, 100, 50}}, MP4_HINT_VIDEO, "0 #0* 1:496, 3600 #1* 2:100"},
      // One that is cut is written at once, behind the group before it; sequence numbers go on.
      {"a lone sample that is cut", {MP4_KIND_VIDEO, 1000, 40, {497}}, MP4_HINT_VIDEO, "0 #0* 1:497"},
      {"video that is cut",
       {MP4_KIND_VIDEO, 1000, 40, {100, 600, 100}},
       MP4_HINT_VIDEO,
       "0 #0* 1:100, 3600 #1 2:500 #2* 2:100@500"},
      // The clock of video is 90000, whatever is asked for; that of sound can be set.
      {"the clock of video",
       {MP4_KIND_VIDEO, 500, 7, {9, 9, 9}},
       MP4_HINT_VIDEO,
       "0 #0* 1:9, 1260 #1* 2:9",
       0,
       8000},
      {"the clock of sound", sound, MP4_HINT_AAC, "0 #0* 0 16 0 80 1:10, 1024 #1* 0 16 0 80 2:10"},
      {"a clock that is set", sound, MP4_HINT_AAC, "0 #0* 0 16 0 80 1:10, 21 #1* 0 16 0 80 2:10", 0, 1000},
      // Two bytes for the group and two for each sample count in every kind.
      {"AAC in groups",
       {MP4_KIND_AUDIO, 48000, 1024, {100, 100, 290, 300, 196, 1, 9}},
       MP4_HINT_AAC,
       "0 #0* 0 48 3 32 3 32 9 16 1:100 2:100 3:290, 3072 #1* 0 16 9 96 4:300",
       3},
      {"video in groups",
       {MP4_KIND_VIDEO, 1000, 40, {100, 100, 293, 1, 1}},
       MP4_HINT_VIDEO,
       "0 #0* 1:100 2:100",
       3},
      // LATM: full groups, at the time of the sample behind them; what is written begins at 0 in any case.
      {"LATM",
       {MP4_KIND_AUDIO, 48000, 1024, {10, 20, 30, 1, 2, 3, 40}, 500},
       MP4_HINT_LATM,
       "0 #0* 10 1:10 20 2:20 30 3:30, 3572 #1* 1 4:1 2 5:2 3 6:3"},
      {"LATM of three", sound, MP4_HINT_LATM, ""},
      {"captions",
       {MP4_KIND_TEXT, 1000, 40, {2, 2, 2, 2, 2}},
       MP4_HINT_CAPTION,
       "0 #0* 0 1:2 2:2, 7200 #1* 0 3:2 4:2"},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.name);
    HintedMovie hinted;
    hinted.AddMedia(test.media);
    CMp4HintTrack* hint = hinted.AddHint(test.hintType);
    if (test.maxSamples != 0) {
      EXPECT_EQ(hint->SetMaxSamplesPerPacket(test.maxSamples), MP4_OK);
    }
    EXPECT_EQ(hint->SetRtpTimeScale(test.rtpTimeScale), MP4_OK);
    ASSERT_EQ(hinted.movie->CloseHintTrack(hint), MP4_OK);
    hinted.Reopen();
    EXPECT_EQ(hinted.Samples(2), test.expected);
  }
}

TEST(HintTrack, GathersWithoutABound) {
  HintedMovie hinted;
  hinted.AddMedia({MP4_KIND_VIDEO, 1000, 40, std::vector<u32>(167, 1)});
  CMp4HintTrack* hint = hinted.AddHint(MP4_HINT_VIDEO);
  ASSERT_EQ(hint->SetMaxSamplesPerPacket(kEndless), MP4_OK);
  ASSERT_EQ(hinted.movie->CloseHintTrack(hint), MP4_OK);
  hinted.Reopen();
  const std::string samples = hinted.Samples(2);
  EXPECT_TRUE(samples.ends_with(" 166:1")) << "500 bytes less 2, at 3 for a sample of 1: " << samples;
}

// All tracks are asked for their times by way of the one whose turn was last, and a group goes out under the
// name, the sizes and the clock of the track behind it.
TEST(HintTrack, MixesUpSeveralReferences) {
  HintedMovie hinted;
  hinted.AddMedia({MP4_KIND_TEXT, 1000, 10, {10, 20, 30}});
  hinted.AddMedia({MP4_KIND_TEXT, 500, 100, {5, 6}});
  ASSERT_EQ(hinted.movie->CloseHintTrack(hinted.AddHint(MP4_HINT_CAPTION, {1, 2})), MP4_OK);
  hinted.Reopen();
  EXPECT_EQ(hinted.Samples(3), "0 #0* 0 1:5, 2 #1* 0 1:10, 18000 #2* 0 2:6");
}

TEST(HintTrack, LeavesItsBoxesBehind) {
  HintedMovie hinted;
  // 80 bytes in the busiest second: that the samples at 0 and 1000 ms both lie in it is what makes them 80.
  hinted.AddMedia({MP4_KIND_TEXT, 1000, 500, {10, 20, 50, 2}});
  CMp4HintTrack* hint = hinted.AddHint(MP4_HINT_CAPTION);
  EXPECT_EQ(hint->SetMaxPacketSize(301), MP4_OK);
  EXPECT_EQ(hint->SetTimeOffset(9), MP4_OK);
  ASSERT_EQ(hinted.movie->CloseHintTrack(hint), MP4_OK);
  hinted.Reopen();
  const u32 average = 82 * 8000 / 1500;
  EXPECT_EQ(hinted.HintBox("mdia/minf/hmhd"),
            FullBox("hmhd", 0, 0, Bytes().U16(301).U16(150).U32s({80 * 8, average, 0})));
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
  const u32 size = static_cast<u32>(std::strlen(text)) + 1;
  EXPECT_EQ(hinted.HintBox("udta/hnti"), Box("hnti", {Box("sdp ", Bytes().Text(text))}));
  EXPECT_EQ(read->GetTrackSdp(text, size), MP4_OK);
  EXPECT_EQ(read->GetTrackSdp(text, size - 1), MP4_BUFFER_TOO_SMALL);
}

// Without time there is no rate, and the guesses stand.
TEST(HintTrack, KeepsItsGuessesOfBitRatesWithoutTime) {
  HintedMovie hinted;
  hinted.AddMedia({MP4_KIND_TEXT, 1000, 500, {10}});
  ASSERT_EQ(hinted.movie->CloseHintTrack(hinted.AddHint(MP4_HINT_CAPTION)), MP4_OK);
  hinted.Reopen();
  EXPECT_EQ(hinted.HintBox("mdia/minf/hmhd"),
            FullBox("hmhd", 0, 0, Bytes().U16(500).U16(250).U32s({500000, 300000, 0})));
}

TEST(HintTrack, ClosesWithoutAReferenceAndNumbersTo128) {
  HintedMovie hinted;
  hinted.AddMedia({MP4_KIND_TEXT, 1000, 40, {2, 2, 2}});
  for (u32 number = 96; number < 128; ++number) {
    CMp4HintTrack* hint = hinted.AddHint(MP4_HINT_CAPTION, {});
    if (number == 97) {
      EXPECT_EQ(hint->SetRtpTimeScale(8000), MP4_OK);
    }
    if (number == 98) {
      // A close that fails uses its number up, too.
      EXPECT_EQ(hint->AddReferencedTrack(200), MP4_OK);
      EXPECT_EQ(hinted.movie->CloseHintTrack(hint), MP4_NOT_FOUND);
      EXPECT_EQ(hint->SetTimeScale(1), MP4_OK) << "or the file could not be closed";
      delete hint;
      continue;
    }
    ASSERT_EQ(hinted.movie->CloseHintTrack(hint), MP4_OK);
  }
  ASSERT_EQ(hinted.movie->CloseHintTrack(hinted.AddHint(MP4_HINT_CAPTION)), MP4_OK);
  CMp4HintTrack* last = hinted.AddHint(MP4_HINT_CAPTION);
  EXPECT_EQ(hinted.movie->CloseHintTrack(last), MP4_BAD_ARGUMENT);
  EXPECT_EQ(last->SetTimeScale(1), MP4_OK);
  delete last;
  hinted.Reopen();
  // Of 128 there are 7 bits in the packets.
  testing::internal::CaptureStdout();
  EXPECT_EQ(hinted.OpenHint(34)->DumpHintSample(1), MP4_OK);
  EXPECT_NE(testing::internal::GetCapturedStdout().find("Payload type: 0 "), std::string::npos);
  EXPECT_EQ(Slice(hinted.HintBox("mdia/mdhd", 2), 20, 4), Bytes().U32(90000));
  EXPECT_EQ(Slice(hinted.HintBox("mdia/mdhd", 3), 20, 4), Bytes().U32(8000));
}

TEST(HintTrack, RefusesWhatItCannotPacketise) {
  const struct {
    const char* name;
    Media media;
    u32 hintType;
    std::initializer_list<u32> references;
    Mp4Result result;
    u16 maxPacketSize = 500;
  } cases[] = {
      {"a track that is not there", {}, MP4_HINT_VIDEO, {9}, MP4_NOT_FOUND},
      {"itself, which is not closed", {}, MP4_HINT_VIDEO, {2}, MP4_NOT_FOUND},
      {"a second one that is not there", {}, MP4_HINT_VIDEO, {1, 9}, MP4_NOT_FOUND},
      {"LATM of two", {MP4_KIND_AUDIO}, MP4_HINT_LATM, {1, 1}, MP4_BAD_ARGUMENT},
      {"LATM of video", {}, MP4_HINT_LATM, {1}, MP4_BAD_ARGUMENT},
      {"LATM too large", {MP4_KIND_AUDIO, 1000, 40, {499, 1, 1, 1}}, MP4_HINT_LATM, {1}, MP4_NOT_READY},
      {"LATM with a long length",
       {MP4_KIND_AUDIO, 1000, 40, {3570, 1, 1, 1}},
       MP4_HINT_LATM,
       {1},
       MP4_BAD_ARGUMENT,
       60000},
      {"AAC without room", {MP4_KIND_AUDIO, 1000, 40, {10}}, MP4_HINT_AAC, {1}, MP4_NOT_READY, 3},
      {"captions of video", {}, MP4_HINT_CAPTION, {1}, MP4_NOT_READY},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.name);
    HintedMovie hinted;
    hinted.AddMedia(test.media);
    const std::unique_ptr<CMp4HintTrack> hint(hinted.AddHint(test.hintType, test.references));
    EXPECT_EQ(hint->SetMaxPacketSize(test.maxPacketSize), MP4_OK);
    EXPECT_EQ(hinted.movie->CloseHintTrack(hint.get()), test.result);
  }
}

// Every operation, in each state that a hint track can be in.
TEST(HintTrack, AnswersByItsState) {
  const auto answers = [](CMp4HintTrack* hint) {
    u32 number = 0;
    i32 offset = 0;
    u64 time = 0;
    char text[4];
    return std::vector<Mp4Result>{
        hint->GetHintTrackId(&number),   hint->ReservedHint1(0),           hint->ReservedHint2(0),
        hint->AddReferencedTrack(1),     hint->ReservedHint3(0, 0),        hint->ReservedHint4(0, 0, 0, 0),
        hint->GetPacketTime(1, &time),   hint->DumpHintSample(1),          hint->SetMaxPacketSize(9),
        hint->SetMaxSamplesPerPacket(2), hint->GetTrackSdp(text, 4),       hint->GetTimeScale(&number),
        hint->GetTimeOffset(&offset),    hint->GetSequenceOffset(&offset), hint->SetTimeScale(1),
        hint->SetTimeOffset(1),          hint->SetSequenceOffset(1),       hint->SetRtpTimeScale(1)};
  };
  constexpr Mp4Result kReady = MP4_NOT_READY;
  const std::vector<Mp4Result> written = {
      MP4_OK, MP4_NOT_FOUND, MP4_NOT_FOUND, MP4_OK, MP4_OK, MP4_OK, kReady, MP4_NOT_FOUND, MP4_OK,
      MP4_OK, MP4_NOT_FOUND, kReady,        kReady, kReady, MP4_OK, MP4_OK, MP4_OK,        MP4_OK};
  const std::vector<Mp4Result> bound = {
      MP4_OK, MP4_NOT_FOUND,        MP4_NOT_FOUND, kReady, MP4_OK, MP4_OK, MP4_OK, MP4_OK, MP4_OK,
      MP4_OK, MP4_BUFFER_TOO_SMALL, kReady,        kReady, kReady, kReady, kReady, kReady, MP4_OK};
  const std::vector<Mp4Result> detached = {kReady, kReady, MP4_NOT_FOUND, kReady, kReady, kReady,
                                           kReady, kReady, kReady,        MP4_OK, kReady, kReady,
                                           kReady, kReady, kReady,        kReady, kReady, MP4_OK};
  HintedMovie hinted;
  hinted.AddMedia({MP4_KIND_TEXT, 1000, 40, {2, 2, 2}});
  std::unique_ptr<CMp4HintTrack> hint(hinted.AddHint(MP4_HINT_CAPTION));
  EXPECT_EQ(answers(hint.get()), written);
  EXPECT_EQ(hint->SetMaxPacketSize(0), MP4_BAD_ARGUMENT);
  EXPECT_EQ(hint->SetMaxSamplesPerPacket(0), MP4_BAD_ARGUMENT);
  std::unique_ptr<CMp4HintTrack> unused(hinted.AddHint(MP4_HINT_VIDEO, {}));
  EXPECT_EQ(unused->SetTimeScale(1), MP4_OK);
  ASSERT_EQ(hinted.movie->CloseHintTrack(hint.release()), MP4_OK);
  CMp4File* const file = hinted.Reopen();
  EXPECT_EQ(answers(unused.get()), detached);
  EXPECT_EQ(hinted.movie->CloseHintTrack(unused.get()), kReady);

  testing::internal::CaptureStdout();
  hint = hinted.OpenHint(2);
  EXPECT_EQ(answers(hint.get()), bound);
  const std::string dump = testing::internal::GetCapturedStdout();
  EXPECT_EQ(dump.find("    Packet Count 1\n    {\n      Relative time: 0 "), 0u) << dump;
  EXPECT_TRUE(dump.ends_with("    }\n\n ------------------ \n")) << dump;
  EXPECT_EQ(Got(*hint, &CMp4HintTrack::GetPacketTime, 1u), 0u);
  EXPECT_EQ(Got(*hint, &CMp4HintTrack::GetHintTrackId), 2u);
  EXPECT_EQ(Ask(*hint, &CMp4HintTrack::GetPacketTime, 99u).result, MP4_NOT_FOUND);
  EXPECT_EQ(hint->DumpHintSample(0), MP4_ZERO_INDEX);
  EXPECT_EQ(file->CloseHintTrack(hint.get()), kReady) << "it is not being written";
  ASSERT_EQ(file->Close(), MP4_OK);
  EXPECT_EQ(answers(hint.get()), detached);
}

/// A hint track of another writer.
Track ForeignHint(const std::vector<u64>& sizes) {
  Track track;
  track.mediaHeader = FullBox("hmhd", 0, 0, Bytes().Zeros(16));
  track.hdlr = Hdlr("hint");
  track.stsd = Stsd({MpegEntry("rtp ", Bytes().U16(1).U16(1).U32(1450).Add(Box("tims", Bytes().U32(9))))});
  track.stsz = Stsz(sizes);
  track.stts = Stts({{static_cast<u32>(sizes.size()), 1}});
  track.stsc = Stsc({{1, static_cast<u32>(sizes.size())}});
  track.chunkOffsets = Stco({24});
  return track;
}

TEST(HintTrack, BindsToHintTracksForRtpAlone) {
  Track plain;
  Track other = ForeignHint({4});
  other.stsd = Stsd({Box("abcd", Bytes().Zeros(8))});
  Track empty = ForeignHint({4});
  empty.stsd = Stsd({});
  Movie movie;
  movie.tracks = {ForeignHint({4}), plain, other, empty};
  OpenedMovie opened(movie);
  const Mp4Result expected[] = {MP4_BAD_ARGUMENT, MP4_OK,        MP4_BAD_ARGUMENT,
                                MP4_BAD_BOX,      MP4_NOT_FOUND, MP4_BAD_ARGUMENT};
  for (u32 index = 0; index < std::size(expected); ++index) {
    CMp4HintTrack* hint = nullptr;
    EXPECT_EQ(opened->OpenHintTrack(index, &hint), expected[index]) << index;
    EXPECT_EQ(hint != nullptr, expected[index] == MP4_OK);
    delete hint;
  }
}

// A size from the file is no reason to take memory.
TEST(HintTrack, PrintsNoSampleThatTheFileCannotHold) {
  Movie movie;
  movie.tracks = {ForeignHint({0xFFFFFFFF, 0, 3})};
  OpenedMovie opened(movie);
  CMp4HintTrack* hint = nullptr;
  ASSERT_EQ(opened->OpenHintTrack(1, &hint), MP4_OK);
  const std::unique_ptr<CMp4HintTrack> owner(hint);
  EXPECT_EQ(hint->DumpHintSample(1), MP4_FILE_IO);
  EXPECT_EQ(hint->DumpHintSample(2), MP4_BAD_ARGUMENT);
  char text[4];
  EXPECT_EQ(hint->GetTrackSdp(text, 4), MP4_NOT_FOUND);
}

}  // namespace
}  // namespace kt::test

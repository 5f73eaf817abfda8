// Tracks that are written, through the public faces: what stands in the file afterwards.

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <numeric>

#include "support/written_movie.h"

namespace kt::test {
namespace {

// "ftyp" of this file type and the header of "mdat" stand before the first sample.
constexpr u64 kFirstSample = 28 + 16;

TEST(TrackWriting, AChunkEndsWithTheSampleThatReachesALimit) {
  const std::tuple<const char*, std::vector<u32>, std::vector<std::pair<u32, u32>>, std::vector<u64>>
      cases[] = {
          {"100 samples to a chunk", std::vector<u32>(250, 1), {{1, 100}, {3, 50}}, {100, 100, 50}},
          {"the last chunk is full", std::vector<u32>(200, 3), {{1, 100}}, {300, 300}},
          {"a large sample is a chunk of its own", {2'000'000, 1}, {{1, 1}}, {2'000'000, 1}},
          {"a byte below the limit", {999'999, 1, 1}, {{1, 2}, {2, 1}}, {1'000'000, 1}},
          {"at the limit", {1'000'000, 1}, {{1, 1}}, {1'000'000, 1}},
          {"no sample", {}, {}, {}},
      };
  for (const auto& [what, sizes, chunkRuns, chunkSizes] : cases) {
    SCOPED_TRACE(what);
    WrittenMovie movie;
    CMp4Track* track = movie.AddTextTrack();
    u64 time = 0;
    for (const u32 size : sizes) ASSERT_EQ(WriteSample(track, size, time++), MP4_OK);
    const Bytes content = movie.Finish({track});
    std::vector<u64> offsets;
    u64 position = kFirstSample;
    for (const u64 size : chunkSizes) {
      offsets.push_back(position);
      position += size;
    }
    const bool alike = std::ranges::count(sizes, sizes.empty() ? 0 : sizes[0]) == std::ssize(sizes);
    EXPECT_EQ(SampleTableBoxAt(content, "stsz"),
              alike ? ConstantStsz(sizes.empty() ? 0 : sizes[0], static_cast<u32>(sizes.size()))
                    : Stsz({sizes.begin(), sizes.end()}));
    EXPECT_EQ(SampleTableBoxAt(content, "stsc"), Stsc(chunkRuns));
    EXPECT_EQ(SampleTableBoxAt(content, "stco"), Stco(offsets));
    EXPECT_EQ(SampleTableBoxAt(content, "co64"), Bytes());
  }
}

TEST(TrackWriting, SyncTableHoldsTheSyncSamplesUnlessAllAre) {
  std::vector<bool> many(70'000, true);
  std::vector<u64> numbers(many.size());
  std::iota(numbers.begin(), numbers.end(), 1);
  many.push_back(false);
  const std::pair<std::vector<bool>, Bytes> cases[] = {{{true, true, true}, {}},
                                                       {{true, true, true, false, true}, Stss({1, 2, 3, 5})},
                                                       {{false, true}, Stss({2})},
                                                       {{false, false}, Stss({})},
                                                       {{true, true, false}, Stss({1, 2})},
                                                       {many, Stss(numbers)}};
  for (const auto& [syncs, table] : cases) {
    WrittenMovie movie;
    CMp4Track* track = movie.AddTextTrack();
    u64 time = 0;
    for (const bool sync : syncs) ASSERT_EQ(WriteSample(track, 1, time++, sync), MP4_OK);
    EXPECT_EQ(SampleTableBoxAt(movie.Finish({track}), "stss"), table) << syncs.size();
  }
}

constexpr Mp4Result kBad = MP4_BAD_ARGUMENT, kBadTiming = MP4_BAD_TIMING;

TEST(TrackWriting, TimesBecomeRuns) {
  struct Sample {
    u64 decoding, composition;
    Mp4Result result = MP4_OK;
  };
  const Bytes kWrapped = Ctts({{2, 5}, {1, 0xFFFFFFFF}});
  constexpr u64 kHalf = u64{1} << 31, kWhole = u64{1} << 32, kLate = ~u64{0};
  const struct {
    const char* what;
    std::vector<Sample> samples;
    std::vector<std::pair<u32, u32>> stts;
    u32 duration;  // in media ticks
    Bytes ctts = {};
  } cases[] = {
      {"even", {{0, 0}, {10, 10}, {20, 20}}, {{3, 10}}, 30},
      {"no sample", {}, {}, 1},
      {"a single sample", {{7, 7}}, {{1, 1}}, 14},
      {"reordered", {{0, 20}, {10, 40}, {20, 20}}, {{3, 10}}, 30, Ctts({{1, 20}, {1, 30}, {1, 0}})},
      {"raised above its composition time", {{0, 5}, {9, 14}, {9, 10}}, {{1, 9}, {2, 2}}, 13, kWrapped},
      // The empty table of an offset that begins late stays.
      {"a late offset", {{0, 0}, {10, 20, kBad}, {10, 10, kBad}}, {{2, 10}}, 20, Ctts({})},
      {"decoded after it is shown", {{0, 0}, {10, 9, kBadTiming}, {10, 10, kBad}}, {{1, 1}}, 1},
      {"more than 32 bits", {{0, 0}, {kWhole + 1, kLate, kBadTiming}, {2, 2, kBad}}, {{1, 1}}, 2},
      {"a step of 32 bits falls to 2", {{0, 0}, {kWhole, kWhole}}, {{2, 2}}, 1},
      {"a step of 31 bits does so, too", {{0, 0}, {kHalf, kHalf}}, {{2, 2}}, 0},
      {"the longest step", {{0, 0}, {kHalf - 1, kHalf - 1}}, {{2, 0x7FFFFFFF}}, 0xFFFFFFFE},
      {"across 32 bits", {{kWhole - 1, kWhole - 1}, {kWhole + 1, kWhole + 1}}, {{2, 2}}, 3},
      {"up to the last time that there is", {{kLate, kLate}}, {{1, 1}}, 0xFFFFFFFF},
  };
  for (const auto& [what, samples, stts, duration, ctts] : cases) {
    SCOPED_TRACE(what);
    WrittenMovie movie;
    CMp4Track* track = movie.AddTextTrack(1000);
    EXPECT_EQ(track->WriteSample(nullptr, 5, 0, 0, 1), MP4_BAD_ARGUMENT) << "and the track stays usable";
    EXPECT_EQ(track->WriteSample(nullptr, 0, 0, 0, 1), MP4_BAD_ARGUMENT);
    EXPECT_EQ(track->WriteSample("x", 0, 0, 0, 1), MP4_BAD_ARGUMENT);
    for (const Sample& sample : samples) {
      ASSERT_EQ(track->WriteSample("x", 1, sample.decoding, sample.composition, 1), sample.result);
    }
    const Bytes content = movie.Finish({track});
    EXPECT_EQ(SampleTableBoxAt(content, "stts"), Stts(stts));
    EXPECT_EQ(SampleTableBoxAt(content, "ctts"), ctts);
    EXPECT_EQ(BoxAt(content, "moov/trak/mdia/mdhd"), Mdhd(1000, duration));
  }
}

// Set-up.

TEST(TrackWriting, EachStepOfTheSetUpNeedsTheOnesBeforeIt) {
  WrittenMovie movie;
  const std::unique_ptr<CMp4Track> track(movie.AddBareTrack());
  const auto formatResult = [&] { return Ask(*track, &CMp4Track::GetSampleFormat).result; };
  EXPECT_EQ(Got(*track, &CMp4Track::GetTrackType), MP4_KIND_UNKNOWN);
  EXPECT_EQ(formatResult(), MP4_NOT_FOUND);
  EXPECT_EQ(track->SetTrackType(MP4_KIND_AUDIO), MP4_OK);
  EXPECT_EQ(Got(*track, &CMp4Track::GetTrackType), MP4_KIND_AUDIO);
  EXPECT_EQ(track->SetTimeScale(65536 + 8000), MP4_OK);
  EXPECT_EQ(track->SetAudioFormat(-1, 0, "", 0, MP4_FORMAT_MP4A), MP4_BAD_ARGUMENT);
  EXPECT_EQ(track->SetAudioFormat(0x100, 0, "", 0, MP4_FORMAT_MP4V), MP4_BAD_ARGUMENT);
  EXPECT_EQ(track->SetVideoFormat(16, 16, "", 0, MP4_FORMAT_MP4A), MP4_BAD_ARGUMENT);
  EXPECT_EQ(formatResult(), MP4_NOT_FOUND) << "what was refused has made no entry";
  EXPECT_EQ(track->SetAudioFormat(0x100, 0, "", 0, MP4_FORMAT_SAWB), MP4_OK);
  EXPECT_EQ(Got(*track, &CMp4Track::GetSampleFormat), MP4_FORMAT_SAWB);
  EXPECT_EQ(track->SetAudioFormat(0x100, 0, "amr", 3, MP4_FORMAT_SAMR), MP4_OK);
  EXPECT_EQ(Got(*track, &CMp4Track::GetDecoderSpecificInfoSize, 2u), 3u) << "in an entry of its own";
  EXPECT_EQ(Got(*track, &CMp4Track::GetSampleRate), 8000u) << "the low 16 bits";
  EXPECT_EQ(track->SetDimensions(1, 0x80000000), MP4_BAD_ARGUMENT);
  u32 width = 0;
  EXPECT_EQ(Ask(*track, &CMp4Track::GetDimensions, &width).result, MP4_NOT_FOUND)
      << "not while it is written";
  EXPECT_EQ(Ask(*track, &CMp4Track::GetSampleDecodingTime, 1u).result, MP4_NOT_READY);
  EXPECT_EQ(Ask(*track, &CMp4Track::FindSyncSample, 0u).result, MP4_NOT_READY);
}

// A second media header is added, and a kind without a handler leaves the handler of the first.
TEST(TrackWriting, SettingTheKindTwiceAddsASecondMediaHeader) {
  const std::tuple<u32, const char*, const char*> cases[] = {
      {MP4_KIND_VIDEO, "vide", "dinfstblnmhdvmhdnmhd"}, {MP4_KIND_AUDIO, "soun", "dinfstblnmhdsmhdnmhd"}};
  for (const auto& [kind, handler, children] : cases) {
    WrittenMovie movie;
    CMp4Track* track = movie.AddTextTrack();
    ExpectEach(MP4_OK, {track->SetTrackType(kind), track->SetTrackType(77)});
    EXPECT_EQ(Got(*track, &CMp4Track::GetTrackType), 77u);
    const Bytes content = movie.Finish({track});
    EXPECT_EQ(CodesIn(BoxAt(content, "moov/trak/mdia/minf")), children);
    EXPECT_EQ(BoxAt(content, "moov/trak/mdia/hdlr"),
              FullBox("hdlr", 0, 0, Bytes().U32(0).Text(handler).Zeros(13)));
  }
}

TEST(TrackWriting, VideoSizesThatTheEntryCannotHoldAreRefusedLate) {
  const std::tuple<u32, u32, Mp4Result, bool> cases[] = {{32767, 32767, MP4_OK, true},
                                                         {32768, 16, MP4_BAD_ARGUMENT, true},
                                                         {16, 65536 + 16, MP4_BAD_ARGUMENT, true},
                                                         {0x80000000, 16, MP4_BAD_ARGUMENT, false}};
  for (const auto& [width, height, result, hasEntry] : cases) {
    WrittenMovie movie;
    const std::unique_ptr<CMp4Track> track(movie.AddBareTrack());
    EXPECT_EQ(track->SetVideoFormat(width, height, "", 0, MP4_FORMAT_S263), result) << width;
    EXPECT_EQ(Ask(*track, &CMp4Track::GetSampleFormat).result, hasEntry ? MP4_OK : MP4_NOT_FOUND) << width;
  }
}

// A size without data reads as zeros: no stale memory stands for the bytes, and the file has none.
TEST(TrackWriting, SoundKeepsVolumeBalanceAndDecoderInfo) {
  const std::pair<u32, const char*> cases[] = {{MP4_FORMAT_SAMR, "samr"}, {MP4_FORMAT_SAWB, "sawb"}};
  for (const auto& [format, code] : cases) {
    WrittenMovie movie;
    CMp4Track* track = movie.AddBareTrack();
    ExpectEach(MP4_OK, {track->SetTrackType(MP4_KIND_AUDIO), track->SetTimeScale(16000),
                        track->SetAudioFormat(0x180, 0x7F01, "info", 4, format),
                        track->SetAudioFormat(0x180, 0x7F01, nullptr, 3, format)});
    Bytes info = {9, 9, 9, 9};
    u32 size = 0;
    EXPECT_EQ(track->GetDecoderSpecificInfo(2, 4, &size, info.data()), MP4_OK);
    EXPECT_TRUE(size == 3 && info == Bytes({0, 0, 0, 9}));
    const Bytes content = movie.Finish({track}), tkhd = BoxAt(content, "moov/trak/tkhd");
    EXPECT_EQ(Bytes(tkhd.begin() + 44, tkhd.begin() + 46), Bytes().U16(0x180));
    EXPECT_EQ(BoxAt(content, "moov/trak/mdia/minf/smhd"), FullBox("smhd", 0, 0, Bytes().U16(0x7F01).U16(0)));
    EXPECT_EQ(SampleTableBoxAt(content, "stsd"),
              Stsd({AudioEntry(code, 2, 16000, Box("damr", Bytes().Text("info"))),
                    AudioEntry(code, 2, 16000, Box("damr"))}));
  }
}

// The first entry takes the size, also when another one has just been added. The bit rates go by the times
// that were given: the last sample's is raised to 2002, and counts as 1500.
TEST(TrackWriting, TheFirstEntryGetsTheSizeAndTheBitRates) {
  WrittenMovie movie;
  CMp4Track* track = movie.AddTrack(MP4_KIND_VIDEO, 1000, MP4_FORMAT_MP4V, {'a', 'b'});
  ASSERT_EQ(track->SetVideoFormat(160, 120, "c", 1, MP4_FORMAT_S263), MP4_OK);
  u16 width = 0;
  EXPECT_EQ(Got(*track, &CMp4Track::GetVideoSize, &width), 120);
  EXPECT_EQ(width, 160);
  WriteSamples(track, 100, {0, 1000, 2000, 1500});
  const Bytes stsd = SampleTableBoxAt(movie.Finish({track}), "stsd");
  EXPECT_EQ(CodesIn(stsd, 16), "mp4vs263");
  const Bytes config =
      Bytes().U8(0x20).U8(4 << 2 | 1).U24(0x140000).U32(2400).U32(1596).U8(5).U8(2).Text("ab");
  const Bytes es = Bytes().Zeros(3).Add(Descriptor(4, config)).Add(Descriptor(6, {2}));
  const Bytes esds = FullBox("esds", 0, 0, Descriptor(3, es));
  EXPECT_NE(std::search(stsd.begin(), stsd.end(), esds.begin(), esds.end()), stsd.end());
}

// Durations.

TEST(TrackWriting, DurationsInMovieAndMediaTicks) {
  WrittenMovie movie;
  CMp4Track* first = movie.AddTextTrack(600);
  CMp4Track* second = movie.AddTextTrack(90000);
  WriteSamples(first, 1, {0, 300, 600});
  WriteSamples(second, 1, {0, 900000});
  const Bytes content = movie.Finish({first, second});
  OpenedMovie read(content);
  EXPECT_EQ(Got(*read.OpenTrack(1), &CMp4Track::GetDuration), 1500u);
  EXPECT_EQ(Got(*read.OpenTrack(2), &CMp4Track::GetDuration), 20000u);
  const Bytes mvhd = BoxAt(content, "moov/mvhd");
  EXPECT_EQ(Bytes(mvhd.begin() + 20, mvhd.begin() + 28), Bytes().U32(1000).U32(1500))
      << "the movie lasts as long as its first track";
  EXPECT_EQ(Bytes(mvhd.end() - 4, mvhd.end()), Bytes().U32(3)) << "the next track id";
}

// Closing.

TEST(TrackWriting, AFailedFinishCanBeRepeatedAndTakesNoMoreSamples) {
  WrittenMovie movie;
  CMp4Track* track = movie.AddBareTrack();
  ASSERT_EQ(track->SetTrackType(MP4_KIND_TEXT), MP4_OK);
  WriteSamples(track, 1, {0, 10});
  EXPECT_EQ(movie->CloseTrack(track), MP4_BAD_TIMING) << "no time scale";
  EXPECT_EQ(WriteSample(track, 1, 20), MP4_NOT_FOUND);
  ASSERT_EQ(track->SetTimeScale(1000), MP4_OK);
  EXPECT_EQ(movie->CloseTrack(track), MP4_NOT_FOUND) << "no sample entry";
  ASSERT_EQ(track->SetLine21Format(0, 0, 0), MP4_OK);
  const Bytes content = movie.Finish({track});
  EXPECT_EQ(SampleTableBoxAt(content, "stts"), Stts({{2, 10}})) << "the last sample got its duration once";
  EXPECT_EQ(SampleTableBoxAt(content, "stco"), Stco({kFirstSample}));
  EXPECT_EQ(CodesIn(BoxAt(content, "moov/trak/mdia/minf/stbl")), "sttsstszstscstsdstco");
}

// Reading it would move the position, and the next chunk would go over what is there.
TEST(TrackWriting, AFinishedTrackOpensButItsSamplesAreNotRead) {
  WrittenMovie movie;
  CMp4Track* first = movie.AddTextTrack();
  CMp4Track* second = movie.AddTextTrack();
  ASSERT_EQ(first->WriteSample("first", 5, 0, 0, 1), MP4_OK);
  CMp4Track* opened = nullptr;
  EXPECT_EQ(movie->OpenTrack(1, &opened), MP4_NOT_FOUND) << "still being written";
  ExpectEach(MP4_OK, {movie->CloseTrack(first), movie->OpenTrack(1, &opened)});
  SampleOf(*opened, 1, MP4_FILE_IO);
  EXPECT_EQ(opened->WriteSample("x", 1, 9, 9, 1), MP4_NOT_FOUND);
  ExpectEach(MP4_OK, {movie->CloseTrack(opened), second->WriteSample("second", 6, 0, 0, 1)});
  EXPECT_EQ(BoxAt(movie.Finish({second}), "mdat"), Box("mdat", Bytes().U64(0x100000008).Text("firstsecond")));
}

}  // namespace
}  // namespace kt::test

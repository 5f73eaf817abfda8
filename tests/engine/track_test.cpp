#include "engine/mp4_track.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <tuple>

#include "support/movie_builder.h"

namespace kt {
namespace {

using namespace test;

// Binding.

TEST(Track, ARequiredBoxThatIsMissingFailsTheBind) {
  const struct {
    const char* what;
    Bytes Track::*piece;
    Mp4Result result;
  } cases[] = {
      {"tkhd", &Track::tkhd, MP4_NOT_FOUND},
      {"mdhd", &Track::mdhd, MP4_NOT_FOUND},
      {"stts", &Track::stts, MP4_NOT_FOUND},
      {"stsz", &Track::stsz, MP4_NOT_FOUND},
      {"stsc", &Track::stsc, MP4_NOT_FOUND},
      {"stco and co64", &Track::chunkOffsets, MP4_NOT_FOUND},
      {"stsd", &Track::stsd, MP4_NOT_FOUND},
      {"hdlr", &Track::hdlr, MP4_OK},
      {"media header", &Track::mediaHeader, MP4_OK},
      {"ctts", &Track::ctts, MP4_OK},
      {"stss", &Track::stss, MP4_OK},
      {"edts", &Track::edts, MP4_OK},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    Track track;
    (track.*row.piece).clear();
    OpenedMovie movie(track);
    ASSERT_EQ(movie.result, MP4_OK) << "opening asks nothing of the tracks";
    EXPECT_EQ(movie.BindResult(), row.result);
  }
}

TEST(Track, MissingContainersFailTheBind) {
  const Track whole;
  const Bytes mediaWithoutInformation = Box("mdia", {whole.mdhd, whole.hdlr});
  const Bytes informationWithoutTable =
      Box("mdia", {whole.mdhd, whole.hdlr, Box("minf", {whole.mediaHeader})});
  const Bytes traks[] = {Box("trak"), Box("trak", {whole.tkhd}),
                         Box("trak", {whole.tkhd, mediaWithoutInformation}),
                         Box("trak", {whole.tkhd, informationWithoutTable}), Box("trak", {whole.Media()})};
  for (const Bytes& trak : traks) {
    OpenedMovie movie(Box("moov", {trak}));
    EXPECT_EQ(movie.BindResult(), MP4_NOT_FOUND) << &trak - traks;
  }
}

TEST(Track, TrackIdZeroIsRefused) {
  Track track;
  track.tkhd = Tkhd(0, 1, 1, 1);
  EXPECT_EQ(OpenedMovie(track).BindResult(), MP4_BAD_VALUE);
}

// The media header decides whatever the handler says; a handler counts only where there is none.
TEST(Track, KindByMediaHeaderAndHandler) {
  const struct {
    Bytes mediaHeader;
    const char* handler;
    u32 kind;
  } cases[] = {
      {Vmhd(), "text", MP4_KIND_VIDEO},
      {Vmhd(), "", MP4_KIND_VIDEO},
      {Smhd(), "vide", MP4_KIND_AUDIO},
      {Bytes(Smhd()).Add(Vmhd()), "soun", MP4_KIND_VIDEO},
      {FullBox("hmhd", 0, 0, Bytes().Zeros(16)), "hint", MP4_KIND_HINT},
      {Nmhd(), "odsm", MP4_KIND_OBJECT_DESCRIPTOR},
      {Nmhd(), "sdsm", MP4_KIND_SCENE_DESCRIPTION},
      {Nmhd(), "text", MP4_KIND_TEXT},
      {{}, "text", MP4_KIND_TEXT},
      {Nmhd(), "vide", MP4_KIND_UNKNOWN},
      {Nmhd(), "abcd", MP4_KIND_UNKNOWN},
      {Nmhd(), "", MP4_KIND_UNKNOWN},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(&row - cases);
    Track content;
    content.mediaHeader = row.mediaHeader;
    content.hdlr = *row.handler != 0 ? Hdlr(row.handler) : Bytes();
    OpenedMovie movie(content);
    ASSERT_EQ(movie.result, MP4_OK);
    u32 kind = 99;
    EXPECT_EQ(movie.OpenTrack()->GetTrackType(&kind), MP4_OK);
    EXPECT_EQ(kind, row.kind);
  }
}

TEST(Track, AHandlerTypeOfZeroFailsTheBindWhereItIsAsked) {
  Track track;
  track.hdlr = Hdlr(std::string_view("\0\0\0\0", 4));
  EXPECT_EQ(OpenedMovie(track).BindResult(), MP4_OK) << "the media header has answered";
  track.mediaHeader = Nmhd();
  EXPECT_EQ(OpenedMovie(track).BindResult(), MP4_NOT_FOUND);
}

// In movie ticks in the file, in media ticks on every sample.
TEST(Track, StartDelayMovesEverySample) {
  const Bytes delayed = Edts({{500, -1}, {5000, 0}});
  const struct {
    const char* what;
    Bytes edts, mvhd;
    Mp4Result result;
    u64 firstTime;
  } cases[] = {
      {"an empty edit before another", delayed, Mvhd(1000), MP4_OK, 15000},
      {"multiplied before it is divided", Edts({{1, -1}, {9, 0}}), Mvhd(7), MP4_OK, 30000 / 7},
      {"a delay of more than 32 bits of media ticks", Edts({{0xFFFFFFFF, -1}, {9, 0}}), Mvhd(1), MP4_OK,
       30000ull * 0xFFFFFFFF},
      {"an empty edit alone", Edts({{500, -1}}), Mvhd(1000), MP4_OK, 0},
      {"an edit of the media", Edts({{500, 100}, {5000, 0}}), Mvhd(1000), MP4_OK, 0},
      {"edts without elst", Box("edts"), Mvhd(1000), MP4_NOT_FOUND, 0},
      {"no mvhd", delayed, {}, MP4_NOT_FOUND, 0},
      {"movie time scale 0 and a delay", delayed, Mvhd(0), MP4_BAD_TIMING, 0},
      {"movie time scale 0 and no delay", Edts({{500, 0}}), Mvhd(0), MP4_OK, 0},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    Movie content;
    content.mvhd = row.mvhd;
    content.tracks[0].edts = row.edts;
    content.tracks[0].mdhd = Mdhd(30000, 0);
    content.tracks[0].ctts = Ctts({{1, 3}});
    OpenedMovie movie(content);
    ASSERT_EQ(movie.BindResult(), row.result);
    if (row.result != MP4_OK) continue;
    const std::unique_ptr<CMp4Track> track = movie.OpenTrack();
    u64 decoding = 0, composition = 0;
    EXPECT_EQ(track->GetSampleDecodingTime(1, &decoding), MP4_OK);
    EXPECT_EQ(track->GetSampleCompositionTime(1, &composition), MP4_OK);
    EXPECT_EQ(decoding, row.firstTime);
    EXPECT_EQ(composition, row.firstTime + 3);
  }
}

// A few bytes can claim four thousand million samples: neither memory nor time may follow the claim.
TEST(Track, ClaimsOfSamplesCostNothing) {
  Track content;
  content.stts = Stts({{0xFFFFFFFE, 1}});
  content.stsz = ConstantStsz(1, 0xFFFFFFFE);
  content.stsc = Stsc({{1, 0xFFFFFFFE}});
  OpenedMovie movie(content);
  const std::unique_ptr<CMp4Track> track = movie.OpenTrack();
  u32 count = 0;
  EXPECT_EQ(track->GetSampleCount(&count), MP4_OK);
  EXPECT_EQ(count, 0xFFFFFFFEu);
  u64 time = 0;
  EXPECT_EQ(track->GetSampleDecodingTime(count, &time), MP4_OK);
  EXPECT_EQ(time, 0xFFFFFFFDu);
  u32 sample = 0;
  EXPECT_EQ(track->FindSyncSample(0xF0000000, &sample), MP4_OK);
  EXPECT_EQ(sample, 0xF0000001u);
  // The sizes of all samples before it in the chunk are added for each read.
  u32 size = 0;
  u8 byte = 0;
  for (u32 i = 0; i < 1000; ++i) {
    ASSERT_EQ(track->ReadSample(0xF0000000u + i, 1, &size, &byte), MP4_FILE_IO);
  }

  content.stts = Stts({{0xFFFFFFFE, 1}, {1, 1}});
  EXPECT_EQ(OpenedMovie(content).BindResult(), MP4_NO_MEMORY);
}

// What the headers and entries say.

TEST(Track, ATrackThatIsReadRefusesToBeWritten) {
  OpenedMovie movie{Track()};
  const std::unique_ptr<CMp4Track> track = movie.OpenTrack();
  for (const Mp4Result& result : {track->SetTimeScale(1), track->SetDimensions(1, 1),
                                  track->SetVideoFormat(1, 1, nullptr, 0, MP4_FORMAT_MP4V),
                                  track->SetAudioFormat(0, 0, nullptr, 0, MP4_FORMAT_MP4A),
                                  track->SetLine21Format(0, 0, 0), track->WriteSample("x", 1, 0, 0, 1)}) {
    EXPECT_EQ(result, MP4_NOT_FOUND);
  }
}

TEST(Track, SampleEntriesAnswerByTheirCode) {
  const std::vector<u8> info = {0x12, 0x10, 0x56};
  const Bytes d263 = Box("d263", info);
  const Bytes damr = Box("damr", info);
  const struct {
    const char* code;
    Bytes entry;
    u32 format;
    bool hasSize;
    u16 channels;  // 0 for MP4_NOT_FOUND, which goes for the rate as well
    u32 infoSize;
  } cases[] = {
      {"mp4v", VisualEntry("mp4v", 176, 144, Esds(0x20, 4, info)), MP4_FORMAT_MP4V, true, 0, 3},
      {"s263", VisualEntry("s263", 176, 144, d263), MP4_FORMAT_S263, true, 0, 3},
      {"mp4a", AudioEntry("mp4a", 2, 8000, Esds(0x40, 5, info)), MP4_FORMAT_MP4A, false, 2, 3},
      // An AMR entry is mono whatever it says.
      {"samr", AudioEntry("samr", 2, 8000, damr), MP4_FORMAT_SAMR, false, 1, 3},
      {"sawb", AudioEntry("sawb", 2, 8000, damr), MP4_FORMAT_SAWB, false, 1, 3},
      {"mp4s", MpegEntry("mp4s", Esds(0x02, 3, info)), MP4_FORMAT_MP4S, false, 0, 3},
      {"ln21", MpegEntry("ln21", Bytes().U8(0)), MP4_FORMAT_UNKNOWN, false, 0, 0},
      {"avc1", VisualEntry("avc1", 176, 144, {}), MP4_FORMAT_UNKNOWN, false, 0, 0},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.code);
    Track content;
    content.stsd = Stsd({row.entry});
    OpenedMovie movie(content);
    ASSERT_EQ(movie.result, MP4_OK);
    const std::unique_ptr<CMp4Track> track = movie.OpenTrack();
    const auto foundIf = [](bool there) { return there ? MP4_OK : MP4_NOT_FOUND; };
    u32 format = 99;
    EXPECT_EQ(track->GetSampleFormat(&format), foundIf(row.format != 0));
    EXPECT_EQ(format, row.format);
    u16 width = 99, height = 99;
    EXPECT_EQ(track->GetVideoSize(&width, &height), foundIf(row.hasSize));
    EXPECT_EQ(width, row.hasSize ? 176 : 0);
    EXPECT_EQ(height, row.hasSize ? 144 : 0);
    u16 channels = 0;
    u32 rate = 0;
    EXPECT_EQ(track->GetChannelCount(&channels), foundIf(row.channels != 0));
    EXPECT_EQ(channels, row.channels);
    EXPECT_EQ(track->GetSampleRate(&rate), foundIf(row.channels != 0));
    EXPECT_EQ(rate, row.channels != 0 ? 8000u : 0u);
    u32 size = 99;
    EXPECT_EQ(track->GetDecoderSpecificInfoSize(1, &size), foundIf(row.infoSize != 0));
    EXPECT_EQ(size, row.infoSize);
    std::vector<u8> copied(3);
    size = 99;
    EXPECT_EQ(track->GetDecoderSpecificInfo(1, 3, &size, copied.data()), foundIf(row.infoSize != 0));
    EXPECT_EQ(size, row.infoSize);
    EXPECT_EQ(copied, row.infoSize != 0 ? info : std::vector<u8>(3));
  }
}

TEST(Track, EntryIndicesAndSmallBuffers) {
  Track content;
  content.stsd = Stsd({VisualEntry("mp4v", 16, 16, Esds(0x20, 4, {1, 2, 3})),
                       VisualEntry("s263", 32, 32, Box("d263", {4, 5}))});
  OpenedMovie movie(content);
  const std::unique_ptr<CMp4Track> track = movie.OpenTrack();
  u32 size = 0;
  u8 buffer[3] = {9, 9, 9};
  EXPECT_EQ(track->GetDecoderSpecificInfoSize(0, &size), MP4_ZERO_INDEX);
  EXPECT_EQ(track->GetDecoderSpecificInfoSize(3, &size), MP4_NOT_FOUND);
  EXPECT_EQ(track->GetDecoderSpecificInfo(2, 1, &size, buffer), MP4_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, 2u);
  // The descriptor's answer differs, and callers compare the size.
  EXPECT_EQ(track->GetDecoderSpecificInfo(1, 2, &size, buffer), MP4_OK);
  EXPECT_EQ(size, 3u);
  EXPECT_EQ(buffer[0], 9);
  EXPECT_EQ(track->GetDecoderSpecificInfo(2, 3, &size, buffer), MP4_OK);
  EXPECT_EQ(buffer[1], 5);
  content.stsd = Stsd({});
  OpenedMovie empty(content);
  u32 format = 9;
  EXPECT_EQ(empty.OpenTrack()->GetSampleFormat(&format), MP4_NOT_FOUND);
  EXPECT_EQ(format, 0u);
}

// Reading.

std::string TextOf(CMp4Track* track, u32 sample, Mp4Result expected = MP4_OK) {
  u32 size = 0;
  u8 buffer[64] = {};
  EXPECT_EQ(track->ReadSample(sample, sizeof buffer, &size, buffer), expected);
  return expected == MP4_OK ? std::string(buffer, buffer + size) : std::string();
}

TEST(Track, ABufferThatIsTooSmallLearnsTheSizeAndTouchesNothing) {
  Track content;
  content.chunkOffsets = Stco({0xFFFFFFFF, 0xFFFFFFFF});  // a read would fail in another way
  OpenedMovie movie(content);
  const std::unique_ptr<CMp4Track> track = movie.OpenTrack();
  u32 size = 0;
  u8 buffer[4] = {7, 7, 7, 7};
  EXPECT_EQ(track->ReadSample(4, 3, &size, buffer), MP4_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, 4u);
  EXPECT_EQ(buffer[0], 7);
  EXPECT_EQ(track->ReadSample(4, 0, &size, nullptr), MP4_BUFFER_TOO_SMALL);
  EXPECT_EQ(track->ReadSample(4, 4, &size, buffer), MP4_FILE_IO);
}

TEST(Track, ReadsWhatBrokenTablesStillTell) {
  const struct {
    const char* what;
    Bytes stsz, stsc, offsets;
    u32 sample;
    Mp4Result result;
    const char* text;
  } cases[] = {
      {"a sample of no bytes", Stsz({1, 0, 2}), Stsc({{1, 3}}), Stco({24}), 2, MP4_OK, ""},
      {"one of no bytes beyond the file", Stsz({1, 0, 2}), Stsc({{1, 3}}), Stco({99999}), 2, MP4_OK, ""},
      {"behind it", Stsz({1, 0, 2}), Stsc({{1, 3}}), Stco({24}), 3, MP4_OK, "bb"},
      {"no chunk for it", Stsz({1, 2, 3}), Stsc({{1, 1}}), Stco({24, 25}), 3, MP4_NOT_FOUND, ""},
      {"an empty stsc", Stsz({1}), Stsc({}), Stco({24}), 1, MP4_NOT_FOUND, ""},
      {"chunks of no samples", Stsz({1, 2}), Stsc({{1, 0}}), Stco({24}), 2, MP4_CORRUPT, ""},
      {"no offsets", Stsz({1}), Stsc({{1, 1}}), Stco({}), 1, MP4_NOT_FOUND, ""},
      {"beyond the file", Stsz({1, 2}), Stsc({{1, 2}}), Stco({99999}), 2, MP4_FILE_IO, ""},
      // In a chunk, sizes are added in 32 bits: 0xFFFFFFFF + 4 is 3.
      {"sizes that wrap", Stsz({0xFFFFFFFF, 4, 3}), Stsc({{1, 3}}), Stco({24}), 3, MP4_OK, "ccc"},
      // Chunk 5 is said to begin at sample 0xFFFFFFFD then: nothing lies before sample 2 in it.
      {"first chunks that fall", Stsz({1, 2}), Stsc({{5, 2}, {1, 1}}), Stco({0, 0, 0, 0, 25}), 2, MP4_OK,
       "bb"},
      // sample 9.
      {"stco before co64", Stsz({1}), Stsc({{1, 1}}), Bytes(Co64({25})).Add(Stco({24})), 1, MP4_OK, "a"},
      {"co64 alone", Stsz({1}), Stsc({{1, 1}}), Co64({25}), 1, MP4_OK, "b"},
      {"an offset that no file reaches", Stsz({1}), Stsc({{1, 1}}), Co64({0x8000'0000'0000'0000}), 1,
       MP4_FILE_IO, ""},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    Track content;
    content.stsz = row.stsz;
    content.stsc = row.stsc;
    content.chunkOffsets = row.offsets;
    OpenedMovie movie(content);
    ASSERT_EQ(movie.result, MP4_OK);
    const std::unique_ptr<CMp4Track> track = movie.OpenTrack();
    EXPECT_EQ(TextOf(track.get(), row.sample, row.result), row.text);
    EXPECT_EQ(TextOf(track.get(), row.sample, row.result), row.text) << "the second time alike";
  }
}

// After a read beyond the end the stream is at its end; the next read has to come back from there.
TEST(Track, AFailedReadDoesNotSpoilTheNext) {
  Track content;
  content.chunkOffsets = Stco({24, 99999});
  OpenedMovie movie(content);
  const std::unique_ptr<CMp4Track> track = movie.OpenTrack();
  TextOf(track.get(), 3, MP4_FILE_IO);
  TextOf(track.get(), 3, MP4_FILE_IO);
  EXPECT_EQ(TextOf(track.get(), 2), "bb");
  TextOf(track.get(), 0, MP4_ZERO_INDEX);
  TextOf(track.get(), 5, MP4_NOT_FOUND);
}

TEST(Track, ReadsBeyondFourGiB) {
  constexpr u64 kFar = 0x1'8000'0010;
  Track content;
  content.chunkOffsets = Co64({kFar, kFar + 3});
  const TempFile temp(MovieOf(content).Build());
  const std::string name = temp.Name();
  CMp4File* made = nullptr;
  ASSERT_EQ(CreateMp4File(&made), MP4_OK);
  const std::unique_ptr<CMp4File> file(made);
  ASSERT_EQ(file->Open(name.c_str(), MP4_MODE_READ, 0), MP4_OK);
  // The file grows behind the open one: boxes of 4 GiB would be refused, and the hole costs no disk.
  std::filesystem::resize_file(temp.Path(), kFar);
  std::ofstream(temp.Path(), std::ios::binary | std::ios::app) << "ABBCCCDDDD";
  CMp4Track* track = nullptr;
  ASSERT_EQ(file->OpenTrack(1, &track), MP4_OK);
  EXPECT_EQ(TextOf(track, 1), "A");
  EXPECT_EQ(TextOf(track, 2), "BB");
  EXPECT_EQ(TextOf(track, 4), "DDDD");
  EXPECT_EQ(file->CloseTrack(track), MP4_OK);
}

// Random layouts against the plain walk: chunk after chunk, sample after sample.
TEST(Track, FindsEverySampleOfRandomLayouts) {
  std::mt19937 random(20);
  const auto below = [&random](u32 limit) { return static_cast<u32>(random() % limit); };
  for (int round = 0; round < 30; ++round) {
    Bytes media;
    std::vector<u64> sizes, offsets;
    std::vector<std::pair<u32, u32>> runs;
    std::vector<std::vector<u8>> samples;
    const u32 chunks = 1 + below(60);
    for (u32 chunk = 1; chunk <= chunks; ++chunk) {
      const u32 count = runs.empty() || below(3) == 0 ? 1 + below(round < 15 ? 4 : 300) : runs.back().second;
      if (runs.empty() || runs.back().second != count) runs.emplace_back(chunk, count);
      for (u32 gap = below(20); gap > 0; --gap) media.U8(0xEE);
      offsets.push_back(24 + media.size());
      for (u32 i = 0; i < count; ++i) {
        std::vector<u8> bytes(below(12));
        for (u8& byte : bytes) byte = static_cast<u8>(random());
        sizes.push_back(bytes.size());
        media.Add(bytes);
        samples.push_back(bytes);
      }
    }
    Movie content;
    content.mdat = Box("mdat", media);
    content.tracks[0].stsz = Stsz(sizes);
    content.tracks[0].stsc = Stsc(runs);
    content.tracks[0].chunkOffsets = Stco(offsets);
    OpenedMovie movie(content);
    const std::unique_ptr<CMp4Track> track = movie.OpenTrack();
    const u32 total = static_cast<u32>(samples.size());
    for (u32 step = 0; step < 2 * total; ++step) {
      const u32 sample = step < total ? step + 1 : 1 + below(total);
      u32 size = 0;
      u8 buffer[12] = {};
      ASSERT_EQ(track->ReadSample(sample, sizeof buffer, &size, buffer), MP4_OK) << round << ", " << sample;
      ASSERT_EQ(std::vector<u8>(buffer, buffer + size), samples[sample - 1]) << round << ", " << sample;
    }
  }
}

// Searching.

Mp4Result SyncAt(CMp4Track* track, u64 time, u32* sample) {
  *sample = 0;
  return track->FindSyncSample(time, sample);
}

// Samples 1 to 24 last 10 ticks each. Pictures 9 and 19 are shown before the sync samples 10 and 20 behind
// them in the file, so those are shown later than the pictures' own times.
TEST(Track, SyncSearchStepsBackOverPicturesShownLater) {
  Track content;
  content.stts = Stts({{24, 10}});
  // Composition: sample n at 10 * (n - 1) + 20, but 9 and 19 ten earlier and 10 and 20 ten later.
  content.ctts = Ctts({{8, 20}, {1, 10}, {1, 30}, {8, 20}, {1, 10}, {1, 30}, {4, 20}});
  content.stss = Stss({1, 10, 20});
  OpenedMovie movie(content);
  const std::unique_ptr<CMp4Track> track = movie.OpenTrack();
  const struct {
    u64 time;
    u32 sample;
    const char* what;
  } cases[] = {
      {20, 1, "the first"},
      {0, 0, "before the first, whose time is above: none"},
      {89, 1, "just before picture 9"},
      {90, 1, "on picture 9: its probe is sample 10, which is shown at 120"},
      {119, 1, "sample 10 still lies ahead"},
      {120, 10, "on sample 10"},
      {219, 10, "sample 20 still lies ahead"},
      {220, 20, "on sample 20"},
      {9999, 20, "behind the last"},
  };
  for (const auto& row : cases) {
    u32 sample = 99;
    EXPECT_EQ(SyncAt(track.get(), row.time, &sample), row.sample != 0 ? MP4_OK : MP4_NOT_FOUND) << row.what;
    EXPECT_EQ(sample, row.sample) << row.what;
  }
}

// Sample 2 is shown behind sample 3, a sync sample that comes later in the file: the search has to look
// there.
TEST(Track, SyncSearchLooksOneSampleAhead) {
  Track content;
  content.ctts = Ctts({{1, 0}, {1, 40}, {1, 20}, {1, 30}});  // shown at 0, 50, 40, 60
  content.stss = Stss({1, 3});
  OpenedMovie movie(content);
  u32 sample = 0;
  EXPECT_EQ(SyncAt(movie.OpenTrack().get(), 55, &sample), MP4_OK);
  EXPECT_EQ(sample, 3u);
  // Without a list every sample is one.
  content.stss.clear();
  OpenedMovie without(content);
  EXPECT_EQ(SyncAt(without.OpenTrack().get(), 55, &sample), MP4_OK);
  EXPECT_EQ(sample, 2u);
}

TEST(Track, SyncSearchReportsWhatStopsIt) {
  const std::tuple<const char*, std::vector<u64>, u64, Mp4Result> cases[] = {
      {"an empty list", {}, 0, MP4_NOT_FOUND},
      {"before the first sync sample", {3, 4}, 5, MP4_NOT_FOUND},
      {"a sync sample 0", {0, 9}, 0, MP4_ZERO_INDEX},
      {"a sync sample beyond the last", {5, 9}, 99, MP4_NOT_FOUND},
  };
  for (const auto& [what, stss, time, result] : cases) {
    SCOPED_TRACE(what);
    Track content;
    content.stss = Stss(stss);
    OpenedMovie movie(content);
    u32 sample = 0;
    EXPECT_EQ(SyncAt(movie.OpenTrack().get(), time, &sample), result);
  }
}

// Shown and decoded in another order, so that no search can stand in for the other.
TEST(Track, SearchesByBothTimes) {
  Track content;
  content.ctts = Ctts({{1, 0}, {1, 40}, {1, 20}, {1, 30}});  // shown at 0, 50, 40, 60
  OpenedMovie movie(content);
  u32 sample = 9;
  EXPECT_EQ(movie.OpenTrack()->FindSampleByDecodingTime(25, &sample), MP4_OK);
  EXPECT_EQ(sample, 3u);
  EXPECT_EQ(movie.OpenTrack()->FindSampleByCompositionTime(45, &sample), MP4_OK);
  EXPECT_EQ(sample, 3u);
}

}  // namespace
}  // namespace kt

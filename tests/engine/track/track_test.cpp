#include <ktmp4/sample_info.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>
#include <tuple>

#include "support/movie_builder.h"

namespace kt::test {
namespace {

/// The only track of a file, with the file.
struct Opened {
  explicit Opened(const Track& content) : movie(content) {}
  CMp4Track* operator->() { return track.get(); }
  CMp4Track& operator*() { return *track; }

  OpenedMovie movie;
  const std::unique_ptr<CMp4Track> track = movie.OpenTrack();
};

// Binding.

TEST(Track, BindsWithoutWhatIsNotRequired) {
  const std::tuple<const char*, Bytes Track::*, Bytes, Mp4Result> cases[] = {
      {"no tkhd", &Track::tkhd, {}, MP4_NOT_FOUND},
      {"track id 0", &Track::tkhd, Tkhd(0, 1, 1, 1), MP4_BAD_VALUE},
      {"no mdhd", &Track::mdhd, {}, MP4_NOT_FOUND},
      {"no stts", &Track::stts, {}, MP4_NOT_FOUND},
      {"no stsz", &Track::stsz, {}, MP4_NOT_FOUND},
      {"no stsc", &Track::stsc, {}, MP4_NOT_FOUND},
      {"neither stco nor co64", &Track::chunkOffsets, {}, MP4_NOT_FOUND},
      {"no stsd", &Track::stsd, {}, MP4_NOT_FOUND},
      {"no hdlr", &Track::hdlr, {}, MP4_OK},
      {"no media header", &Track::mediaHeader, {}, MP4_OK},
      {"nothing that may be missing", &Track::ctts, {}, MP4_OK},
  };
  for (const auto& [what, piece, content, result] : cases) {
    OpenedMovie movie(Track().With(piece, content));
    ASSERT_EQ(movie.result, MP4_OK) << "opening asks nothing of the tracks";
    EXPECT_EQ(movie.BindResult(), result) << what;
  }
  for (const char* container : {"mdia", "minf", "stbl"}) {
    Bytes content = MovieOf(Track()).Build();
    const Bytes name = Bytes().Text(container);
    *std::search(content.begin(), content.end(), name.begin(), name.end()) = 'x';  // a box of no known type
    EXPECT_EQ(OpenedMovie(content).BindResult(), MP4_NOT_FOUND) << container;
  }
}

// The media header decides whatever the handler says; a handler counts only where there is none.
TEST(Track, KindByMediaHeaderAndHandler) {
  const std::tuple<Bytes, const char*, u32> cases[] = {
      {Vmhd(), "text", MP4_KIND_VIDEO},
      {Smhd(), "vide", MP4_KIND_AUDIO},
      {Smhd().Add(Vmhd()), "soun", MP4_KIND_VIDEO},
      {FullBox("hmhd", 0, 0, Bytes().Zeros(16)), "hint", MP4_KIND_HINT},
      {Nmhd(), "odsm", MP4_KIND_OBJECT_DESCRIPTOR},
      {Nmhd(), "sdsm", MP4_KIND_SCENE_DESCRIPTION},
      {Nmhd(), "text", MP4_KIND_TEXT},
      {{}, "text", MP4_KIND_TEXT},
      {Nmhd(), "vide", MP4_KIND_UNKNOWN},
      {Nmhd(), "", MP4_KIND_UNKNOWN},
  };
  for (const auto& [mediaHeader, handler, kind] : cases) {
    Opened track(Track()
                     .With(&Track::mediaHeader, mediaHeader)
                     .With(&Track::hdlr, *handler != 0 ? Hdlr(handler) : Bytes()));
    EXPECT_EQ(Got(*track, &CMp4Track::GetTrackType), kind) << handler;
  }
}

TEST(Track, AHandlerTypeOfZeroFailsTheBindWhereItIsAsked) {
  const Track track = Track().With(&Track::hdlr, Hdlr(std::string_view("\0\0\0\0", 4)));
  EXPECT_EQ(OpenedMovie(track).BindResult(), MP4_OK) << "the media header has answered";
  EXPECT_EQ(OpenedMovie(track.With(&Track::mediaHeader, Nmhd())).BindResult(), MP4_NOT_FOUND);
}

// In movie ticks in the file, in media ticks on every sample.
TEST(Track, StartDelayMovesEverySample) {
  const Bytes delayed = Edts({{500, -1}, {5000, 0}});
  const std::tuple<const char*, Bytes, Bytes, Answer<u64>> cases[] = {
      {"an empty edit before another", delayed, Mvhd(1000), {MP4_OK, 15000}},
      {"multiplied before it is divided", Edts({{1, -1}, {9, 0}}), Mvhd(7), {MP4_OK, 30000 / 7}},
      {"more than 32 bits", Edts({{~0u, -1}, {9, 0}}), Mvhd(1), {MP4_OK, 30000ull * 0xFFFFFFFF}},
      {"a lone empty edit, which readers rely on", Edts({{500, -1}}), Mvhd(1000), {MP4_OK, 0}},
      {"media time -2", Edts({{500, -2}, {9, 0}}), Mvhd(1000), {MP4_OK, 0}},
      {"no edits", Edts({}), Mvhd(1000), {MP4_OK, 0}},
      {"edts without elst", Box("edts"), Mvhd(1000), {MP4_NOT_FOUND}},
      {"no mvhd", delayed, {}, {MP4_NOT_FOUND}},
      {"movie time scale 0 and a delay", delayed, Mvhd(0), {MP4_BAD_TIMING}},
      {"movie time scale 0 and no delay", Edts({{500, 0}}), Mvhd(0), {MP4_OK, 0}},
  };
  for (const auto& [what, edts, mvhd, first] : cases) {
    SCOPED_TRACE(what);
    Movie content;
    content.mvhd = mvhd;
    content.tracks[0].edts = edts;
    content.tracks[0].mdhd = Mdhd(30000, 0);
    content.tracks[0].ctts = Ctts({{1, 3}});
    OpenedMovie movie(content);
    ASSERT_EQ(movie.BindResult(), first.result);
    if (first.result != MP4_OK) continue;
    const std::unique_ptr<CMp4Track> track = movie.OpenTrack();
    EXPECT_EQ(Ask(*track, &CMp4Track::GetSampleDecodingTime, 1u), first);
    EXPECT_EQ(Got(*track, &CMp4Track::GetSampleCompositionTime, 1u), first.value + 3);
  }
}

// A few bytes can claim four thousand million samples: neither memory nor time may follow the claim.
TEST(Track, ClaimsOfSamplesCostNothing) {
  const Track content = Track()
                            .WithOneChunk(0xFFFFFFFE, ConstantStsz(1, 0xFFFFFFFE))
                            .With(&Track::stts, Stts({{0xFFFFFFFE, 1}}));
  Opened track(content);
  const u32 count = Got(*track, &CMp4Track::GetSampleCount);
  EXPECT_EQ(count, 0xFFFFFFFEu);
  EXPECT_EQ(Got(*track, &CMp4Track::GetSampleDecodingTime, count), 0xFFFFFFFDu);
  EXPECT_EQ(Got(*track, &CMp4Track::FindSyncSample, 0xF0000000u), 0xF0000001u);
  // The sizes of all samples before it in the chunk are added for each read.
  for (u32 i = 0; i < 1000; ++i) SampleOf(*track, 0xF0000000u + i, MP4_FILE_IO);

  const Bytes tooMany = Stts({{0xFFFFFFFE, 1}, {1, 1}});
  EXPECT_EQ(OpenedMovie(content.With(&Track::stts, tooMany)).BindResult(), MP4_NO_MEMORY);
}

// What the headers and entries say.

TEST(Track, ATrackThatIsReadRefusesToBeWritten) {
  Opened track(Track().With(&Track::hdlr, {}));
  ExpectEach(MP4_NOT_FOUND, {track->SetTimeScale(1), track->SetDimensions(1, 1),
                             track->SetVideoFormat(1, 1, nullptr, 0, MP4_FORMAT_MP4V),
                             track->SetAudioFormat(0, 0, nullptr, 0, MP4_FORMAT_MP4A),
                             track->SetLine21Format(0, 0, 0), track->WriteSample("x", 1, 0, 0, 1)});
  EXPECT_EQ(track->SetTrackType(MP4_KIND_TEXT), MP4_NOT_FOUND) << "no handler";
  EXPECT_EQ(Got(*track, &CMp4Track::GetTrackType), MP4_KIND_TEXT) << "stored before that is found";
}

TEST(Track, SampleEntriesAnswerByTheirCode) {
  const std::vector<u8> info = {0x12, 0x10, 0x56};
  const Bytes d263 = Box("d263", info);
  const Bytes damr = Box("damr", info);
  // 0 stands for MP4_NOT_FOUND; channels go for the rate as well.
  const std::tuple<Bytes, u32, bool, u16, u32> cases[] = {
      {VisualEntry("mp4v", 176, 144, Esds(0x20, 4, info)), MP4_FORMAT_MP4V, true, 0, 3},
      {VisualEntry("s263", 176, 144, d263), MP4_FORMAT_S263, true, 0, 3},
      {AudioEntry("mp4a", 2, 8000, Esds(0x40, 5, info)), MP4_FORMAT_MP4A, false, 2, 3},
      // An AMR entry is mono whatever it says.
      {AudioEntry("samr", 2, 8000, damr), MP4_FORMAT_SAMR, false, 1, 3},
      {AudioEntry("sawb", 2, 8000, damr), MP4_FORMAT_SAWB, false, 1, 3},
      {MpegEntry("mp4s", Esds(0x02, 3, info)), MP4_FORMAT_MP4S, false, 0, 3},
      {MpegEntry("ln21", Bytes().U8(0)), MP4_FORMAT_UNKNOWN, false, 0, 0},
      {VisualEntry("avc1", 176, 144, {}), MP4_FORMAT_UNKNOWN, false, 0, 0},
  };
  for (const auto& [entry, format, hasSize, channels, infoSize] : cases) {
    SCOPED_TRACE(std::string(entry.begin() + 4, entry.begin() + 8));
    Opened track(Track().With(&Track::stsd, Stsd({entry})));
    const auto orNone = []<class Value>(Value value, Value none = 0) {
      return value != 0 ? Answer<Value>{MP4_OK, value} : Answer<Value>{MP4_NOT_FOUND, none};
    };
    EXPECT_EQ(Ask(*track, &CMp4Track::GetSampleFormat), orNone(format));
    u16 width = 99;
    EXPECT_EQ(Ask(*track, &CMp4Track::GetVideoSize, &width), orNone(hasSize ? u16{144} : u16{0}));
    EXPECT_EQ(width, hasSize ? 176 : 0);
    EXPECT_EQ(Ask(*track, &CMp4Track::GetChannelCount), orNone(channels, u16{777}));
    EXPECT_EQ(Ask(*track, &CMp4Track::GetSampleRate), orNone(channels != 0 ? 8000u : 0u, 777u));
    EXPECT_EQ(Ask(*track, &CMp4Track::GetDecoderSpecificInfoSize, 1u), orNone(infoSize));
    std::vector<u8> copied(3);
    u32 size = 99;
    EXPECT_EQ(track->GetDecoderSpecificInfo(1, 3, &size, copied.data()), orNone(infoSize).result);
    EXPECT_EQ(size, infoSize);
    EXPECT_EQ(copied, infoSize != 0 ? info : std::vector<u8>(3));
  }
}

TEST(Track, EntryIndicesAndSmallBuffers) {
  Opened track(Track().With(&Track::stsd, Stsd({VisualEntry("mp4v", 16, 16, Esds(0x20, 4, {1, 2, 3})),
                                                VisualEntry("s263", 32, 32, Box("d263", {4, 5}))})));
  u32 size = 0;
  u8 buffer[3] = {9, 9, 9};
  EXPECT_EQ(Ask(*track, &CMp4Track::GetDecoderSpecificInfoSize, 0u).result, MP4_ZERO_INDEX);
  EXPECT_EQ(Ask(*track, &CMp4Track::GetDecoderSpecificInfoSize, 3u).result, MP4_NOT_FOUND);
  EXPECT_EQ(track->GetDecoderSpecificInfo(2, 1, &size, buffer), MP4_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, 2u);
  // The descriptor's answer differs, and callers compare the size.
  EXPECT_EQ(track->GetDecoderSpecificInfo(1, 2, &size, buffer), MP4_OK);
  EXPECT_EQ(size, 3u);
  EXPECT_EQ(buffer[0], 9);
  EXPECT_EQ(track->GetDecoderSpecificInfo(2, 3, &size, buffer), MP4_OK);
  EXPECT_EQ(buffer[1], 5);
}

// Reading.

TEST(Track, ABufferThatIsTooSmallLearnsTheSizeAndTouchesNothing) {
  // A read would fail in another way.
  Opened track(Track().With(&Track::chunkOffsets, Stco({0xFFFFFFFF, 0xFFFFFFFF})));
  u32 size = 0;
  u8 buffer[4] = {7, 7, 7, 7};
  EXPECT_EQ(track->ReadSample(4, 3, &size, buffer), MP4_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, 4u);
  EXPECT_EQ(buffer[0], 7);
  EXPECT_EQ(track->ReadSample(4, 0, &size, nullptr), MP4_BUFFER_TOO_SMALL);
  EXPECT_EQ(track->ReadSample(4, 4, &size, buffer), MP4_FILE_IO);
}

TEST(Track, ReadsWhatBrokenTablesStillTell) {
  // The tables, the sample that is read, and what is answered.
  const std::tuple<const char*, Bytes, Bytes, Bytes, u32, Mp4Result, const char*> cases[] = {
      {"a sample of no bytes", Stsz({1, 0, 2}), Stsc({{1, 3}}), Stco({24}), 2, MP4_OK, ""},
      {"one of no bytes beyond the file", Stsz({1, 0, 2}), Stsc({{1, 3}}), Stco({99999}), 2, MP4_OK, ""},
      {"behind it", Stsz({1, 0, 2}), Stsc({{1, 3}}), Stco({24}), 3, MP4_OK, "bb"},
      {"no chunk for it", Stsz({1, 2, 3}), Stsc({{1, 1}}), Stco({24, 25}), 3, MP4_NOT_FOUND, ""},
      {"beyond the file", Stsz({1, 2}), Stsc({{1, 2}}), Stco({99999}), 2, MP4_FILE_IO, ""},
      // In a chunk, sizes are added in 32 bits: 0xFFFFFFFF + 4 is 3.
      {"sizes that wrap", Stsz({0xFFFFFFFF, 4, 3}), Stsc({{1, 3}}), Stco({24}), 3, MP4_OK, "ccc"},
      // Chunk 5 is said to begin at sample 0xFFFFFFFD then: nothing lies before sample 2 in it.
      {"chunks that fall", Stsz({1, 2}), Stsc({{5, 2}, {1, 1}}), Stco({0, 0, 0, 0, 25}), 2, MP4_OK, "bb"},
      {"stco before co64", Stsz({1}), Stsc({{1, 1}}), Bytes(Co64({25})).Add(Stco({24})), 1, MP4_OK, "a"},
      {"no file is so large", Stsz({1}), Stsc({{1, 1}}), Co64({u64{1} << 63}), 1, MP4_FILE_IO, ""},
  };
  for (const auto& [what, stsz, stsc, offsets, sample, result, text] : cases) {
    SCOPED_TRACE(what);
    Opened track(
        Track().With(&Track::stsz, stsz).With(&Track::stsc, stsc).With(&Track::chunkOffsets, offsets));
    EXPECT_EQ(SampleOf(*track, sample, result), Bytes().Text(text));
    EXPECT_EQ(SampleOf(*track, sample, result), Bytes().Text(text)) << "the second time alike";
  }
}

TEST(Track, ReadsBeyondFourGiB) {
  constexpr u64 kFar = 0x1'8000'0010;
  Opened track(Track().With(&Track::chunkOffsets, Co64({kFar, kFar + 3})));
  // The file grows behind the open one: boxes of 4 GiB would be refused, and the hole costs no disk.
  std::filesystem::resize_file(track.movie.Name(), kFar);
  std::ofstream(track.movie.Name(), std::ios::binary | std::ios::app) << "ABBCCCDDDD";
  EXPECT_EQ(SampleOf(*track, 1), Bytes().Text("A"));
  EXPECT_EQ(SampleOf(*track, 2), Bytes().Text("BB"));
  EXPECT_EQ(SampleOf(*track, 4), Bytes().Text("DDDD"));
}

// Random layouts against the plain walk: chunk after chunk, sample after sample; some of one size alone.
TEST(Track, FindsEverySampleOfRandomLayouts) {
  std::mt19937 random(20);
  const auto below = [&random](u32 limit) { return static_cast<u32>(random() % limit); };
  for (int round = 0; round < 30; ++round) {
    Bytes media;
    std::vector<u64> sizes, offsets;
    std::vector<std::pair<u32, u32>> runs;
    std::vector<Bytes> samples;
    for (u32 chunk = 1, chunks = 1 + below(60); chunk <= chunks; ++chunk) {
      const u32 count = runs.empty() || below(3) == 0 ? 1 + below(round < 15 ? 4 : 300) : runs.back().second;
      if (runs.empty() || runs.back().second != count) runs.emplace_back(chunk, count);
      media.Zeros(below(20));
      offsets.push_back(24 + media.size());
      for (u32 i = 0; i < count; ++i) {
        samples.push_back(Bytes().Zeros(round % 4 == 0 ? 7 : below(12)));
        for (u8& byte : samples.back()) byte = static_cast<u8>(random());
        sizes.push_back(samples.back().size());
        media.Add(samples.back());
      }
    }
    Movie content;
    content.mdat = Box("mdat", media);
    const u32 total = static_cast<u32>(samples.size());
    content.tracks[0].stsz = round % 4 == 0 ? ConstantStsz(7, total) : Stsz(sizes);
    content.tracks[0].stsc = Stsc(runs);
    content.tracks[0].stts = Stts({{total, 5}});
    content.tracks[0].chunkOffsets = Stco(offsets);
    OpenedMovie movie(content);
    const std::unique_ptr<CMp4Track> track = movie.OpenTrack();
    for (u32 step = 0; step < 2 * total; ++step) {
      const u32 sample = step < total ? step + 1 : 1 + below(total);
      ASSERT_EQ(SampleOf(*track, sample), samples[sample - 1]) << round << ", " << sample;
      SampleInfo info;
      ASSERT_EQ(step % 2 == 0 ? GetSampleInfo(track.get(), sample, &info)
                              : ReadSampleAndInfo(track.get(), sample, 12, Bytes(12).data(), &info),
                MP4_OK);
      ASSERT_EQ(std::pair(u64{info.size}, info.compositionTime),
                std::pair(sizes[sample - 1], 5 * (sample - u64{1})));
    }
  }
}

// Searching.

Answer<u32> SyncAt(CMp4Track& track, u64 time) {
  return Ask(track, &CMp4Track::FindSyncSample, time);
}

// The plain walk over "stss", whatever stands in it: entries that fall, repeat, are 0 or behind the last
// sample.
Answer<u32> PlainSyncAt(CMp4Track& track, const std::vector<u32>& entries, u64 time) {
  u32 found = Got(track, &CMp4Track::FindSampleByCompositionTime, time);
  for (u32 probe = found + 1;; probe = found - 1) {
    if (entries.empty() || entries[0] > probe) return {MP4_NOT_FOUND, 0};
    std::size_t above = 1;
    while (above < entries.size() && entries[above] <= probe) ++above;
    found = entries[above - 1];
    const auto shown = Ask(track, &CMp4Track::GetSampleCompositionTime, found);
    if (shown.result != MP4_OK) return {shown.result, 0};
    if (shown.value <= time) return {MP4_OK, found};
    if (found == 1) return {MP4_NOT_FOUND, 0};
  }
}

TEST(Track, SyncSearchIsThePlainWalk) {
  std::mt19937 random(31);
  const auto below = [&random](u32 limit) { return static_cast<u32>(random() % limit); };
  for (u32 round = 0; round < 60; ++round) {
    std::vector<u32> entries;
    for (u32 i = below(20), entry = below(2); i > 0; --i, entry += 1 + below(4)) {
      entries.push_back(round % 3 > 0 || below(4) > 0 ? entry : below(44));
    }
    std::vector<std::pair<u32, u32>> offsets;
    for (u32 i = 0; i < 40; ++i) offsets.emplace_back(1, below(50));
    Opened track(Track()
                     .WithOneChunk(40, ConstantStsz(1, 40))
                     .With(&Track::stts, Stts({{40, 10}}))
                     .With(&Track::ctts, Ctts(offsets))
                     .With(&Track::stss, Stss({entries.begin(), entries.end()})));
    for (u32 i = 0; i < 100; ++i) {
      const u64 time = below(460);
      const Answer<u32> wanted = PlainSyncAt(*track, entries, time);
      const Answer<u32> got = SyncAt(*track, time);
      ASSERT_EQ(got.result, wanted.result) << round << ", " << time;
      if (got.result == MP4_OK) {
        ASSERT_EQ(got.value, wanted.value) << round << ", " << time;
      }
    }
  }
}

// Shown at 0, 50, 40 and 60. Without a list every sample is a sync sample.
TEST(Track, SearchesByEitherTime) {
  Opened track(Track().With(&Track::ctts, Ctts({{1, 0}, {1, 40}, {1, 20}, {1, 30}})));
  EXPECT_EQ(SyncAt(*track, 55), (Answer<u32>{MP4_OK, 2}));
  EXPECT_EQ(Got(*track, &CMp4Track::FindSampleByCompositionTime, 45u), 3u);
  EXPECT_EQ(Got(*track, &CMp4Track::FindSampleByDecodingTime, 25u), 3u);
}

}  // namespace
}  // namespace kt::test

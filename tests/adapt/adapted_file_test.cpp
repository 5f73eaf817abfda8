#include "adapt/adapted_file.h"

#include <filesystem>
#include <tuple>

#include "adapt/adapted_movie.h"

namespace kt::test {
namespace {

constexpr char kPlain[] = "a0/0* bb10/10* ccc20/20* dddd30/30*";
constexpr char kBelowZero[] = "a0/20* bb10/30* ccc20/20 dddd30/40*";
constexpr char kRefused[] = "MP4_NOT_FOUND";
const Bytes kBtrt = Box("btrt", Bytes().Zeros(12));

TEST(AdaptedFile, TakesTheTablesOfOtherWriters) {
  const Bytes counted = FullBox("hdlr", 0, 0, Bytes().Text("mhlrvide").Zeros(12).U8(3).Text("abc"));
  const Bytes fourBits = FullBox("stz2", 0, 0, Bytes().U32(4).U32(4).U16(0x1234));
  const Bytes sixteenBits = FullBox("stz2", 0, 0, Bytes().U32(16).U32(4).U16(1).U16(2).U16(3).U16(4));
  const Bytes longHeader = FullBox("mdhd", 0, 0, Bytes().U32s({0, 0, 1000, 40, 0, 0, 0}));
  const Bytes longTimes = TableBox("stts", 1, Bytes().U32s({4, 10, 9, 9}));
  const Bytes meta = FullBox("meta", 0, 0, Hdlr("mdir"));
  const Bytes late = FullBox("elst", 1, 0, Bytes().U32(1).U64(0).U64(u64{1} << 62).U32(0x10000));
  const std::tuple<const char*, Bytes Track::*, Bytes, const char*> kCases[] = {
      {"plain", &Track::udta, {}, kPlain},
      {"large offsets", &Track::chunkOffsets, Co64({24, 27}), kPlain},
      {"no media header", &Track::mediaHeader, Box("gmhd"), kPlain},
      {"a counted name", &Track::hdlr, counted, kPlain},
      {"sizes of 4 bits", &Track::stsz, fourBits, kPlain},
      {"sizes of 16 bits", &Track::stsz, sixteenBits, kPlain},
      {"a long header", &Track::mdhd, longHeader, kPlain},
      {"a long table", &Track::stts, longTimes, kPlain},
      {"a list that ends in zeros", &Track::udta, Box("udta", Bytes().Add(meta).U32(0)), kPlain},
      {"a notice of no bytes", &Track::udta, Box("udta", {Box("cprt")}), kPlain},
      {"more chunks than samples", &Track::chunkOffsets, Stco({24, 27, 99}), kPlain},
      {"offsets below 0", &Track::ctts, Ctts({{2, 10}, {1, 0xFFFFFFF6}, {1, 0}}), kBelowZero},
      {"no sizes", &Track::stsz, Box("stsz"), ""},
      {"too few times", &Track::stts, Stts({{3, 10}}), kRefused},
      {"chunks that hold too few", &Track::chunkOffsets, Stco({24}), kRefused},
      {"chunks of no samples", &Track::stsc, Stsc({{1, 0}}), kRefused},
      {"more sizes than there are", &Track::stsz, ConstantStsz(0, 4), kRefused},
      {"more samples than bytes", &Track::stsz, ConstantStsz(1, 0xFFFFFFFE), kRefused},
      {"track number 0", &Track::tkhd, Tkhd(0, 320, 240, 40), kRefused},
      {"times beyond reason", &Track::edts, Box("edts", late), kRefused},
  };
  for (const auto& [what, piece, content, samples] : kCases)
    EXPECT_EQ(Adapted(Track().With(piece, content)).Samples(), samples) << what;
}

TEST(AdaptedFile, BringsSampleEntriesIntoThePlainForm) {
  const Bytes esds = Esds(0x40, 5, {0x12, 0x10});
  const Bytes wave = Box("wave", {Box("frma", Bytes().Text("mp4a")), esds, Bytes().U32(8).U32(0)});
  const auto sound = [](const char* code, u16 version, u16 channels, u16 rate, const Bytes& rest) {
    const Bytes fields = Bytes().Zeros(6).U16(1).U16(version).Zeros(6).U16(channels).U16(16).Zeros(4);
    return Box(code, Bytes(fields).U16(rate).U16(0).Add(rest));
  };
  const Bytes version2 = Bytes().U32(72).U64(0x40E5888000000000).U32(2).Zeros(20);  // 44100.0, two channels
  const Bytes amr = Bytes().Add(kBtrt).Add(Box("damr", Bytes().Text("abc")));
  // Channels, rate, size of the set-up and notes.
  constexpr u32 kBoxes = ADAPT_ENTRY_BOXES;
  const std::tuple<const char*, Bytes, u32, u32, u32, u32> kCases[] = {
      {"around it", sound("mp4a", 0, 2, 44100, Bytes().Add(kBtrt).Add(esds).Add(kBtrt)), 2, 44100, 2, kBoxes},
      {"version 1", sound("mp4a", 1, 2, 44100, Bytes().Zeros(16).Add(wave)), 2, 44100, 2, kBoxes},
      {"version 2", sound("mp4a", 2, 3, 1, Bytes().Add(version2).Add(esds)), 2, 44100, 2, 0},
      {"version 1 without its fields", sound("mp4a", 1, 2, 44100, esds), 2, 44100, 2, kBoxes},
      {"no set-up", sound("mp4a", 0, 1, 8000, {}), 1, 8000, 777, ADAPT_NO_DECODER_SET_UP},
      {"AMR", sound("samr", 0, 1, 8000, amr), 1, 8000, 3, kBoxes},
      {"another code", sound("ec-3", 0, 6, 48000, Bytes().Text("!")), 777, 777, 0, 0},
      {"that of another box", Box("stsd", Bytes().Zeros(8)), 777, 777, 0, ADAPT_ENTRY_REPLACED},
  };
  for (const auto& [what, entry, channels, rate, infoSize, notes] : kCases) {
    SCOPED_TRACE(what);
    Adapted adapted(SoundTrack(entry));
    ASSERT_EQ(adapted.Samples(), kPlain);
    EXPECT_EQ(adapted.Notes(), notes);
    OpenedMovie movie(adapted.Plain());
    const auto track = movie.OpenTrack();
    EXPECT_EQ(Ask(*track, &CMp4Track::GetChannelCount).value, channels);
    EXPECT_EQ(Ask(*track, &CMp4Track::GetSampleRate).value, rate);
    EXPECT_EQ(Ask(*track, &CMp4Track::GetDecoderSpecificInfoSize, 1u).value, infoSize);
  }
  const Adapted adapted(SoundTrack(std::get<1>(kCases[6])));
  const AdaptedEntry* const entry = adapted.image.FindEntry(1, 1);
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(adapted.image.FindEntry(1, 2), nullptr);
  EXPECT_EQ(entry->code, FourCc("ec-3"));
  EXPECT_EQ(entry->channels * 100000 + entry->sampleRate, 648000u);
  EXPECT_EQ(std::string(entry->boxes, entry->boxes + entry->boxesSize), "!");
}

// The movie counts 1000 ticks a second, as the media does.
TEST(AdaptedFile, AppliesEditLists) {
  const Bytes claimed = Box("edts", {TableBox("elst", 0xFFFFFFFF, Bytes().U32s({9, 0xFFFFFFFF, 0}))});
  const Bytes rate = Box("edts", {TableBox("elst", 1, Bytes().U32s({40, 0, 0x20000}))});
  constexpr u32 kCut = ADAPT_SAMPLES_OUTSIDE_EDIT;
  const std::tuple<const char*, Bytes, std::vector<u64>, const char*, u32> kCases[] = {
      {"a plain one", Edts({{40, 0}}), {1, 2, 3, 4}, kPlain, 0},
      {"to the end", Edts({{0, 0}}), {1, 2, 3, 4}, kPlain, 0},
      {"two delays", Edts({{7, -1}, {8, -1}, {40, 0}}), {1}, "a15/15* bb25/25 ccc35/35 dddd45/45", 0},
      {"from a sync sample", Edts({{20, 20}}), {1, 3}, "ccc0/0* dddd10/10", kCut},
      {"from behind one", Edts({{10, 10}}), {1, 3}, "a0/0* bb10/10", kCut},
      {"from within a sample", Edts({{12, 28}}), {1, 3}, "ccc0/0* dddd10/10", kCut},
      {"delayed and cut", Edts({{30, -1}, {10, 20}}), {1, 3, 4}, "ccc30/30*", kCut},
      {"further edits", Edts({{20, 0}, {20, 0}}), {1, 2}, "a0/0* bb10/10*", kCut | ADAPT_FURTHER_EDITS},
      {"nothing is shown", Edts({{20, 900}}), {1}, "", kCut},
      {"more than there are", claimed, {1}, "a9/9* bb19/19 ccc29/29 dddd39/39", 0},
      {"a rate", rate, {1, 2, 3, 4}, kPlain, ADAPT_EDIT_RATE},
  };
  for (const auto& [what, edts, keys, samples, notes] : kCases) {
    Adapted adapted(Track().With(&Track::edts, edts).With(&Track::stss, Stss(keys)));
    EXPECT_EQ(adapted.Samples(), samples) << what;
    EXPECT_EQ(adapted.Notes(), notes) << what;
  }
  const Track alike = Track().With(&Track::stsz, ConstantStsz(2, 4)).With(&Track::edts, Edts({{10, 30}}));
  EXPECT_EQ(Adapted(alike).Samples(), "cd0/0*");
}

TEST(AdaptedFile, MovesAllTracksByOneDelay) {
  Movie movie;
  movie.mvhd = Mvhd(10);
  movie.tracks = {Track(), SoundTrack(AudioEntry("alac", 2, 0, {}))};
  movie.tracks[0].edts = Edts({{0, 15}});
  movie.tracks[0].stss = Stss({1});
  movie.tracks[1].mdhd = Mdhd(300, 0);
  movie.tracks[1].edts = Edts({{0, 4}});
  // The first begins 15 ms below 0: in hundredths of a second, which both scales count, all move by two.
  EXPECT_EQ(Adapted(movie.Build()).Samples(),
            "a5/5* bb15/15 ccc25/25 dddd35/35\na2/2* bb12/12* ccc22/22* dddd32/32*");
}

Bytes Moof(const std::vector<Bytes>& children) {
  Bytes traf;
  for (const Bytes& child : children) traf.Add(child);
  return Box("moof", {Box("traf", traf)});
}

TEST(AdaptedFile, AddsFragments) {
  constexpr u32 kNotSync = 0x10000;
  const Bytes place = FullBox("tfhd", 0, 0x000001, Bytes().U32(1).U64(24));
  const Bytes defaults = FullBox("tfhd", 0, 0x39, Bytes().U32(1).U64(24).U32s({7, 1, kNotSync}));
  const auto two = [](u32 offset) {
    return FullBox("trun", 0, 0x701, Bytes().U32s({2, offset, 5, 1, 0, 6, 2, kNotSync}));
  };
  const Bytes more = FullBox("trun", 1, 0xA00, Bytes().U32s({1, 3, 0xFFFFFFFB}));
  const Bytes firstFlags = FullBox("trun", 0, 0x4, Bytes().U32s({3, 0}));
  const Bytes cut = FullBox("trun", 0, 0x200, Bytes().U32s({9, 1}));
  const auto at = [](u64 time) { return FullBox("tfdt", 1, 0, Bytes().U64(time)); };
  const auto timed = [&](u64 time) { return Moof({place, at(time), two(0)}); };
  const Bytes untimed = Moof({place, two(0)});
  const std::tuple<const char*, std::vector<Bytes>, const char*, u32> kCases[] = {
      {"two runs, below 0", {Moof({place, at(0), two(0), more})}, "a0/5* bb5/10 ccc11/11*", 0},
      {"a gap", {timed(50), timed(70)}, "a50/50* bb55/55 a70/70* bb75/75", 0},
      {"no times", {untimed, untimed}, "a0/0* bb5/5 a11/11* bb16/16", 0},
      {"some overlap", {untimed, timed(8)}, "a0/0* bb5/5 a8/8* bb13/13", 0},
      {"too much of it", {untimed, timed(2)}, "a0/0* bb5/5 a11/11* bb16/16", ADAPT_TIMES_OVERLAP},
      {"more records than there are", {Moof({place, cut})}, "a0/0*", ADAPT_RUNS_IGNORED},
      {"defaults", {Moof({defaults, firstFlags})}, "a0/0* b7/7 b14/14", 0},
      {"no such track", {Moof({FullBox("tfhd", 0, 0x20000, Bytes().U32(5)), two(0)})}, "", 0},
  };
  Track empty;
  empty.stsz = Stsz({});
  empty.stts = Stts({});
  empty.stsc = Stsc({});
  empty.chunkOffsets = Stco({});
  Movie movie = MovieOf(empty);
  movie.udta = Box("mvex", {FullBox("trex", 0, 0, Bytes().U32s({1, 1, 1, 0, 0}))});
  for (const auto& [what, fragments, samples, notes] : kCases) {
    Bytes file = movie.Build();
    for (const Bytes& fragment : fragments) file.Add(fragment);
    Adapted adapted(file);
    EXPECT_EQ(adapted.Samples(), samples) << what;
    EXPECT_EQ(adapted.Notes(), notes) << what;
  }
  // Counted from the "moof", behind which the data stands; and all of it ahead of the movie.
  const Bytes fragment = Moof({FullBox("tfhd", 0, 0x20000, Bytes().U32(1)), two(84)});
  const Bytes early = Bytes().Add(fragment).Add(Box("mdat", Bytes().Text("xyy")));
  EXPECT_EQ(fragment.size() + 8, 84u);
  // Two years in nanoseconds: movie ticks of it do not come back in 64 bits, so the film moves to the front.
  movie.tracks[0].mdhd = Mdhd(1'000'000'000, 0);
  const Bytes late = movie.Build().Add(timed(u64{63} << 50));
  EXPECT_EQ(Adapted(late).Samples(), "a0/0* bb5/5");
  EXPECT_EQ(Adapted(Bytes(early).Add(early).Add(movie.Build())).Samples(), "x0/0* yy5/5 x11/11* yy16/16");
}

TEST(AdaptedFile, TakesWhatStandsAroundTheBoxes) {
  const Bytes file = Movie().Build();
  const Bytes ftyp(file.begin(), file.begin() + 16);
  Track track;
  const u64 data = 16 + MovieOf(track).Build().size() - 34 + 8;
  track.chunkOffsets = Stco({data, data + 3});
  const Bytes built = MovieOf(track).Build();
  const Bytes front = Bytes(ftyp).Add({built.begin() + 34, built.end()});
  const Bytes mdat = Box("mdat", Bytes().Text("abbcccdddd"));
  EXPECT_EQ(Adapted(Bytes(front).Add(WithDeclaredSize(mdat, 0))).Samples(), kPlain);
  EXPECT_EQ(Adapted(Bytes(front).Add(WithDeclaredSize(mdat, 900))).Samples(), kPlain);
  EXPECT_EQ(Adapted(Bytes(file).Text("rubbish")).Samples(), kPlain);
  EXPECT_EQ(Adapted(Bytes(file).U32(3).Text("more rubbish")).Samples(), kPlain);
  EXPECT_EQ(Adapted(Bytes(file.begin() + 16, file.end())).result, MP4_OK) << "no ftyp";
  EXPECT_EQ(Adapted(ftyp).Samples(), kRefused);
}

TEST(AdaptedFile, ReadsBehindABoxOf5GiB) {
  constexpr u64 kLarge = u64{5} << 30;
  const TempFile file(Bytes().U32(1).Text("mdat").U64(kLarge));
  std::filesystem::resize_file(file.Path(), kLarge);
  const Bytes movie = Movie().Build();
  std::ofstream(file.Path(), std::ios::binary | std::ios::app)
      .write(reinterpret_cast<const char*>(&movie[34]), static_cast<long>(movie.size() - 34));
  CStorage storage;
  CAdaptedFile adapted;
  ExpectEach(MP4_OK, {storage.Open(file.Name().c_str(), MP4_MODE_READ), adapted.Read(&storage)});
}

// A few bytes each that claim much; all come back at once, with an image of no more than their own size.
TEST(AdaptedFile, HoldsClaimsAgainstTheFile) {
  const auto fragmented = [](u32 runs, u32 count) {
    Bytes traf = FullBox("tfhd", 0, 0x21, Bytes().U32(1).U64(0).U32(0));
    for (u32 i = 0; i < runs; ++i) traf.Add(FullBox("trun", 0, 0, Bytes().U32(count + i % 2)));
    return Movie().Build().Add(Box("moof", {Box("traf", traf)})).Add(Box("free", Bytes(8'000'000)));
  };
  Bytes moofs = Movie().Build();
  for (u32 i = 0; i < 100'000; ++i) moofs.U32(8).Text("moof");
  const Track track = Track().With(&Track::edts, Edts(std::vector<std::pair<u32, i32>>(100'000, {1, 0})));
  Movie tracks;
  for (u32 i = 0; i < 20'000; ++i) tracks.udta.U32(8).Text("trak");
  const Bytes kCases[] = {moofs, fragmented(3, 0xFFFFFFFE), fragmented(5000, 1'000'000),
                          MovieOf(track).Build(), tracks.Build()};
  for (const Bytes& file : kCases) {
    const Adapted adapted(file);
    EXPECT_EQ(adapted.result, MP4_OK);
    EXPECT_LT(adapted.image.ImageSize(), file.size() + (1 << 19));
  }
}

}  // namespace
}  // namespace kt::test

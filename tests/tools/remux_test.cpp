// What `remux` writes, what it says about it, and what it leaves behind when it cannot.

#include <fstream>
#include <tuple>

#include <ktmp4/track_presentation.h>

#include "support/movie_builder.h"
#include "tools/program.h"

namespace kt::test {
namespace {

namespace fs = std::filesystem;

Bytes PictureEntry(const std::vector<u8>& decoderInfo) {
  return VisualEntry("mp4v", 320, 240, Esds(0x20, 4, decoderInfo));
}

/// Four samples at 0, 10, 20, 30.
Track Pictures() {
  return Track().With(&Track::stsd, Stsd({PictureEntry({0, 0, 1, 0xB0})}));
}

std::string SamplesOf(const std::string& file, int track) {
  return RunProgram({"samples", "--track", std::to_string(track), file}).out;
}

TEST(Remux, TheTypeIsAskedForOrFollowsTheName) {
  const std::tuple<std::vector<std::string>, const char*, const char*> cases[] = {
      {{"a"}, "mp42", ""},
      {{"a.3GP"}, "3gp4", ""},
      {{"a.m4a"}, "M4A ", ""},
      {{"a.mp4", "--type", "3gp"}, "3gp4", ""},
      {{"a.mov"}, "mp42", "a.mov\" becomes a file of type mp4"}};
  for (const auto& [named, brand, remark] : cases) {
    const TempFolder folder;
    std::vector<std::string> arguments = {"remux", Media("aac.m4a"), folder / named[0]};
    arguments.insert(arguments.end(), named.begin() + 1, named.end());
    ExpectRun(arguments, 0, {"SoundHandler", remark});
    EXPECT_EQ(ReadText(folder / named[0]).substr(8, 4), brand);
    ExpectRun(arguments, 1, {"there is such a file already (--force replaces it)"});
  }
}

TEST(Remux, TakesTheTracksThatAreAskedForInThatOrder) {
  const TempFolder folder;
  const std::string in = Media("bframes-aac.mp4"), out = folder / "out.mp4";
  ExpectRun({"remux", "--track", "2", in, out}, 0, {"SoundHandler"});
  EXPECT_EQ(SamplesOf(out, 1), SamplesOf(in, 2));
  EXPECT_EQ(SamplesOf(out, 2), "");
  ExpectRun({"remux", "--force", "--track", "2", "--track", "1", in, out}, 0, {"SoundHandler"});
  EXPECT_EQ(SamplesOf(out, 1), SamplesOf(in, 2));
  EXPECT_EQ(SamplesOf(out, 2), SamplesOf(in, 1));
  // The tracks stand in turns: the sound of the first seconds is complete ahead of the pictures.
  ExpectRun({"remux", "--force", in, out}, 0, {"SoundHandler"});
  const auto placeOf = [&](const std::string& track) {
    ExpectRun({"extract", "--force", "--track", track, in, folder / "samples"});
    return ReadText(out).find(ReadText(folder / "samples").substr(0, 100));
  };
  EXPECT_LT(placeOf("2"), placeOf("1"));
  ExpectRun({"remux", "--force", "--track", "1", "--track", "1", in, out}, 2, {"--track"});
  ExpectRun({"remux", "--force", "--track", "99", in, out}, 1, {"the file has 2 tracks"});
}

// What the writer would find out half-way is found out before.
TEST(Remux, NamesTheSampleThatTheWriterWouldRefuseOrChange) {
  using Runs = std::vector<std::pair<u32, u32>>;
  const auto timed = [](const Runs& runs) { return Pictures().With(&Track::stts, Stts(runs)); };
  const auto shifted = [](const Runs& runs) { return Pictures().With(&Track::ctts, Ctts(runs)); };
  const Track wrapping = shifted({{1, 5}, {3, 0}}).With(&Track::stts, Stts({{2, 0}, {2, 10}}));
  constexpr char kThird[] = "sample 3 of track 1";
  const std::tuple<const char*, Track, int, std::vector<std::string>> cases[] = {
      {"no bytes", Pictures().With(&Track::stsz, Stsz({1, 2, 0, 4})), 1, {kThird}},
      {"a step that counts as one backwards", timed({{1, 10}, {3, 0x80000000}}), 1, {kThird}},
      {"the largest step", timed({{4, 0x7FFFFFFF}}), 0, {}},
      {"times that stand still", timed({{1, 10}, {3, 0}}), 0, {kThird}},
      {"a late offset", shifted({{2, 0}, {2, 5}}), 1, {kThird}},
      {"offsets from the first sample on", shifted({{1, 20}, {3, 0}}), 0, {}},
      {"negative offsets", shifted({{1, 20}, {3, 0xFFFFFFF0}}), 0, {"sample 2 of track 1"}},
      {"an offset that wraps", wrapping, 0, {"sample 2 of track 1", "wraps"}},
      {"a last step", timed({{3, 10}, {1, 2000}}), 0, {"lasts 2.000 s; in the copy", "before it, 0.010 s"}},
      {"an edit", Pictures().With(&Track::edts, Edts({{30, 10}})), 0, {"its edit, which begins 0.010"}},
      {"a start delay", Pictures().With(&Track::edts, Edts({{500, -1}, {40, 0}})), 0, {"0.500 s late"}},
  };
  for (const auto& [what, track, exitCode, remark] : cases) {
    SCOPED_TRACE(what);
    const TempFolder folder;
    const TempFile file(MovieOf(track).Build());
    ExpectRun({"remux", file.Name(), folder / "out.mp4"}, exitCode, remark);
    EXPECT_EQ(folder.Names().size(), exitCode == 0 ? 1u : 0u);
  }
}

// Alone such a track leaves nothing to write; asked for by number it is a failure, but for what somebody may
// know better.
TEST(Remux, SaysWhatItLeavesOut) {
  const Bytes entry = Box("text", Bytes().Zeros(51)), hmhd = FullBox("hmhd", 0, 0, Bytes().Zeros(16));
  const Track texts = TrackOf("text", Nmhd(), entry);
  const Bytes twoEntries = Stsd({PictureEntry({0, 0, 1, 0xB0}), Box("avc1")});
  const std::tuple<const char*, Track, const char*, bool> cases[] = {
      {"chapters", texts.With(&Track::stsz, Stsz({3, 4, 7, 8})), "do not look like Line 21", true},
      {"captions", texts.With(&Track::stsz, Stsz({3, 3, 3, 3})), nullptr, true},
      {"hint", TrackOf("hint", hmhd, entry), "hint track", false},
      {"AVC", TrackOf("vide", Vmhd(), VisualEntry("avc1", 320, 240, Box("avcC"))), "format", false},
      {"no sizes", Pictures().With(&Track::stsz, {}), "MP4_NOT_FOUND", false},
      {"MP3", SoundTrack(AudioEntry("mp4a", 2, 1000, Esds(0x6B, 5, {}))), "0x6B, it is not AAC", false},
      {"AAC of no kind", SoundTrack(AudioEntry("mp4a", 2, 1000, Esds(0x40, 5, {}))), "no decoder set-up",
       false},
      {"two entries", Pictures().With(&Track::stsd, twoEntries), "several sample entries", false},
      {"no ticks", Pictures().With(&Track::mdhd, Mdhd(0, 40)), "no time scale", false},
      {"PNG", TrackOf("vide", Vmhd(), PictureEntry({})), "MPEG-4 visual", true},
  };
  for (const auto& [what, track, reason, mayBeWanted] : cases) {
    SCOPED_TRACE(what);
    const TempFolder folder;
    Movie movie;
    movie.tracks = {Pictures(), track};
    const TempFile file(movie.Build());
    const std::string out = folder / "out.mp4";
    const bool isLeftOut = reason != nullptr;
    std::vector<std::string> remarks;
    if (isLeftOut) remarks = {"track 2", "left out", reason};
    ExpectRun({"remux", file.Name(), out}, 0, remarks);
    EXPECT_EQ(SamplesOf(out, 1), SamplesOf(file.Name(), 1));
    EXPECT_EQ(SamplesOf(out, 2).empty(), isLeftOut);
    const TempFile alone(MovieOf(track).Build());
    EXPECT_EQ(RunProgram({"remux", alone.Name(), folder / "alone.mp4"}).exitCode, isLeftOut ? 1 : 0);
    const Outcome wanted = RunProgram({"remux", "--track", "2", file.Name(), folder / "wanted.mp4"});
    EXPECT_EQ(wanted.exitCode, mayBeWanted ? 0 : 1) << wanted.err;
  }
}

// Boxes that have to stand in the copy as they stood, and what it says of the others.
TEST(Remux, KeepsWhatItCanAndNamesWhatItLoses) {
  constexpr u16 kGerman = 0x10B5;
  const Bytes unnamed = FullBox("cprt", 0, 0, Bytes().U16(0).Text("second").U8(0));
  Track track = Pictures();
  track.tkhd = Tkhd(1, 640, 480, 40);
  track.tkhd[48] = 1;  // a number of the matrix
  track.mdhd = FullBox("mdhd", 0, 0, Bytes().U32s({24 * 3600, 0, 1000, 40}).U16(kGerman).U16(0));
  track.hdlr = Hdlr("vide", "name");
  track.ctts = Ctts({{2, 10}, {1, 20}, {1, 10}});
  track.stss = Stss({1, 3, 4});  // the last two are shown at the same time
  track.udta = Udta({Cprt("deu", "Erste"), unnamed});
  Movie movie = MovieOf(track);
  movie.mvhd = Mvhd(1000, 48 * 3600);
  movie.udta = Udta({Cprt("deu", "Film"), Box("titl", Bytes().Zeros(8))});
  movie.tracks.push_back(SoundTrack().With(&Track::stts, Stts({{4, 100}})));  // 0.4 s, and the first has 0.04
  const TempFolder folder;
  const TempFile file(movie.Build());
  const std::string out = folder / "out.mp4";
  ExpectRun({"remux", file.Name(), folder / "out.m4a"}, 0,
            {"its tags (titl)", "its handler (\"name\")", "lasts 0.040 s", "--track 2 --track 1",
             "which is video"});
  fs::rename(folder / "out.m4a", out);
  const std::string copy = ReadText(out);
  OpenedMovie opened(ReadFile(out));
  const auto copied = opened.OpenTrack();
  char language[4];
  i32 matrix[9];
  ASSERT_TRUE(!GetTrackLanguage(copied.get(), language) && !GetTrackMatrix(copied.get(), matrix));
  EXPECT_EQ(std::pair(std::string(language), matrix[0]), std::pair(std::string("deu"), 0x01000000));
  EXPECT_EQ(SetTrackLanguage(copied.get(), "deu"), MP4_NOT_READY);
  EXPECT_EQ(SetTrackLanguage(copied.get(), "DE"), MP4_BAD_ARGUMENT);
  for (const Bytes& box :
       {track.stss, track.ctts, Cprt("deu", "Erste"), Cprt("und", "second"), Cprt("deu", "Film")})
    ExpectParts(copy, {std::string(box.begin(), box.end())});
  ExpectParts(ExpectRun({"dump", out}),
              {"Creation Time = 1904/01/02 00:00:00", "Creation Time = 1904/01/03 00:00:00",
               "Width = 0x0280.0x0000, Height = 0x01e0.0x0000"});
}

#ifndef _WIN32

// A limit on the size of files stands in for a disk that is full: what stood there stays, and nothing half
// written with it.
TEST(FullDisk, LeavesTheOldFile) {
  const TempFolder folder;
  const std::string out = folder / "out.mp4";
  std::ofstream(out) << "old";
  const std::string in = Media("bframes-aac.mp4");
  const std::string remux = CommandLine({"remux", "--force", in, out});
  // In blocks of 512 bytes: nothing at all, within the samples, within "moov" (some shells count in 1024).
  for (const auto& [blocks, command] :
       {std::pair("0", remux),
        {"60", remux},
        {"160", remux},
        {"325", remux},
        {"330", CommandLine({"hint", "--force", in, out})},
        {"60", CommandLine({"extract", "--force", "--track", "1", in, out})}}) {
    const std::string log =
        RunShell("(ulimit -S -f " + std::string(blocks) + "; " + command + "; echo $?) 2>&1 | cat").out;
    ExpectParts(log, {"cannot write \"" + out + "\": ", "File too large\n1\n"});
    EXPECT_EQ(ReadText(out), "old");
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"out.mp4"});
  }
}

#endif

}  // namespace
}  // namespace kt::test

// What `remux` writes, what it says about it, and what it leaves behind when it cannot.

#include <gtest/gtest.h>

#include <fstream>
#include <tuple>

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
  Track track;
  track.stsd = Stsd({PictureEntry({0, 0, 1, 0xB0})});
  return track;
}

std::string SamplesOf(const std::string& file, int track) {
  return RunProgram({"samples", "--track", std::to_string(track), file}).out;
}

TEST(Remux, TheTypeIsAskedForOrFollowsTheName) {
  const std::tuple<std::vector<std::string>, const char*, const char*> cases[] = {
      {{}, "a", "mp42"},
      {{}, "a.3GP", "3gp4"},
      {{}, "a.m4a", "M4A "},
      {{"--type", "3gp"}, "a.mp4", "3gp4"},
      {{"--type", "mp4"}, "a.m4a", "mp42"},
  };
  for (const auto& [options, name, brand] : cases) {
    const TempFolder folder;
    std::vector<std::string> arguments = {"remux", Media("aac.m4a"), folder / name};
    arguments.insert(arguments.begin() + 1, options.begin(), options.end());
    ExpectRun(arguments);
    EXPECT_EQ(ReadText(folder / name).substr(8, 4), brand);
  }
}

TEST(Remux, TakesTheTracksThatAreAskedForInThatOrder) {
  const TempFolder folder;
  const std::string in = Media("bframes-aac.mp4"), out = folder / "out.mp4";
  ExpectRun({"remux", "--track", "2", in, out});
  EXPECT_EQ(SamplesOf(out, 1), SamplesOf(in, 2));
  EXPECT_EQ(SamplesOf(out, 2), "");
  ExpectRun({"remux", "--force", "--track", "2", "--track", "1", in, out});
  EXPECT_EQ(SamplesOf(out, 1), SamplesOf(in, 2));
  EXPECT_EQ(SamplesOf(out, 2), SamplesOf(in, 1));
  ExpectRun({"remux", "--force", "--track", "1", "--track", "1", in, out}, 2, {"--track"});
  ExpectRun({"remux", "--force", "--track", "99", in, out}, 1, {"the file has 2 tracks"});
}

TEST(Remux, ReplacesAFileOnlyWhenToldTo) {
  const TempFolder folder;
  const std::string out = folder / "out.mp4";
  std::ofstream(out) << "old";
  ExpectRun({"remux", Media("aac.m4a"), out}, 1, {"--force"});
  EXPECT_EQ(ReadText(out), "old");
  ExpectRun({"remux", "--force", Media("aac.m4a"), out});
  EXPECT_GT(fs::file_size(out), 1000u);
  ExpectRun({"remux", "--force", out, out}, 1, {"the file that is being read"});
  EXPECT_EQ(folder.Names(), std::vector<std::string>{"out.mp4"});
}

// What the writer would find out half-way is found out before.
TEST(Remux, NamesTheSampleThatTheWriterWouldRefuseOrChange) {
  const Bytes times = Stts({{4, 10}});
  const std::tuple<const char*, Bytes, Bytes, int, std::vector<std::string>> cases[] = {
      {"no bytes", times, Stsz({1, 2, 0, 4}), 1, {"sample 3 of track 1"}},
      {"more bytes than the file", times, ConstantStsz(0x10000000, 4), 1, {"sample 1 of track 1"}},
      {"a step that counts as one backwards",
       Stts({{1, 10}, {3, 0x80000000}}),
       {},
       1,
       {"sample 3 of track 1"}},
      {"the largest step", Stts({{4, 0x7FFFFFFF}}), {}, 0, {}},
      {"times that stand still", Stts({{1, 10}, {3, 0}}), {}, 0, {"sample 3 of track 1"}},
      {"a late offset", times, Ctts({{2, 0}, {2, 5}}), 1, {"sample 3 of track 1"}},
      {"offsets from the first sample on", times, Ctts({{1, 20}, {3, 0}}), 0, {}},
      {"negative offsets", times, Ctts({{1, 20}, {3, 0xFFFFFFF0}}), 0, {"sample 2 of track 1"}},
      {"an offset that wraps",
       Stts({{2, 0}, {2, 10}}),
       Ctts({{1, 5}, {3, 0}}),
       0,
       {"sample 2 of track 1", "wraps"}},
      {"a start delay", times, Edts({{500, -1}, {40, 0}}), 0, {"0.500 s late"}},
  };
  for (const auto& [what, stts, other, exitCode, remark] : cases) {
    SCOPED_TRACE(what);
    const TempFolder folder;
    Track track = Pictures();
    track.stts = stts;
    const std::string code = other.empty() ? "" : std::string(other.begin() + 4, other.begin() + 8);
    (code == "stsz" ? track.stsz : code == "ctts" ? track.ctts : track.edts) = other;
    const TempFile file(MovieOf(track).Build());
    ExpectRun({"remux", file.Name(), folder / "out.mp4"}, exitCode, remark);
    EXPECT_EQ(folder.Names().size(), exitCode == 0 ? 1u : 0u);
  }
}

// Alone such a track leaves nothing to write; asked for by number it is a failure, but for what somebody may
// know better.
TEST(Remux, SaysWhatItLeavesOut) {
  const auto trackOf = [](const Bytes& mediaHeader, const Bytes& entry, const Bytes& stsz) {
    Track track;
    track.mediaHeader = mediaHeader;
    track.hdlr = Hdlr("text");
    track.stsd = Stsd({entry});
    track.stsz = stsz;
    return track;
  };
  const Bytes sizes = Stsz({1, 2, 3, 4}), texts = Box("text", Bytes().Zeros(51)),
              picture = PictureEntry({0, 0, 1, 0xB0});
  Track two = Pictures();
  two.stsd = Stsd({picture, picture});
  Track timeless = Pictures();
  timeless.mdhd = Mdhd(0, 40);
  const std::tuple<const char*, Track, const char*, bool> cases[] = {
      {"chapters", trackOf(Nmhd(), texts, Stsz({3, 4, 7, 8})), "do not look like Line 21", true},
      {"captions", trackOf(Nmhd(), texts, Stsz({3, 3, 3, 3})), nullptr, true},
      {"hint", trackOf(FullBox("hmhd", 0, 0, Bytes().Zeros(16)), texts, sizes), "hint track", false},
      {"AVC", trackOf(Vmhd(), VisualEntry("avc1", 320, 240, Box("avcC")), sizes), "format", false},
      {"no sizes", trackOf(Vmhd(), picture, {}), "MP4_NOT_FOUND", false},
      {"MP3", trackOf(Smhd(), AudioEntry("mp4a", 2, 1000, Esds(0x6B, 5, {})), sizes), "not AAC", false},
      {"two entries", two, "several sample entries", false},
      {"no ticks", timeless, "no time scale", false},
      {"PNG", trackOf(Vmhd(), PictureEntry({}), sizes), "MPEG-4 visual", true},
  };
  for (const auto& [what, track, reason, mayBeWanted] : cases) {
    SCOPED_TRACE(what);
    const TempFolder folder;
    Movie movie;
    movie.tracks = {Pictures(), track};
    const TempFile file(movie.Build());
    const std::string out = folder / "out.mp4";
    const bool isLeftOut = reason != nullptr;
    ExpectRun(
        {"remux", file.Name(), out}, 0,
        isLeftOut ? std::vector<std::string>{"track 2", "left out", reason} : std::vector<std::string>());
    EXPECT_EQ(SamplesOf(out, 1), SamplesOf(file.Name(), 1));
    EXPECT_EQ(SamplesOf(out, 2).empty(), isLeftOut);
    const TempFile alone(MovieOf(track).Build());
    EXPECT_EQ(RunProgram({"remux", alone.Name(), folder / "alone.mp4"}).exitCode, isLeftOut ? 1 : 0);
    const Outcome wanted = RunProgram({"remux", "--track", "2", file.Name(), folder / "wanted.mp4"});
    EXPECT_EQ(wanted.exitCode, mayBeWanted ? 0 : 1) << wanted.err;
  }
}

#ifndef _WIN32

// A disk that fills up: what stood there stays, and nothing half written with it.
TEST(Remux, OnAFullDiskLeavesTheOldFile) {
  const TempFolder folder;
  const std::string out = folder / "out.mp4";
  std::ofstream(out) << "old";
  const std::string command = CommandLine({"remux", "--force", Media("bframes-aac.mp4"), out});
  // In blocks of 512 bytes: nothing at all, within the samples, within "moov" (some shells count in 1024).
  for (const char* blocks : {"0", "60", "160", "325"}) {
    const std::string log = RunShell("(trap '' XFSZ; ulimit -S -f " + std::string(blocks) + "; " + command +
                                     "; echo $?) 2>&1 | cat")
                                .out;
    ExpectParts(log, {"cannot write", "MP4_FILE_IO (4)"});
    EXPECT_TRUE(log.ends_with("\n1\n")) << log;
    EXPECT_EQ(ReadText(out), "old");
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"out.mp4"});
  }
}

#endif

}  // namespace
}  // namespace kt::test

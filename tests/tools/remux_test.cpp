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

TEST(Remux, KeepsEverySampleAndIsItsOwnCopy) {
  const struct {
    const char* name;
    int tracks;
  } cases[] = {{"bframes-aac.mp4", 2}, {"h263.3gp", 1}, {"aac.m4a", 1}, {"ntsc-faststart.mp4", 1}};
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    const TempFolder folder;
    const std::string copy = folder / row.name, second = folder / "second";
    EXPECT_EQ(ExpectRun({"remux", Media(row.name), copy}), "");
    for (int track = 1; track <= row.tracks; ++track) {
      const std::string samples = SamplesOf(copy, track);
      EXPECT_EQ(samples, SamplesOf(Media(row.name), track));
      EXPECT_GT(Lines(samples).size(), 20u);
    }
    ASSERT_EQ(RunProgram({"remux", "--type", std::string(row.name).substr(std::string(row.name).size() - 3),
                          copy, second})
                  .exitCode,
              0);
    EXPECT_TRUE(ReadFile(copy) == ReadFile(second));
  }
}

TEST(Remux, TheTypeIsAskedForOrFollowsTheName) {
  const std::tuple<std::vector<std::string>, const char*, const char*> cases[] = {
      {{}, "a.mp4", "mp42"},
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
  const TempFolder folder;
  ExpectRun({"remux", "--type", "avi", Media("aac.m4a"), folder / "a"}, 2, {"avi"});
  ExpectRun({"remux", Media("aac.m4a"), ""}, 1, {"cannot write \"\": the name is empty"});
  EXPECT_EQ(folder.Names(), std::vector<std::string>());
}

TEST(Remux, TakesTheTracksThatAreAskedForInThatOrder) {
  const TempFolder folder;
  const std::string in = Media("bframes-aac.mp4"), out = folder / "out.mp4";
  ASSERT_EQ(RunProgram({"remux", "--track", "2", in, out}).exitCode, 0);
  EXPECT_EQ(SamplesOf(out, 1), SamplesOf(in, 2));
  EXPECT_EQ(SamplesOf(out, 2), "");
  ASSERT_EQ(RunProgram({"remux", "--force", "--track", "2", "--track", "1", in, out}).exitCode, 0);
  EXPECT_EQ(SamplesOf(out, 1), SamplesOf(in, 2));
  EXPECT_EQ(SamplesOf(out, 2), SamplesOf(in, 1));
  EXPECT_EQ(RunProgram({"remux", "--force", "--track", "1", "--track", "1", in, out}).exitCode, 2);
  ExpectRun({"remux", "--force", "--track", "99", in, out}, 1, {"the file has 2 tracks"});
}

TEST(Remux, ReplacesAFileOnlyWhenToldTo) {
  const TempFolder folder;
  const std::string out = folder / "out.mp4";
  std::ofstream(out) << "old";
  ExpectRun({"remux", Media("aac.m4a"), out}, 1, {"--force"});
  EXPECT_EQ(ReadText(out), "old");
  EXPECT_EQ(RunProgram({"remux", "--force", Media("aac.m4a"), out}).exitCode, 0);
  EXPECT_GT(fs::file_size(out), 1000u);
  EXPECT_EQ(RunProgram({"remux", "--force", out, out}).exitCode, 1) << "the file that is being read";
  EXPECT_EQ(folder.Names(), std::vector<std::string>{"out.mp4"});
}

// What the writer would find out half-way is found out before.
TEST(Remux, NamesTheSampleThatTheWriterWouldRefuseOrChange) {
  const std::tuple<const char*, Bytes Track::*, Bytes, int, std::vector<std::string>> cases[] = {
      {"no bytes", &Track::stsz, Stsz({1, 2, 0, 4}), 1, {"sample 3 of track 1"}},
      {"a late offset", &Track::ctts, Ctts({{2, 0}, {2, 5}}), 1, {"sample 3 of track 1"}},
      {"offsets from the first sample on", &Track::ctts, Ctts({{1, 20}, {3, 0}}), 0, {}},
      {"a step that counts as one backwards",
       &Track::stts,
       Stts({{1, 10}, {3, 0x80000000}}),
       1,
       {"sample 3 of track 1"}},
      {"the largest step", &Track::stts, Stts({{4, 0x7FFFFFFF}}), 0, {}},
      {"more bytes than the file", &Track::stsz, ConstantStsz(0x10000000, 4), 1, {"sample 1 of track 1"}},
      {"times that stand still", &Track::stts, Stts({{1, 10}, {3, 0}}), 0, {"sample 3 of track 1"}},
      {"negative offsets", &Track::ctts, Ctts({{1, 20}, {3, 0xFFFFFFF0}}), 0, {"sample 2 of track 1"}},
      {"a start delay", &Track::edts, Edts({{500, -1}, {40, 0}}), 0, {"0.500 s late"}},
  };
  for (const auto& [what, piece, content, exitCode, remark] : cases) {
    SCOPED_TRACE(what);
    const TempFolder folder;
    Track track = Pictures();
    track.*piece = content;
    const TempFile file(MovieOf(track).Build());
    const Outcome outcome = RunProgram({"remux", file.Name(), folder / "out.mp4"});
    EXPECT_EQ(outcome.exitCode, exitCode) << outcome.err;
    EXPECT_EQ(Lines(outcome.err).size(), remark.size()) << outcome.err;
    ExpectParts(outcome.err, remark);
    EXPECT_EQ(folder.Names().size(), exitCode == 0 ? 1u : 0u);
  }
}

// A time that the writer raises above the composition time: the offset wraps, and somebody should know.
TEST(Remux, WarnsOfOffsetsThatWrap) {
  const TempFolder folder;
  Track track = Pictures();
  track.stts = Stts({{2, 0}, {2, 10}});
  track.ctts = Ctts({{1, 5}, {3, 0}});
  const TempFile file(MovieOf(track).Build());
  ExpectRun({"remux", file.Name(), folder / "out.mp4"}, 0, {"sample 2 of track 1", "wraps"});
}

TEST(Remux, SaysWhatItLeavesOut) {
  Track chapters;
  chapters.mediaHeader = Nmhd();
  chapters.hdlr = Hdlr("text");
  chapters.stsd = Stsd({Box("text", Bytes().Zeros(51))});
  chapters.stsz = Stsz({3, 4, 7, 8});
  Track captions = chapters;
  captions.stsz = Stsz({3, 3, 3, 3});
  Track hint;
  hint.mediaHeader = FullBox("hmhd", 0, 0, Bytes().Zeros(16));
  Track other;
  other.stsd = Stsd({VisualEntry("avc1", 320, 240, Box("avcC"))});
  Track broken = Pictures();
  broken.stsz = {};
  Track mp3;
  mp3.mediaHeader = Smhd();
  mp3.stsd = Stsd({AudioEntry("mp4a", 2, 1000, Esds(0x6B, 5, {}))});
  Track two;
  two.stsd = Stsd({PictureEntry({0, 0, 1, 0xB0}), PictureEntry({0, 0, 1, 0xB0})});
  Track png;
  png.stsd = Stsd({PictureEntry({})});
  const struct {
    const char* what;
    Track track;
    const char* reason;
  } cases[] = {
      {"chapters", chapters, "do not look like Line 21"},
      {"captions", captions, nullptr},
      {"hint", hint, "hint track"},
      {"AVC", other, "format"},
      {"no sizes", broken, "MP4_NOT_FOUND"},
      {"MP3", mp3, "not AAC"},
      {"two entries", two, "several sample entries"},
      {"PNG", png, "MPEG-4 visual"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    const TempFolder folder;
    Movie movie;
    movie.tracks = {Pictures(), row.track};
    const TempFile file(movie.Build());
    const std::string out = folder / "out.mp4";
    const Outcome outcome = RunProgram({"remux", file.Name(), out});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(SamplesOf(out, 1), SamplesOf(file.Name(), 1));
    EXPECT_EQ(SamplesOf(out, 2).empty(), row.reason != nullptr);
    if (row.reason == nullptr) continue;
    ExpectParts(outcome.err, {"track 2", "left out", row.reason});
    // Alone it leaves nothing to write; asked for by number it is a failure, but texts are taken at one's
    // word.
    movie.tracks = {row.track};
    const TempFile alone(movie.Build());
    EXPECT_EQ(RunProgram({"remux", alone.Name(), folder / "alone.mp4"}).exitCode, 1);
    const Outcome wanted = RunProgram({"remux", "--track", "2", file.Name(), folder / "wanted.mp4"});
    const bool isUncertain = row.what == std::string_view("chapters") || row.what == std::string_view("PNG");
    EXPECT_EQ(wanted.exitCode, isUncertain ? 0 : 1) << wanted.err;
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

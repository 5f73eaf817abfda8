// What `play` delivers: the filter's pins, merged by time.

#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <sstream>

#include "support/movie_builder.h"
#include "tools/program.h"

namespace kt::test {
namespace {

namespace fs = std::filesystem;

struct Row {
  u32 pin = 0, sample = 0;
  std::string start, stop;
  u32 size = 0, sync = 0;
};

// The lines of the samples: six words, the first of them a number.
std::vector<Row> SampleRows(const std::string& out) {
  std::vector<Row> rows;
  for (const std::string& line : Lines(out)) {
    std::istringstream words(line);
    Row row;
    std::string more;
    if (words >> row.pin >> row.sample >> row.start >> row.stop >> row.size >> row.sync && !(words >> more)) {
      rows.push_back(row);
    }
  }
  return rows;
}

// 100 ns units, rounded down, as seconds.
std::string Seconds(u64 ticks, u32 timeScale) {
  const u64 hns = ticks * 10'000'000 / timeScale;
  char text[40];
  std::snprintf(text, sizeof text, "%llu.%07llu", static_cast<unsigned long long>(hns / 10'000'000),
                static_cast<unsigned long long>(hns % 10'000'000));
  return text;
}

TEST(Play, DeliversEverySampleButTheLastInTheOrderOfTime) {
  // Without a terminal there is no progress line.
  const std::string out = ExpectRun({"play", Media("bframes-aac.mp4")});
  OpenedMovie movie(ReadFile(Media("bframes-aac.mp4")));
  const std::unique_ptr<CMp4Track> tracks[] = {movie.OpenTrack(1), movie.OpenTrack(2)};
  const u32 timeScales[] = {12800, 44100};
  std::map<u32, u32> delivered;
  double last = 0;
  for (const Row& row : SampleRows(out)) {
    ASSERT_TRUE(row.pin == 1 || row.pin == 2);
    SCOPED_TRACE("pin " + std::to_string(row.pin) + " sample " + std::to_string(row.sample));
    ASSERT_EQ(row.sample, ++delivered[row.pin]);
    EXPECT_LE(last, std::stod(row.start));
    last = std::stod(row.start);
    CMp4Track& track = *tracks[row.pin - 1];
    const u32 timeScale = timeScales[row.pin - 1];
    const u64 compositionTime = Got(track, &CMp4Track::GetSampleCompositionTime, row.sample);
    const auto timeOf = [&](u32 sample) {
      return Seconds(Got(track, &CMp4Track::GetSampleDecodingTime, sample), timeScale);
    };
    EXPECT_EQ(row.start, timeOf(row.sample));
    EXPECT_EQ(row.stop, timeOf(row.sample + 1));
    EXPECT_EQ(row.size, Got(track, &CMp4Track::GetSampleSize, row.sample));
    EXPECT_EQ(row.sync, Got(track, &CMp4Track::FindSyncSample, compositionTime) == row.sample ? 1u : 0u);
  }
  EXPECT_EQ(delivered, (std::map<u32, u32>{{1, 99}, {2, 173}}));
  ExpectParts(out, {"track 2: id 2, audio, 174 samples, 44100 ticks per second, 4.000 s\n",
                    "Pin 1: \"MPEG-4 Track Video\"",
                    "type 1: auds / KtMp4AudioStamped / WaveFormatEx, format block of 23 bytes\n",
                    "pin 1: end of stream\n", "pin 2: end of stream\n",
                    "pin 2: 173 of 174 samples delivered, 24022 bytes\n"});
}

TEST(Play, QuietlyPrintsTheSummaryAlone) {
  const std::string out = ExpectRun({"play", "--quiet", Media("bframes-aac.mp4")});
  EXPECT_TRUE(SampleRows(out).empty());
  EXPECT_EQ(out.find("end of stream"), std::string::npos);
  ExpectParts(out, {"pin 1: 99 of 100 samples delivered, 140183 bytes\n"});
}

TEST(Play, ForAnExtractorDeliversEmptySamples) {
  const std::vector<Row> rows = SampleRows(ExpectRun({"play", "--extract", Media("h263.3gp")}));
  EXPECT_EQ(rows.size(), 44u);
  for (const Row& row : rows) EXPECT_EQ(row.size, 0u);
}

// A movie with samples of these sizes in one chunk.
Movie MovieWithSizes(Track track, const std::vector<u64>& sizes) {
  u64 sum = 0;
  for (const u64 size : sizes) sum += size;
  const u32 count = static_cast<u32>(sizes.size());
  track.stsz = Stsz(sizes);
  track.stts = Stts({{count, 10}});
  track.stsc = Stsc({{1, count}});
  track.chunkOffsets = Stco({24});
  Movie movie = MovieOf(track);
  movie.mdat = Box("mdat", Bytes().Zeros(sum));
  return movie;
}

Track AudioTrack(std::string_view code) {
  Track track;
  track.hdlr = Hdlr("soun");
  track.mediaHeader = Smhd();
  track.stsd = Stsd({AudioEntry(code, 2, 44100, Esds(0x40, 5, {0x12, 0x10}))});
  return track;
}

Track CaptionTrack(const std::vector<std::pair<u32, u32>>& times) {
  Track track;
  track.hdlr = Hdlr("text");
  track.mediaHeader = Nmhd();
  track.stsd = Stsd({Box("ln21", Bytes().Zeros(6).U16(1))});
  track.stsz = ConstantStsz(3, 4);
  track.stsc = Stsc({{1, 4}});
  track.chunkOffsets = Stco({24});
  track.stts = Stts(times);
  return track;
}

// The stream of a pin ends where a sample cannot be had; the program says so, and that it is not as it
// should.
TEST(Play, TellsWhyAStreamEndsEarly) {
  Track lost;
  lost.chunkOffsets = Stco({24, 0x7FFFFFFF});
  const std::pair<Movie, const char*> rows[] = {
      {MovieOf(lost),
       "pin 1: 2 of 4 samples delivered, 3 bytes, ended early: cannot read sample 3: MP4_FILE_IO (4)"},
      {MovieWithSizes(AudioTrack("mp4a"), {10, 5000, 10, 10}),
       "pin 1: 1 of 4 samples delivered, 10 bytes, ended early: sample 2 has 5000 bytes, the buffer only "
       "4112"},
  };
  for (const auto& [movie, summary] : rows) {
    const TempFile file(movie.Build());
    const Outcome outcome = RunProgram({"play", file.Name()});
    EXPECT_EQ(outcome.exitCode, 1);
    ExpectParts(outcome.out, {summary});
    EXPECT_EQ(outcome.err, "ktmp4 play: a stream of \"" + file.Name() + "\" ended early\n");
  }
}

// Its types are none that the pin itself would take.
TEST(Play, LeavesSoundOfUnknownCodingUnconnected) {
  const TempFile file(MovieWithSizes(AudioTrack("sowt"), {4, 4, 4}).Build());
  ExpectParts(ExpectRun({"play", file.Name()}),
              {"type 0: auds / none / WaveFormatEx, format block of 18 bytes\n",
               "not connected: E_INVALIDARG\n", "pin 1: 0 of 3 samples delivered, 0 bytes, not connected\n"});
}

TEST(Play, ShowsTextsThatRideInSamples) {
  Movie movie = MovieWithSizes(Track(), {22, 22, 22});
  const Bytes sample = Bytes().U32(0x1B3).U24(0).U32(0x1B2).U32(0x11223344).U8(1).U8(5).Text("hello");
  movie.mdat = Box("mdat", Bytes().Add(sample).Zeros(22).Add(sample));
  const TempFile file(movie.Build());
  ExpectParts(ExpectRun({"play", file.Name()}), {"text at 0.0000000: \"hello\"\n"});
}

// Two seconds and more of captions behind each other: without a clock they come at once.
TEST(Play, DeliversCaptionsAtOnceUnlessToldOtherwise) {
  Movie movie = MovieOf(CaptionTrack({{4, 100000}}));
  movie.mdat = Box("mdat", Bytes().Zeros(12));
  const TempFile file(movie.Build());
  const auto begin = std::chrono::steady_clock::now();
  const std::string out = ExpectRun({"play", "--cc", "text", file.Name()});
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(60));
  const std::vector<Row> rows = SampleRows(out);
  ASSERT_EQ(rows.size(), 3u) << out;
  EXPECT_EQ(rows[2].start, "200.0000000");
  EXPECT_EQ(rows[2].size, 2u);
  ExpectParts(out, {"type 0: AUXLine21Data / Line21_BytePair\n"});
}

TEST(Play, KeepsTheTimeWhenAskedTo) {
  Track video;
  video.stts = Stts({{4, 100}});
  Movie movie = MovieOf(CaptionTrack({{4, 150}}));
  movie.mdat = Box("mdat", Bytes().Zeros(12));
  movie.tracks.push_back(video);
  const TempFile file(movie.Build());
  const auto begin = std::chrono::steady_clock::now();
  const std::string out = ExpectRun({"play", "--realtime", "--cc", "text", file.Name()});
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(300));
  EXPECT_EQ(SampleRows(out).size(), 6u) << out;
}

#ifndef _WIN32

// A drive is an ordinary folder here, which is enough to see that a URL is taken apart.
TEST(Play, TakesUrls) {
  const TempFolder folder;
  fs::create_directory(folder / "c:");
  Movie movie = MovieOf(CaptionTrack({{4, 100}}));
  movie.mdat = Box("mdat", Bytes().Zeros(12));
  fs::copy_file(TempFile(movie.Build()).Path(), folder / "c:/clip.mp4");
  const std::string go = "cd " + ShellWord(folder.Name()) + " && ";
  const auto play = [&](const std::string& url) { return "(" + go + CommandLine({"play", url}) + ")"; };
  ExpectParts(ExpectShell(play("ktmp4file://c:/clip.mp4"), 0, {}), {"1 track, 1 pin\n"});
  ExpectParts(ExpectShell(play("ktmp4file://c/clip.mp4&cc=off"), 0, {}), {"1 track, 0 pins\n"});
  ExpectShell(play("ktmp4file://d:/clip.mp4"), 1, {"MP4_FILE_IO (4): there is no such file"});
}

#endif

TEST(Play, RefusesANameThatIsTooLong) {
  ExpectRun({"play", std::string(300, 'a')}, 1, {"E_FAIL: the name is empty or has more than 255 bytes"});
}

}  // namespace
}  // namespace kt::test

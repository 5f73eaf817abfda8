// What `play` delivers: the filter's pins, merged by time, and what it makes of captions.

#include <chrono>
#include <cstdio>
#include <map>
#include <tuple>
#include <utility>

#include "support/line21_script.h"
#include "support/movie_builder.h"
#include "tools/program.h"

namespace kt::test {
namespace {

namespace fs = std::filesystem;
using Log = std::vector<std::string>;

// The lines of an output that begin with one of these words.
Log LinesWith(const std::string& out, std::initializer_list<std::string_view> words) {
  Log found;
  for (const std::string& line : Lines(out)) {
    for (const std::string_view word : words) {
      if (line.starts_with(word)) found.push_back(line);
    }
  }
  return found;
}

// The lines of the samples of two pins.
Log SampleLines(const std::string& out) {
  return LinesWith(out, {"  1 ", "  2 "});
}

std::string Play(const Movie& movie, std::vector<std::string> options = {}) {
  const TempFile file(movie.Build());
  options.insert(options.begin(), {"play", file.Name()});
  return ExpectRun(options);
}

TEST(Play, DeliversEverySampleButTheLastInTheOrderOfTime) {
  // Without a terminal there is no progress line.
  const std::string out = ExpectRun({"play", Media("bframes-aac.mp4")});
  std::map<u32, u32> delivered;
  double last = 0;
  for (const std::string& line : SampleLines(out)) {
    u32 pin = 0, sample = 0;
    double start = 0;
    ASSERT_EQ(std::sscanf(line.c_str(), "%u %u %lf", &pin, &sample, &start), 3) << line;
    ASSERT_EQ(sample, ++delivered[pin]) << line;
    EXPECT_LE(last, start);
    last = start;
  }
  EXPECT_EQ(delivered, (std::map<u32, u32>{{1, 99}, {2, 173}}));
  ExpectParts(out,
              {"track 2: id 2, audio, 174 samples, 44100 ticks per second, 4.000 s\n",
               "Pin 1: \"MPEG-4 Track Video\"",
               "type 1: auds / KtMp4AudioStamped / WaveFormatEx, format block of 23 bytes\n",
               "\n  1        2        0.0400000        0.0800000      5482     0\n", "pin 1: end of stream\n",
               "pin 2: end of stream\n", "pin 2: 173 of 174 samples delivered, 24022 bytes\n"});
  const std::string quiet = ExpectRun({"play", "--quiet", Media("bframes-aac.mp4")});
  EXPECT_TRUE(SampleLines(quiet).empty());
  EXPECT_EQ(quiet.find("end of stream"), std::string::npos);
  ExpectParts(quiet, {"pin 1: 99 of 100 samples delivered, 140183 bytes\n"});
  // An extractor gets them empty.
  ExpectParts(ExpectRun({"play", "--extract", Media("h263.3gp")}), {"44 of 45 samples delivered, 0 bytes\n"});
}

Movie MovieOver(const Bytes& data, const Track& track) {
  Movie movie = MovieOf(track);
  movie.mdat = Box("mdat", data);
  return movie;
}

// The stream of a pin ends where a sample cannot be had; the program says so, and that it is not as it
// should.
TEST(Play, TellsWhyAStreamEndsEarly) {
  const Track cramped = SoundTrack().WithOneChunk(4, Stsz({10, 5000, 10, 10}));
  const std::pair<Movie, const char*> rows[] = {
      {MovieOf(Track().With(&Track::chunkOffsets, Stco({24, 0x7FFFFFFF}))),
       "pin 1: 2 of 4 samples delivered, 3 bytes, ended early: cannot read sample 3: MP4_FILE_IO (4)"},
      {MovieOver(Bytes(5030), cramped),
       "pin 1: 1 of 4 samples delivered, 10 bytes, ended early: sample 2 has 5000 bytes, the buffer only "
       "4112"},
  };
  for (const auto& [movie, summary] : rows) {
    const TempFile file(movie.Build());
    ExpectParts(ExpectRun({"play", file.Name()}, 1,
                          {"ktmp4 play: a stream of \"" + file.Name() + "\" ended early\n"}),
                {summary});
  }
  // Its types are none that the pin itself would take.
  ExpectParts(Play(MovieOf(SoundTrack(AudioEntry("sowt", 2, 44100, {})))),
              {"type 0: auds / none / WaveFormatEx, format block of 18 bytes\n",
               "not connected: E_INVALIDARG\n", "pin 1: 0 of 4 samples delivered, 0 bytes, not connected\n"});
}

// A caption track that begins at time 0 with a pair without data, and its media data: samples of three
// bytes, the first of which means nothing. A line begins at a second, with a pair to each tick of a 30th of
// it, and has to end before the next one begins.
Movie CaptionMovie(const std::vector<std::pair<u32, const char*>>& lines) {
  Bytes bytes = Bytes().U8(0xFF).U8(0x80).U8(0x80);
  std::vector<std::pair<u32, u32>> durations;
  u32 lastTime = 0;
  for (const auto& [second, script] : lines) {
    u32 time = second * 30;
    for (const Line21Pair& pair : Line21Pairs(script)) {
      ++time;
      durations.push_back({1, time - std::exchange(lastTime, time)});
      bytes.U8(0xFF).U8(pair[0]).U8(pair[1]);
    }
  }
  durations.push_back({1, 1});
  const u32 samples = static_cast<u32>(durations.size());
  const Track track = CaptionedTrack().WithOneChunk(samples, ConstantStsz(3, samples));
  return MovieOver(bytes,
                   track.With(&Track::stts, Stts(durations)).With(&Track::mdhd, Mdhd(30, lastTime + 1)));
}

Movie PopOnMovie() {
  return CaptionMovie({{1, "{RCL}{RCL}Hi{EOC}{EOC}"}, {2, "{RCL}{PAC}One{PAC}Two{EOC}"}, {4, "{EDM}"}});
}

// Four seconds and more of captions: without a clock they come at once.
TEST(Play, KeepsTheTimeWhenAskedToAlone) {
  const Movie movie = CaptionMovie({{100, "{RCL}"}, {200, "{EDM}"}});
  EXPECT_EQ(SampleLines(Play(movie, {"--cc", "text"})).size(), 2u);
  const auto begin = std::chrono::steady_clock::now();
  Play(MovieOf(Track().With(&Track::stts, Stts({{4, 100}}))), {"--realtime"});
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(200));
}

TEST(Captions, AreDecodedToRowsAndScreens) {
  const std::string out = Play(PopOnMovie());
  EXPECT_EQ(LinesWith(out, {"row", "screen"}),
            (Log{"screen at 1.0333333: \"<br>\"", "screen at 1.1333333: \"<br><br><br>Hi\"",
                 "row at 1.1333333: \"Hi\"", "screen at 2.2666666: \"<br><br>One<br>Two\"",
                 "row at 2.2666666: \"One\"", "row at 2.2666666: \"Two\"", "screen at 4.0333333: \"<br>\""}));
  // Every sample is there, also the last, each empty and without stamps.
  ExpectParts(out, {"pin 1: 15 of 15 samples delivered, 0 bytes",
                    "\n  1       15                -                -         0     0"});
  const std::string text = Play(PopOnMovie(), {"--cc", "text"});
  EXPECT_EQ(LinesWith(text, {"row", "screen"}), Log());
  ExpectParts(text,
              {"type 0: AUXLine21Data / Line21_BytePair\n", "pin 1: 14 of 15 samples delivered, 28 bytes"});
  EXPECT_EQ(LinesWith(Play(PopOnMovie(), {"--cc", "off"}), {"Pin", "row", "screen"}), Log());
  ExpectRun({"play", "--cc", "maybe", Media("aac.m4a")}, 2, {"maybe"});
}

#ifndef _WIN32

// A drive is an ordinary folder here, which is enough to see that a URL is taken apart.
TEST(Play, TakesUrls) {
  const TempFolder folder;
  fs::create_directory(folder / "c:");
  fs::copy_file(TempFile(PopOnMovie().Build()).Path(), folder / "c:/clip.mp4");
  const auto play = [&](const std::string& url, int exitCode = 0, std::vector<std::string> complaint = {}) {
    return ExpectShell(
        "(cd " + ShellWord(folder.Name()) + " && " + CommandLine({"play", "ktmp4file://" + url}) + ")",
        exitCode, complaint);
  };
  EXPECT_EQ(LinesWith(play("c:/clip.mp4&cc=on"), {"row"}).size(), 3u);
  EXPECT_EQ(LinesWith(play("c:/clip.mp4"), {"row"}).size(), 0u);
  ExpectParts(play("c/clip.mp4&cc=off"), {"1 track, 0 pins\n"});
  fs::copy_file(Media("refused-btrt.mp4"), folder / "c:/other.mp4");
  play("c:/other.mp4", 1, {"--adapt may read it"});
  ExpectParts(play("c:/other.mp4&adapt=on", 0, {"further boxes"}), {"1 track, 1 pin\n"});
  // A whole path, where there are no drives.
  EXPECT_EQ(LinesWith(play(folder / "c:/clip.mp4" + "&cc=on"), {"row"}).size(), 3u);
  ExpectParts(play(folder / "c:/other.mp4" + "&adapt=on", 0, {"further boxes"}), {"1 track, 1 pin\n"});
  play("d:/clip.mp4", 1, {"MP4_FILE_IO (4): there is no such file"});
}

#endif

// Rows and screens keep their time in the file, stamps count from the new position. The captions go on with
// the pair before it, an end of a caption whose rows were passed over.
TEST(Captions, PlayFromAPosition) {
  Movie movie = PopOnMovie();
  const Track video = Track().With(&Track::stts, Stts({{4, 1000}})).With(&Track::stss, Stss({1, 3}));
  movie.tracks.insert(movie.tracks.begin(), video);
  EXPECT_EQ(LinesWith(Play(movie, {"--from", "2.5"}), {"row", "screen", "  1 "}),
            (Log{"  1        3        0.0000000        1.0000000         3     1",
                 "screen at 2.2666666: \"<br><br><br>\"", "screen at 2.2666666: \"<br>\""}));
}

TEST(Play, SeeksToTheSyncSampleBefore) {
  const std::string out = ExpectRun({"play", "--from", "2", Media("bframes-aac.mp4")});
  EXPECT_TRUE(SampleLines(out).at(0).starts_with("  1       47       -0.1600000                - ")) << out;
  ExpectParts(out, {"\n  1       51        0.0000000 ", "\n  2       87        0.0000000 "});
  EXPECT_EQ(LinesWith(out, {"  2       86 "}), Log());
  const auto refuse = [](const char* from, int exitCode, const char* message) {
    ExpectRun({"play", "--quiet", "--from", from, Media("bframes-aac.mp4")}, exitCode, {message});
  };
  refuse("900000000000", 1, "cannot seek to 900000000000.0000000 s: ");
  for (const char* from : {"-1", "nan", "2s"}) refuse(from, 2, "is no time in seconds from 0 up");
}

}  // namespace
}  // namespace kt::test

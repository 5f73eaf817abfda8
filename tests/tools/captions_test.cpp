// What `play` makes of captions, and where it begins when it seeks.

#include <gtest/gtest.h>

#include <tuple>

#include "tools/caption_movie.h"
#include "tools/program.h"

namespace kt::test {
namespace {

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

std::string Play(const Movie& movie, std::vector<std::string> options) {
  const TempFile file(movie.Build());
  options.insert(options.begin(), "play");
  options.push_back(file.Name());
  return ExpectRun(options);
}

Movie PopOnMovie() {
  return CaptionMovie({ScriptLine(1, "{RCL}{RCL}Hi{EOC}{EOC}"), ScriptLine(2, "{RCL}{PAC}One{PAC}Two{EOC}"),
                       ScriptLine(4, "{EDM}")});
}

TEST(Captions, AreDecodedToRowsAndScreens) {
  const std::string out = Play(PopOnMovie(), {});
  EXPECT_EQ(LinesWith(out, {"row", "screen"}),
            (Log{"screen at 1.0333333: \"<br>\"", "screen at 1.1333333: \"<br><br><br>Hi\"",
                 "row at 1.1333333: \"Hi\"", "screen at 2.2666666: \"<br><br>One<br>Two\"",
                 "row at 2.2666666: \"One\"", "row at 2.2666666: \"Two\"", "screen at 4.0333333: \"<br>\""}));
  // Every sample is there, also the last, each empty and without stamps.
  EXPECT_EQ(LinesWith(out, {"pin 1: 15 of 15 samples delivered, 0 bytes"}).size(), 1u) << out;
  EXPECT_EQ(LinesWith(out, {"  1       15                -                -         0     0"}).size(), 1u);
}

TEST(Captions, AsBytesOrNotAtAll) {
  const std::string text = Play(PopOnMovie(), {"--cc", "text"});
  EXPECT_EQ(LinesWith(text, {"row", "screen"}), Log());
  EXPECT_EQ(LinesWith(text, {"pin 1: 14 of 15 samples delivered, 28 bytes"}).size(), 1u) << text;
  EXPECT_EQ(LinesWith(Play(PopOnMovie(), {"--cc", "off"}), {"Pin", "row", "screen"}), Log());
  ExpectRun({"play", "--cc", "maybe", Media("aac.m4a")}, 2, {"maybe"});
}

#ifndef _WIN32

TEST(Captions, AUrlSaysItself) {
  const TempFolder folder;
  std::filesystem::create_directory(folder / "c:");
  std::filesystem::copy_file(TempFile(PopOnMovie().Build()).Path(), folder / "c:/clip.mp4");
  const auto rows = [&](const std::string& mode) {
    const std::string url = "ktmp4file://c:/clip.mp4" + mode;
    const std::string go = "cd " + ShellWord(folder.Name()) + " && ";
    return LinesWith(ExpectShell("(" + go + CommandLine({"play", url}) + ")", 0, {}), {"row"}).size();
  };
  EXPECT_EQ(rows("&cc=on"), 3u);
  EXPECT_EQ(rows("&cc=text"), 0u);
  EXPECT_EQ(rows(""), 0u);
}

#endif

// Rows and screens keep their time in the file, stamps count from the new position. The captions go on with
// the pair before it, an end of a caption whose rows were passed over.
TEST(Captions, PlayFromAPosition) {
  Movie movie = PopOnMovie();
  Track video;
  video.stts = Stts({{4, 1000}});
  video.stss = Stss({1, 3});
  movie.tracks.insert(movie.tracks.begin(), video);
  EXPECT_EQ(LinesWith(Play(movie, {"--from", "2.5"}), {"row", "screen", "  1 "}),
            (Log{"  1        3        0.0000000        1.0000000         3     1",
                 "screen at 2.2666666: \"<br><br><br>\"", "screen at 2.2666666: \"<br>\""}));
}

TEST(Play, SeeksToTheSyncSampleBefore) {
  const std::string out = ExpectRun({"play", "--from", "2", Media("bframes-aac.mp4")});
  const Log video = LinesWith(out, {"  1 "});
  ASSERT_FALSE(video.empty());
  EXPECT_TRUE(video[0].starts_with("  1       47       -0.1600000 ")) << video[0];
  EXPECT_TRUE(video[4].starts_with("  1       51        0.0000000 ")) << video[4];
  EXPECT_TRUE(LinesWith(out, {"  2 "}).at(0).starts_with("  2       87        0.0000000 "));
}

TEST(Play, RefusesPositionsThatAreNone) {
  const std::tuple<const char*, int, const char*> rows[] = {
      {"4.1", 1, "cannot seek to 4.1000000 s: "},
      {"900000000000", 1, "cannot seek to 900000000000.0000000 s: "},
      {"-1", 2, "\"-1\" is no time in seconds from 0 up"},
      {"nan", 2, "\"nan\" is no time in seconds from 0 up"},
      {"1e12", 2, "\"1e12\" is no time in seconds from 0 up"},
      {"2s", 2, "\"2s\" is no time in seconds from 0 up"},
  };
  for (const auto& [from, exitCode, message] : rows) {
    ExpectRun({"play", "--quiet", "--from", from, Media("bframes-aac.mp4")}, exitCode, {message});
  }
}

}  // namespace
}  // namespace kt::test

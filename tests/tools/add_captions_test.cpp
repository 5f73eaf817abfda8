// Captions that the program adds to a file, and what it makes of a caption track.

#include <fstream>
#include <tuple>

#include "support/movie_builder.h"
#include "tools/program.h"

namespace kt::test {
namespace {

struct Captioned {
  TempFolder folder;
  std::string scc = folder / "in.scc", out = folder / "out.mp4";

  // Adds a caption file with these lines, and expects so much of it.
  void Add(const std::string& lines, std::vector<std::string> options = {}, int exitCode = 0,
           const std::vector<std::string>& complaint = {"VideoHandler"}) {
    std::ofstream(scc) << "Scenarist_SCC V1.0\n\n" << lines;
    options.insert(options.begin(), {"add-captions", "--force"});
    options.insert(options.end(), {Media("bframes-aac.mp4"), scc, out});
    EXPECT_EQ(ExpectRun(options, exitCode, complaint), "");
  }
  std::string Captions(const std::string& format) { return ExpectRun({"captions", "--format", format, out}); }
};

// 20 hours between two lines are more ticks than the writer takes in one step.
TEST(AddCaptions, TimeCodesAndPairsComeBack) {
  // What separates the frames, the options, and the time of the last row.
  const std::tuple<char, std::vector<std::string>, const char*> rows[] = {
      {':', {}, "20:01:12.033"}, {';', {}, "19:59:59.961"}, {':', {"--rate", "30"}, "20:00:00.033"}};
  for (const auto& [separator, options, time] : rows) {
    Captioned file;
    std::string lines =
        "00:00:00?00\t9420 9420 c8e9 942f 942f\n\n00:01:02?29\t942c 942c\n\n00:01:03?01\t94ae\n\n"
        "00:59:59?29\t9425 c8e9 94ad\n\n01:00:00?02\t94ad c8e9\n\n20:00:00?00\tc8e9 94ad\n";
    std::ranges::replace(lines, '?', separator);
    file.Add(lines, options);
    EXPECT_EQ(file.Captions("scc"), "Scenarist_SCC V1.0\n\n" + lines);
    const std::string text = file.Captions("text");
    EXPECT_EQ(Lines(text).back(), std::string(time) + "  HiHi") << text;
    const std::string copy = file.folder / "copy.mp4";
    ExpectRun({"remux", file.out, copy});
    EXPECT_EQ(ExpectRun({"captions", "--format", "scc", copy}), file.Captions("scc"));
  }
}

TEST(AddCaptions, AFilmMayBeginWithAnotherCode) {
  Captioned file;
  file.Add("01:00:01:00\t9420 9420\n", {}, 0,
           {"comes at 3604.601 s, and the film ends at 4.0", "--offset takes"});
  file.Add("01:00:01:00\t9420 9420\n", {"--offset", "01:00:00:00"});
  EXPECT_EQ(file.Captions("scc"), "Scenarist_SCC V1.0\n\n00:00:01:00\t9420 9420\n");
  file.Add("01:00:01:00\t9420 9420\n", {"--offset", "02:00:00:00"}, 1,
           {"line 3: its time code lies before --offset"});
  file.Add("", {"--offset", "1"}, 2, {"\"1\" is no time code"});
}

TEST(AddCaptions, FailuresLeaveNothingBehind) {
  Captioned file;
  file.Add("00:00:01:00 9420\n00:00:02:00 94\n", {}, 1, {"in.scc\": line 4: \"94\" is no byte pair"});
  file.Add("", {}, 1, {"in.scc"});
  file.Add("00:00:02;00 942c", {"--rate", "25"}, 2, {"25 not in {29.97,30}"});
  file.out = file.scc;
  file.Add("00:00:02;00 942c", {}, 1, {"in.scc\": it is the file that is being read"});
  ExpectRun({"add-captions", Media("aac.m4a"), file.folder / "none", file.folder / "out"}, 1, {"none\": "});
  EXPECT_EQ(file.folder.Names(), std::vector<std::string>{"in.scc"});
}

#ifndef _WIN32

// Somebody else writes OUT while the captions are still awaited.
TEST(AddCaptions, AFileThatComesMeanwhileStays) {
  const TempFolder folder;
  const std::string pipe = ShellWord(folder / "pipe"), out = folder / "out.mp4";
  ExpectShell("(mkfifo " + pipe + "; " +
                  CommandLine({"add-captions", Media("aac.m4a"), folder / "pipe", out}) + " & exec 3>" +
                  pipe + "; echo other >" + ShellWord(out) +
                  "; printf 'Scenarist_SCC V1.0\n\n00:00:01:00 9420\n' >&3; exec 3>&-; wait $!)",
              1, {"--force"});
  EXPECT_EQ(ReadText(out), "other\n");
  EXPECT_EQ(folder.Names(), (std::vector<std::string>{"out.mp4", "pipe"}));
}

#endif

TEST(CaptionsCommand, SaysWhenThereAreNone) {
  const TempFile file(MovieOf(CaptionedTrack().With(&Track::stsz, ConstantStsz(20, 4))).Build());
  const Track many = CaptionedTrack().WithOneChunk(1'000'000, ConstantStsz(3, 1'000'000));
  const TempFile claims(MovieOf(many).Build());
  const std::tuple<std::vector<std::string>, int, const char*> rows[] = {
      {{file.Name()}, 1, "there is no caption track in"},
      {{"--track", "1", file.Name()}, 1, "sample 1 of track 1 of"},
      {{"--track", "1", claims.Name()}, 1, "bytes, and the file has"},
      {{"--track", "1", Media("aac.m4a")}, 1, "is no caption track"},
      {{"--track", "9", Media("aac.m4a")}, 1, "the file has 1 track"},
      {{"--format", "vtx", Media("aac.m4a")}, 2, "vtx"},
  };
  for (auto [arguments, exitCode, message] : rows) {
    arguments.insert(arguments.begin(), "captions");
    ExpectRun(arguments, exitCode, {message});
  }
}

}  // namespace
}  // namespace kt::test

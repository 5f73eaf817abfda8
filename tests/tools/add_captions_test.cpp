// Captions that the program adds to a file, and what it makes of a caption track.

#include <gtest/gtest.h>

#include <fstream>
#include <tuple>

#include "tools/caption_movie.h"
#include "tools/program.h"

namespace kt::test {
namespace {

struct Captioned {
  TempFolder folder;
  std::string scc = folder / "in.scc", out = folder / "out.mp4";

  Outcome Add(const std::string& lines, std::vector<std::string> options = {}) {
    std::ofstream(scc) << "Scenarist_SCC V1.0\n\n" << lines;
    options.insert(options.begin(), {"add-captions", "--force"});
    options.insert(options.end(), {Media("bframes-aac.mp4"), scc, out});
    return RunProgram(options);
  }
  std::string Captions(const std::string& format) {
    return RunProgram({"captions", "--format", format, out}).out;
  }
  std::string Samples(const std::string& track) { return RunProgram({"samples", "--track", track, out}).out; }
};

// 20 hours between two lines are more ticks than the writer takes in one step.
TEST(AddCaptions, TimeCodesAndPairsComeBack) {
  const struct {
    const char* separator;
    std::vector<std::string> options;
    const char* time;  // of the last row
  } rows[] = {{":", {}, "20:01:12.033"}, {";", {}, "19:59:59.961"}, {":", {"--rate", "30"}, "20:00:00.033"}};
  for (const auto& row : rows) {
    Captioned file;
    std::string lines;
    for (const char* line :
         {"00:00:00?00\t9420 9420 c8e9 942f 942f", "00:01:02?29\t942c 942c", "00:01:03?01\t94ae",
          "00:59:59?29\t9425 c8e9 94ad", "01:00:00?02\t94ad c8e9", "20:00:00?00\tc8e9 94ad"}) {
      lines += line;
      lines[lines.find('?')] = row.separator[0];
      lines += "\n\n";
    }
    lines.pop_back();
    const Outcome outcome = file.Add(lines, row.options);
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.out + outcome.err, "");
    EXPECT_EQ(file.Captions("scc"), "Scenarist_SCC V1.0\n\n" + lines);
    const std::string text = file.Captions("text");
    EXPECT_EQ(Lines(text).back(), std::string(row.time) + "  HiHi") << text;
  }
}

TEST(AddCaptions, CopiesTheRestAndLetsDecodingBeginAtEachLine) {
  Captioned file;
  ASSERT_EQ(file.Add("00:00:01:00\t9420 c8e9 942f\n\n00:00:02:00 942c 942c\n", {"--rate", "30"}).exitCode, 0);
  const std::string copy = file.folder / "copy.mp4";
  ASSERT_EQ(RunProgram({"remux", Media("bframes-aac.mp4"), copy}).exitCode, 0);
  for (const char* const track : {"1", "2"}) {
    EXPECT_EQ(file.Samples(track), RunProgram({"samples", "--track", track, copy}).out);
  }
  EXPECT_EQ(file.Samples("3"),
            "sample,size,dts,cts,sync\n1,3,0,0,1\n2,3,30,30,1\n3,3,31,31,0\n4,3,32,32,0\n5,3,60,60,1\n"
            "6,3,61,61,0\n7,3,62,62,0\n");
  EXPECT_EQ(file.Captions("srt"), "1\n00:00:01,066 --> 00:00:02,000\nHi\n");
  // A copy of the copy is still the same caption file.
  ASSERT_EQ(RunProgram({"remux", "--force", file.out, copy}).exitCode, 0);
  EXPECT_EQ(RunProgram({"captions", "--format", "scc", copy}).out, file.Captions("scc"));
}

TEST(AddCaptions, FailuresLeaveNothingBehind) {
  Captioned file;
  const Outcome broken = file.Add("00:00:01:00 9420\n00:00:02:00 94\n");
  EXPECT_EQ(broken.exitCode, 1);
  EXPECT_NE(broken.err.find("in.scc\": line 4: \"94\" is no byte pair"), std::string::npos) << broken.err;
  EXPECT_EQ(file.Add("").exitCode, 1);
  EXPECT_EQ(file.Add("00:00:02;00 942c", {"--rate", "30"}).exitCode, 1);
  EXPECT_EQ(file.Add("00:00:02;00 942c", {"--rate", "25"}).exitCode, 2);
  file.out = file.scc;
  EXPECT_EQ(file.Add("00:00:02;00 942c").exitCode, 1) << "the captions themselves";
  const Outcome none =
      RunProgram({"add-captions", Media("aac.m4a"), file.folder / "none", file.folder / "out"});
  EXPECT_NE(none.err.find("none\": "), std::string::npos) << none.err;
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

TEST(CaptionsCommand, OfATrackThatAnotherProgramMade) {
  const TempFile file(
      CaptionMovie({ScriptLine(1, "{RCL}{RCL}Hi{EOC}{EOC}"), ScriptLine(2, "{EDM}")}).Build());
  EXPECT_EQ(RunProgram({"captions", file.Name()}).out, "00:00:01.133  Hi\n");
  EXPECT_EQ(RunProgram({"captions", "--format", "scc", "--track", "1", file.Name()}).out,
            "Scenarist_SCC V1.0\n\n00:00:00:00\t8080\n\n00:00:01:01\t9420 9420 c8e9 942f 942f\n\n"
            "00:00:02:01\t942c\n");
}

TEST(CaptionsCommand, SaysWhenThereAreNone) {
  Track titles;
  titles.hdlr = Hdlr("text");
  titles.mediaHeader = Nmhd();
  titles.stsz = ConstantStsz(20, 4);
  const TempFile file(MovieOf(titles).Build());
  const std::tuple<std::vector<std::string>, int, const char*> rows[] = {
      {{file.Name()}, 1, "there is no caption track in"},
      {{"--track", "1", file.Name()}, 1, "sample 1 of track 1 of"},
      {{"--track", "1", Media("aac.m4a")}, 1, "is no caption track"},
      {{"--track", "9", Media("aac.m4a")}, 1, "the file has 1 track"},
      {{"--format", "vtt", Media("aac.m4a")}, 2, "vtt"},
  };
  for (auto [arguments, exitCode, message] : rows) {
    arguments.insert(arguments.begin(), "captions");
    ExpectRun(arguments, exitCode, {message});
  }
}

}  // namespace
}  // namespace kt::test

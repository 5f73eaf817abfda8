#include <nlohmann/json.hpp>

#include "support/movie_builder.h"
#include "tools/program.h"

#ifndef _WIN32
#include <sys/stat.h>
#endif

namespace kt::test {
namespace {

namespace fs = std::filesystem;

// A message is one line that begins with who speaks. Gives what was printed.
std::string ExpectOneLine(const std::string& line, int exitCode, const std::string& speaker,
                          const std::vector<std::string>& parts) {
  SCOPED_TRACE(line);
  const Outcome outcome = RunShell(line);
  EXPECT_EQ(outcome.exitCode, exitCode);
  EXPECT_EQ(outcome.err.find(speaker + ": "), 0u) << outcome.err;
  EXPECT_EQ(Lines(outcome.err).size(), 1u) << outcome.err;
  ExpectParts(outcome.err, parts);
  return outcome.out;
}

TEST(WrongUse, EndsWithTwoAndOneLine) {
  const std::tuple<std::vector<std::string>, const char*, const char*> rows[] = {
      {{}, "ktmp4", "subcommand"},
      {{"inform"}, "ktmp4", "inform"},
      {{"info"}, "ktmp4 info", "FILE"},
      {{"info", "--jason", "a.mp4"}, "ktmp4 info", "--jason"},
      {{"samples", "--columns", "size,colour", "a.mp4"}, "ktmp4 samples", "colour"},
      {{"samples", "--track", "0", "a.mp4"}, "ktmp4 samples", "--track"},
      {{"samples", "--track", "4294967296", "a.mp4"}, "ktmp4 samples", "--track"},
  };
  for (const auto& [arguments, speaker, part] : rows)
    EXPECT_EQ(ExpectOneLine(CommandLine(arguments), 2, speaker, {part}), "");
  ExpectParts(ExpectRun({"info", "--help"}), {"FILE"});
  EXPECT_TRUE(ExpectRun({"--version"}).starts_with("ktmp4 "));
}

// The same command line with 1 GB of memory, where that can be had.
std::string InLittleMemory(const std::string& line) {
#ifdef KTMP4_MEMORY_CAN_BE_LIMITED
  return "(ulimit -v 1000000; " + line + ")";
#else
  return line;
#endif
}

// Each command refuses the file with exit code 1 and one line that tells operation, file and reason; nothing
// hangs, and what was to be written is not there.
TEST(BadFile, IsRefusedByEachCommand) {
  const std::pair<void (*)(const fs::path&), const char*> rows[] = {
      {[](const fs::path&) {}, "MP4_FILE_IO (4): there is no such file"},
      {[](const fs::path& path) { fs::create_directory(path); }, "MP4_FILE_IO (4): it is a directory"},
      {[](const fs::path& path) { WriteFile(path, {}); }, "the file is empty"},
      {[](const fs::path& path) { WriteFile(path, Bytes().Text("Dear reader, this is a letter.\n")); },
       "it does not begin like an MP4 file"},
      {[](const fs::path& path) {
         fs::copy_file(Media("bframes-aac.mp4"), path);
         fs::resize_file(path, 169'000);
       },
       "MP4_FILE_IO (4): moov at 164,639: the file is cut at "},
#ifndef _WIN32
      {[](const fs::path& path) { ASSERT_EQ(mkfifo(path.c_str(), 0600), 0); },
       "MP4_FILE_IO (4): it is a FIFO"},
      {[](const fs::path& path) { fs::create_symlink("nothing", path); }, "there is no such file"},
#endif
  };
  for (const auto& [make, fragment] : rows) {
    const TempFolder folder;
    const std::string file = folder / "bad file.mp4", output = folder / "out";
    make(file);
    const std::vector<std::string> before = folder.Names();
    std::vector<std::vector<std::string>> commandLines = {{"samples", "--track", "1", file},
                                                          {"extract", "--track", "1", file, output},
                                                          {"add-captions", file, file, output}};
    for (const char* command : {"dump", "info", "play", "captions", "hints", "sdp"})
      commandLines.push_back({command, file});
    for (const char* command : {"remux", "hint"}) commandLines.push_back({command, file, output});
    for (const auto& arguments : commandLines) {
      const std::string out =
          ExpectOneLine(CommandLine(arguments), 1, "ktmp4 " + arguments[0], {"\"" + file + "\"", fragment});
      EXPECT_TRUE(arguments[0] == "dump" || out.empty()) << out;
    }
    EXPECT_EQ(folder.Names(), before);
  }
}

// Some hundred bytes that claim samples of 4 GiB, or 4,294,967,280 of them, or the same bytes over and over:
// no memory is asked for them, and neither list nor file grows without end.
TEST(BadFile, ThatClaimsMoreThanItHoldsIsRefusedByEachCommand) {
  const TempFolder folder;
  const Track many = Track().With(&Track::stts, Stts({{0xFFFFFFF0, 1}}));
  for (const Track& track : {Track().With(&Track::stsz, ConstantStsz(0xFFFFFFF0, 4)),
                             many.With(&Track::stsz, ConstantStsz(1, 0xFFFFFFF0)),
                             Track().With(&Track::stsz, ConstantStsz(500, 4))}) {
    const TempFile file(MovieOf(track).Build());
    const std::string one = "--track 1 " + ShellWord(file.Name()), out = " " + ShellWord(folder / "out");
    for (const std::string& line :
         {"samples " + one, "extract " + one + out, "remux " + one + out, "play" + one.substr(9)}) {
      EXPECT_EQ(ExpectOneLine(InLittleMemory(CommandLine({}) + " " + line), 1,
                              "ktmp4 " + line.substr(0, line.find(' ')),
                              {"cannot read sample ", "bytes, and the file has "}),
                "");
    }
  }
  EXPECT_TRUE(folder.Names().empty());
  // Pictures of 256 MiB on eight pins, in a file without any.
  Movie movie;
  movie.tracks.assign(8, Track());
  for (Track& vast : movie.tracks) vast.stsd = Stsd({VisualEntry("mp4v", 16384, 8191, Esds(0x20, 4, {}))});
  const TempFile file(movie.Build());
  ExpectShell(InLittleMemory(CommandLine({"play", file.Name()})), 0, {});
}

#ifndef _WIN32
// A terminal does what control bytes tell it, and anybody may have written the file.
TEST(Terminal, GetsNoControlBytes) {
  if (std::system("script --version >/dev/null 2>&1") != 0) GTEST_SKIP() << "there is no terminal to be had";
  const TempFolder folder;
  const std::string file = folder / "Gr\xFC\xDF a\x1B[31m\nb.mp4";
  WriteFile(file, MovieOf(Track().With(&Track::hdlr, Hdlr("\x1B\xC2\x9BH"))).Build());
  // Nor is it UTF-8, which JSON has to be.
  for (const char* command : {"info", "dump"}) {
    EXPECT_TRUE(nlohmann::json::accept(ExpectShell(CommandLine({command, "--json", "--", file}), 0, {})));
  }
  for (const auto& [command, raw, shown] : {std::tuple("dump", "type=\x1B\xC2\x9BH", "type=\\x1B\\xC2\\x9BH"),
                                            {"info", "a\\x1B[31m\\x0Ab", "a\\x1B[31m\\x0Ab"}}) {
    const std::string line = CommandLine({command, file});
    ExpectParts(ExpectShell(line, 0, {}), {raw});
    for (const std::string setting :
         {"NO_COLOR=1 TERM=xterm", "NO_COLOR= TERM=dumb", "NO_COLOR= TERM=xterm"}) {
      const std::string seen =
          RunShell(setting + " script -qec " + ShellWord(line) + " /dev/null </dev/null").out;
      const bool isColoured = setting == "NO_COLOR= TERM=xterm" && command == std::string("info");
      ExpectParts(seen, {shown, isColoured ? "\x1B[1mTrack 1: video\x1B[0m" : ""});
      EXPECT_EQ(seen.find('\x1B') != std::string::npos, isColoured);
    }
  }
}
#endif

// Scripts get an object all the same, and the boxes ahead of the fault show where it is.
TEST(RefusedFile, IsToldAsFarAsItGoes) {
  const std::string file = Media("refused-btrt.mp4");
  const std::string line = CommandLine({"info", "--json", file, Media("aac.m4a")});
  const auto json = nlohmann::json::parse(ExpectOneLine(line, 1, "ktmp4 info", {}));
  EXPECT_EQ(json.at(0).at("file"), file);
  EXPECT_EQ(json.at(0).at("resultName"), "MP4_CORRUPT");
  EXPECT_EQ(json.at(1).at("result"), 0);
  ExpectParts(ExpectRun({"dump", file}, 1, {"MP4_CORRUPT"}), {"ftyp"});
  const std::vector<u8> whole = ReadFile(Media("aac.m4a"));
  const TempFile cut({whole.begin(), whole.end() - 100});
  const auto tree = nlohmann::json::parse(ExpectRun({"dump", "--json", cut.Name()}, 1, {"MP4_"}));
  EXPECT_EQ(tree.at("boxes").at(0).at("type"), "ftyp");
  EXPECT_EQ(tree.at("fault"), "\"moov\" follows, which says that it has 990 bytes, and 890 are left");
}

// Output that gets lost is no success.
TEST(StandardOutput, ThatIsFullIsAFailure) {
  if (!fs::exists("/dev/full")) GTEST_SKIP() << "there is no device that is always full";
  const std::string file = Media("bframes-aac.mp4");
  const std::vector<std::string> commandLines[] = {
      {"dump", file}, {"info", file}, {"samples", "--track", "1", file}, {"play", file}};
  for (const auto& arguments : commandLines)
    ExpectOneLine("(" + CommandLine(arguments) + " >/dev/full)", 1, "ktmp4 " + arguments[0],
                  {"cannot write on standard output"});
}

}  // namespace
}  // namespace kt::test

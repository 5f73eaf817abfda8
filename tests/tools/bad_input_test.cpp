#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>

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
      {{"samples", "a.mp4"}, "ktmp4 samples", "--track"},
      {{"samples", "--track", "0", "a.mp4"}, "ktmp4 samples", "--track"},
      {{"samples", "--track", "4294967296", "a.mp4"}, "ktmp4 samples", "--track"},
      {{"extract", "--track", "1", "a.mp4"}, "ktmp4 extract", "OUT"},
  };
  for (const auto& [arguments, speaker, part] : rows) {
    EXPECT_EQ(ExpectOneLine(CommandLine(arguments), 2, speaker, {part}), "");
  }
  ExpectParts(ExpectRun({"info", "--help"}), {"FILE"});
  EXPECT_TRUE(ExpectRun({"--version"}).starts_with("ktmp4 "));
}

void Write(const fs::path& path, const std::vector<u8>& bytes) {
  std::ofstream stream(path, std::ios::binary);
  stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

void WriteCut(const fs::path& path, const char* media) {
  std::vector<u8> bytes = ReadFile(Media(media));
  bytes.resize(bytes.size() - 100);
  Write(path, bytes);
}

// Each command refuses the file with exit code 1 and one line that tells operation, file and reason; nothing
// hangs, and what was to be written is not there.
TEST(BadFile, IsRefusedByEachCommand) {
  const std::pair<void (*)(const fs::path&), const char*> rows[] = {
      {[](const fs::path&) {}, "MP4_FILE_IO (4): there is no such file"},
      {[](const fs::path& path) { fs::create_directory(path); }, "MP4_FILE_IO (4): it is a directory"},
      {[](const fs::path& path) { Write(path, {}); }, "the file is empty"},
      {[](const fs::path& path) { Write(path, Bytes().Text("Dear reader, this is a letter.\n")); },
       "it does not begin like an MP4 file"},
      {[](const fs::path& path) { WriteCut(path, "ntsc-faststart.mp4"); },
       "MP4_CORRUPT (6): the sizes of the boxes contradict each other, or the file is cut short"},
      {[](const fs::path& path) { WriteCut(path, "bframes-aac.mp4"); },
       "MP4_FILE_IO (4): the file ends inside a box"},
      {[](const fs::path& path) { fs::copy_file(Media("refused-btrt.mp4"), path); },
       "MP4_CORRUPT (6): the sizes of the boxes contradict each other"},
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
    const std::vector<std::string> commandLines[] = {{"dump", file},
                                                     {"info", file},
                                                     {"samples", "--track", "1", file},
                                                     {"extract", "--track", "1", file, output},
                                                     {"play", file},
                                                     {"hint", file, output},
                                                     {"sdp", file}};
    for (const auto& arguments : commandLines) {
      const std::string out =
          ExpectOneLine(CommandLine(arguments), 1, "ktmp4 " + arguments[0], {"\"" + file + "\"", fragment});
      EXPECT_TRUE(arguments[0] == "dump" || out.empty()) << out;
    }
    EXPECT_EQ(folder.Names(), before);
  }
}

#ifndef _WIN32
// A file name can hold anything; the message stays one line.
TEST(BadFile, WithALineEndInItsName) {
  ExpectOneLine(CommandLine({"info", "no\nsuch\x1b[31m.mp4"}), 1, "ktmp4 info",
                {"\"no\\x0Asuch\\x1B[31m.mp4\""});
}
#endif

// Scripts get an object all the same, and the boxes ahead of the fault show where it is.
TEST(RefusedFile, IsToldAsFarAsItGoes) {
  const std::string file = Media("refused-btrt.mp4");
  const auto json =
      nlohmann::json::parse(ExpectOneLine(CommandLine({"info", "--json", file}), 1, "ktmp4 info", {}));
  EXPECT_EQ(json.at("file"), file);
  EXPECT_EQ(json.at("resultName"), "MP4_CORRUPT");
  ExpectParts(ExpectRun({"dump", file}, 1, {"MP4_CORRUPT"}), {"ftyp"});
}

// Output that gets lost is no success.
TEST(StandardOutput, ThatIsFullIsAFailure) {
  if (!fs::exists("/dev/full")) GTEST_SKIP() << "there is no device that is always full";
  const std::string file = Media("bframes-aac.mp4");
  const std::vector<std::string> commandLines[] = {
      {"dump", file}, {"info", file}, {"samples", "--track", "1", file}, {"play", file}};
  for (const auto& arguments : commandLines) {
    ExpectOneLine("(" + CommandLine(arguments) + " >/dev/full)", 1, "ktmp4 " + arguments[0],
                  {"cannot write on standard output"});
  }
}

}  // namespace
}  // namespace kt::test

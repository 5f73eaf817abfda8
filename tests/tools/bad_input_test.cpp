#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "tools/program.h"

#ifndef _WIN32
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace kt::test {
namespace {

using ::testing::TestWithParam;
namespace fs = std::filesystem;

std::vector<u8> TextBytes(std::string_view text) {
  return Bytes().Text(text);
}

// A message is one line that begins with who speaks.
void ExpectOneLine(const std::string& err, const std::string& speaker) {
  EXPECT_EQ(err.find(speaker + ": "), 0u) << err;
  EXPECT_EQ(Lines(err).size(), 1u) << err;
}

TEST(WrongUse, EndsWithTwoAndOneLine) {
  struct Row {
    std::vector<std::string> arguments;
    const char *speaker, *fragment;
  };
  const Row rows[] = {
      {{}, "ktmp4", "subcommand"},
      {{"inform"}, "ktmp4", "inform"},
      {{"--loud", "info", "a.mp4"}, "ktmp4 info", "--loud"},
      {{"info"}, "ktmp4 info", "FILE"},
      {{"info", "a.mp4", "b.mp4"}, "ktmp4 info", "b.mp4"},
      {{"info", "--jason", "a.mp4"}, "ktmp4 info", "--jason"},
      {{"samples", "a.mp4"}, "ktmp4 samples", "--track"},
      {{"samples", "--track", "0", "a.mp4"}, "ktmp4 samples", "--track"},
      {{"samples", "--track", "-1", "a.mp4"}, "ktmp4 samples", "--track"},
      {{"samples", "--track", "4294967296", "a.mp4"}, "ktmp4 samples", "--track"},
      {{"samples", "--track", "two", "a.mp4"}, "ktmp4 samples", "--track"},
      {{"extract", "--track", "1", "a.mp4"}, "ktmp4 extract", "OUT"},
      {{"play"}, "ktmp4 play", "FILE"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(CommandLine(row.arguments));
    const Outcome outcome = RunProgram(row.arguments);
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.out, "");
    ExpectOneLine(outcome.err, row.speaker);
    EXPECT_NE(outcome.err.find(row.fragment), std::string::npos) << outcome.err;
  }
}

TEST(Help, GoesToStandardOutput) {
  for (const char* command : {"dump", "info", "samples", "extract", "play"}) {
    const Outcome outcome = RunProgram({command, "--help"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_NE(outcome.out.find("FILE"), std::string::npos) << outcome.out;
    EXPECT_EQ(outcome.err, "");
  }
  const Outcome version = RunProgram({"--version"});
  EXPECT_EQ(version.exitCode, 0);
  EXPECT_EQ(version.out.find("ktmp4 "), 0u) << version.out;
}

struct BadFile {
  const char* name;
  void (*make)(const fs::path&);
  const char* fragment;
};

void Write(const fs::path& path, const std::vector<u8>& bytes) {
  std::ofstream stream(path, std::ios::binary);
  stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

const BadFile kBadFiles[] = {
    {"missing", [](const fs::path&) {}, "MP4_FILE_IO (4): there is no such file"},
    {"folder", [](const fs::path& path) { fs::create_directory(path); },
     "MP4_FILE_IO (4): it is a directory"},
    {"empty", [](const fs::path& path) { Write(path, {}); }, "the file is empty"},
    {"text", [](const fs::path& path) { Write(path, TextBytes("Dear reader, this is a letter.\n")); },
     "it does not begin like an MP4 file"},
    {"cut_in_the_media_data",
     [](const fs::path& path) {
       std::vector<u8> bytes = ReadFile(Media("ntsc-faststart.mp4"));
       bytes.resize(bytes.size() - 100);
       Write(path, bytes);
     },
     "MP4_CORRUPT (6): the sizes of the boxes contradict each other, or the file is cut short"},
    {"cut_in_the_tables",
     [](const fs::path& path) {
       std::vector<u8> bytes = ReadFile(Media("bframes-aac.mp4"));
       bytes.resize(bytes.size() - 100);
       Write(path, bytes);
     },
     "MP4_FILE_IO (4): the file ends inside a box"},
    {"of_a_common_writer", [](const fs::path& path) { fs::copy_file(Media("refused-btrt.mp4"), path); },
     "MP4_CORRUPT (6): the sizes of the boxes contradict each other"},
#ifndef _WIN32
    {"fifo", [](const fs::path& path) { ASSERT_EQ(mkfifo(path.c_str(), 0600), 0); },
     "MP4_FILE_IO (4): it is a FIFO"},
    {"link_to_nothing", [](const fs::path& path) { fs::create_symlink("nothing", path); },
     "there is no such file"},
#endif
};

class BadFileTest : public TestWithParam<BadFile> {};

// Each command refuses the file with exit code 1 and one line that tells operation, file and reason; nothing
// hangs, and what was to be written is not there.
TEST_P(BadFileTest, IsRefusedByEachCommand) {
  const TempFolder folder;
  const std::string file = folder / "bad file.mp4", output = folder / "out";
  GetParam().make(file);
  const std::vector<std::string> before = folder.Names();
  const std::vector<std::string> commandLines[] = {
      {"dump", file},
      {"info", file},
      {"samples", "--track", "1", file},
      {"extract", "--track", "1", file, output},
      {"play", file},
  };
  for (const auto& arguments : commandLines) {
    SCOPED_TRACE(CommandLine(arguments));
    const Outcome outcome = RunProgram(arguments);
    EXPECT_EQ(outcome.exitCode, 1);
    ExpectOneLine(outcome.err, "ktmp4 " + arguments[0]);
    EXPECT_NE(outcome.err.find("\"" + file + "\""), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.err.find(GetParam().fragment), std::string::npos) << outcome.err;
    if (arguments[0] != "dump") {
      EXPECT_EQ(outcome.out, "");
    }
  }
  EXPECT_EQ(folder.Names(), before);
}

INSTANTIATE_TEST_SUITE_P(All, BadFileTest, ::testing::ValuesIn(kBadFiles),
                         [](const auto& row) { return std::string(row.param.name); });

#ifndef _WIN32
TEST(BadFile, ThatMayNotBeReadSaysSo) {
  if (geteuid() == 0) GTEST_SKIP() << "root may read everything";
  const TempFile file(TextBytes("secret"));
  fs::permissions(file.Path(), fs::perms::none);
  const Outcome outcome = RunProgram({"info", file.Name()});
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_NE(outcome.err.find("Permission denied"), std::string::npos) << outcome.err;
}

// A file name can hold anything; the message stays one line.
TEST(BadFile, WithALineEndInItsName) {
  const Outcome outcome = RunProgram({"info", "no\nsuch\x1b[31m.mp4"});
  ExpectOneLine(outcome.err, "ktmp4 info");
  EXPECT_NE(outcome.err.find("\"no\\x0Asuch\\x1B[31m.mp4\""), std::string::npos) << outcome.err;
}
#endif

TEST(MissingTrack, IsAFailureThatTellsTheCount) {
  const std::string file = Media("bframes-aac.mp4");
  const TempFolder folder;
  const std::vector<std::string> commandLines[] = {
      {"samples", "--track", "99", file},
      {"extract", "--track", "99", file, folder / "out"},
  };
  for (const auto& arguments : commandLines) {
    const Outcome outcome = RunProgram(arguments);
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.out, "");
    ExpectOneLine(outcome.err, "ktmp4 " + arguments[0]);
    EXPECT_NE(outcome.err.find("MP4_NOT_FOUND (3): the file has 2 tracks"), std::string::npos) << outcome.err;
  }
  EXPECT_TRUE(folder.Names().empty());
}

TEST(RefusedFile, IsAnObjectForScriptsAndAFailure) {
  const Outcome outcome = RunProgram({"info", "--json", Media("refused-btrt.mp4")});
  EXPECT_EQ(outcome.exitCode, 1);
  ExpectOneLine(outcome.err, "ktmp4 info");
  const auto json = nlohmann::json::parse(outcome.out);
  EXPECT_EQ(json.at("file"), Media("refused-btrt.mp4"));
  EXPECT_EQ(json.at("result"), 6);
  EXPECT_EQ(json.at("resultName"), "MP4_CORRUPT");
  EXPECT_FALSE(json.contains("tracks"));
}

// The boxes ahead of the fault show where it is.
TEST(RefusedFile, IsDumpedUpToTheFault) {
  const Outcome outcome = RunProgram({"dump", Media("refused-btrt.mp4")});
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_NE(outcome.out.find("ftyp"), std::string::npos);
}

// Output that gets lost is no success.
TEST(StandardOutput, ThatIsFullIsAFailure) {
  if (!fs::exists("/dev/full")) GTEST_SKIP() << "there is no device that is always full";
  const std::string file = Media("bframes-aac.mp4");
  const std::vector<std::string> commandLines[] = {
      {"dump", file}, {"info", file}, {"samples", "--track", "1", file}, {"play", file}};
  for (const auto& arguments : commandLines) {
    const Outcome outcome = RunShell("(" + CommandLine(arguments) + " >/dev/full)");
    EXPECT_EQ(outcome.exitCode, 1);
    ExpectOneLine(outcome.err, "ktmp4 " + arguments[0]);
    EXPECT_NE(outcome.err.find("cannot write on standard output"), std::string::npos) << outcome.err;
  }
}

}  // namespace
}  // namespace kt::test

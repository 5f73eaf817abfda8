#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "support/box_writer.h"
#include "support/temp_file.h"

#ifndef _WIN32
#include <sys/wait.h>
#endif

namespace kt::test {

/// What a run of the program left behind.
struct Outcome {
  int exitCode = -1;
  std::string out, err;
};

inline std::string ReadText(const std::filesystem::path& path) {
  const std::vector<u8> bytes = ReadFile(path);
  return {bytes.begin(), bytes.end()};
}

/// One word of a command line for the system's shell.
inline std::string ShellWord(const std::string& word) {
#ifdef _WIN32
  return "\"" + word + "\"";
#else
  std::string quoted = "'";
  for (const char letter : word) quoted += letter == '\'' ? std::string("'\\''") : std::string(1, letter);
  return quoted + "'";
#endif
}

inline std::string CommandLine(const std::vector<std::string>& arguments) {
  std::string line = ShellWord(KTMP4_PROGRAM);
  for (const std::string& argument : arguments) line += " " + ShellWord(argument);
  return line;
}

/// Runs a command line of the shell. Exit code 128 + n is a death by signal n.
inline Outcome RunShell(const std::string& line) {
  const TempFile out, err;
  std::string command = line + " >" + ShellWord(out.Name()) + " 2>" + ShellWord(err.Name());
#ifdef _WIN32
  // Wine fails now and then to start the shell (-1), or the shell the program (9009): nothing has run then.
  int exitCode = -1;
  for (int tries = 0; tries < 5 && (exitCode == -1 || exitCode == 9009); ++tries)
    exitCode = std::system(("\"" + command + "\"").c_str());
#else
  const int status = std::system(command.c_str());
  const int exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
#endif
  Outcome outcome = {exitCode, ReadText(out.Path()), ReadText(err.Path())};
#ifdef _WIN32
  std::erase(outcome.err, '\r');  // the line ends that were meant
#endif
  return outcome;
}

inline Outcome RunProgram(const std::vector<std::string>& arguments) {
  return RunShell(CommandLine(arguments));
}

/// `text` has to hold each of these parts.
inline void ExpectParts(const std::string& text, const std::vector<std::string>& parts) {
  for (const std::string& part : parts) EXPECT_NE(text.find(part), std::string::npos) << part << "\n" << text;
}

/// Runs a command line of the shell that has to end like this: with these parts in what it complains about,
/// or without a complaint where there is none. Gives what it printed.
inline std::string ExpectShell(const std::string& line, int exitCode,
                               const std::vector<std::string>& complaint) {
  SCOPED_TRACE(line);
  const Outcome outcome = RunShell(line);
  EXPECT_EQ(outcome.exitCode, exitCode) << outcome.err;
  EXPECT_TRUE(!complaint.empty() || outcome.err.empty()) << outcome.err;
  ExpectParts(outcome.err, complaint);
  return outcome.out;
}

/// The same for a run of the program.
inline std::string ExpectRun(const std::vector<std::string>& arguments, int exitCode = 0,
                             const std::vector<std::string>& complaint = {}) {
  return ExpectShell(CommandLine(arguments), exitCode, complaint);
}

/// A real file of the project.
inline std::string Media(const std::string& name) {
  return KTMP4_MEDIA "/" + name;
}

inline std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t begin = 0, end = 0; begin < text.size(); begin = end + 1) {
    end = std::min(text.find('\n', begin), text.size());
    lines.push_back(text.substr(begin, end - begin));
  }
  return lines;
}

/// A folder of its own that goes with everything in it.
class TempFolder : public TempFile {
 public:
  TempFolder() { std::filesystem::create_directory(Path()); }
  std::string operator/(const std::string& name) const { return (Path() / name).string(); }
  /// The names in it, hidden ones too.
  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(Path()))
      names.push_back(entry.path().filename().string());
    std::ranges::sort(names);
    return names;
  }
};

}  // namespace kt::test

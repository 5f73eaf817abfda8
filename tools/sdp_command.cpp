#include <algorithm>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "tools/arguments.h"
#include "tools/commands.h"
#include "tools/files/input_file.h"
#include "tools/terminal/failure.h"
#include "tools/terminal/standard_streams.h"

namespace kt {
namespace {

struct SdpArguments {
  InputChoice input;
  bool full = false;
  u32 port = 5004;  // RFC 3551, 8
};

// A text of the file; empty when there is none.
std::string TextOf(const std::string& what, u64 fileSize,
                   const std::function<Mp4Result(char* buffer, u32 size)>& get) {
  // The text is a part of the file, so that it cannot be longer.
  for (std::string text(1024, '\0');; text.resize(text.size() * 2)) {
    const Mp4Result result = get(text.data(), static_cast<u32>(text.size()));
    if (result == MP4_OK) return text.substr(0, text.find('\0'));
    if (result == MP4_NOT_FOUND) return {};
    if (result != MP4_BUFFER_TOO_SMALL || text.size() > fileSize) throw ResultFailure(what, result);
  }
}

std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    if (line.ends_with('\r')) line.pop_back();
    if (!line.empty()) lines.push_back(line);
  }
  return lines;
}

// The block of the movie with what a server adds, in the order of RFC 4566, 5. The name of the session is
// that of the file.
std::string WholeSession(const std::string& file, const std::string& movie) {
  constexpr std::string_view kOrder = "vosiuepcbtrzka";
  std::string name;
  for (const char letter : file.substr(file.find_last_of("/\\") + 1)) {
    name += static_cast<unsigned char>(letter) < ' ' ? '_' : letter;
  }
  std::vector<std::string> lines = LinesOf(movie);
  for (const std::string& line : {std::string("v=0"), std::string("o=- 0 0 IN IP4 127.0.0.1"), "s=" + name,
                                  std::string("t=0 0"), std::string("c=IN IP4 127.0.0.1")}) {
    const auto isThere = [&](const std::string& other) { return other.front() == line.front(); };
    if (std::ranges::none_of(lines, isThere)) lines.push_back(line);
  }
  std::ranges::stable_sort(lines, {}, [&](const std::string& line) { return kOrder.find(line.front()); });
  std::string session;
  for (const std::string& line : lines) session += line + "\r\n";
  return session;
}

// A block of the file leaves the port open.
std::string WithPort(const std::string& block, u32 port) {
  const std::size_t begin = block.find(' ');
  const std::size_t end = block.find(' ', begin + 1);
  if (!block.starts_with("m=") || begin == std::string::npos || end == std::string::npos) return block;
  return block.substr(0, begin + 1) + std::to_string(port) + block.substr(end);
}

void PrintSessionDescription(const SdpArguments& arguments) {
  InputFile input(arguments.input);
  input.RequireOpen();
  input.TellReading(NotesOf("sdp"));
  const std::string operation = "cannot read the session description of " + Quoted(arguments.input.name);
  const std::string movie = TextOf(operation, input.Size(), [&](char* buffer, u32 size) {
    return input.File().GetMovieSdp(buffer, size);
  });
  std::vector<std::string> blocks;
  for (const u32 index : input.HintTracks(NotesOf("sdp"))) {
    const std::unique_ptr<CMp4HintTrack> track = input.OpenHintTrack(index);
    blocks.push_back(TextOf(operation + ", hint track " + std::to_string(index), input.Size(),
                            [&](char* buffer, u32 size) { return track->GetTrackSdp(buffer, size); }));
  }
  if (movie.empty() && std::ranges::all_of(blocks, &std::string::empty)) {
    throw Failure("there is no session description in " + Quoted(arguments.input.name));
  }
  if (arguments.port + 2 * u64{blocks.size()} > 65536) {
    throw Failure("cannot number the streams of " + Quoted(arguments.input.name) +
                  ": there are no ports for " + std::to_string(blocks.size()) + " from " +
                  std::to_string(arguments.port) + " on");
  }
  Print(arguments.full ? WholeSession(arguments.input.name, movie) : movie);
  u32 port = arguments.port;
  for (const std::string& block : blocks) {
    Print(arguments.full ? WithPort(block, port) : block);
    port += 2;
  }
}

}  // namespace

void AddSdpCommand(CLI::App& program) {
  Command command(program, "sdp", "Print the session description of a hinted file");
  const auto arguments = std::make_shared<SdpArguments>();
  command.AddFlag("--full", &arguments->full, "With the lines that a server adds, so that players take it");
  command.AddNumber("--port", "N", "Port of the first stream; the others follow in twos [5004]", {1, 65534},
                    [arguments](u32 port) { arguments->port = port; });
  command.Require("--port", "--full");
  AddInputArgument(command, &arguments->input);
  command.Finish(
      "The block of the movie and the blocks of the hint tracks, as they stand in the file (RFC 4566). "
      "--full\n"
      "puts a session for this very machine (127.0.0.1) ahead and fills in the ports.",
      [arguments] { PrintSessionDescription(*arguments); });
}

}  // namespace kt

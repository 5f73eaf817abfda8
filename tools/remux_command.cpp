#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include "tools/arguments.h"
#include "tools/commands.h"
#include "tools/failure.h"
#include "tools/input_file.h"
#include "tools/interrupts.h"
#include "tools/output_place.h"
#include "tools/progress_line.h"
#include "tools/track_copy.h"

namespace kt {
namespace {

namespace fs = std::filesystem;

struct RemuxArguments {
  std::string file;
  std::string output;
  std::optional<u32> fileType;
  std::vector<u32> tracks;
  bool force = false;
};

using Tracks = std::vector<std::unique_ptr<TrackCopy>>;

void Note(const std::string& text) {
  std::fprintf(stderr, "ktmp4 remux: %s\n", text.c_str());
}

u32 TypeByName(const std::string& name) {
  std::string extension = fs::path(name).extension().string();
  std::ranges::transform(extension, extension.begin(),
                         [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  if (extension == ".3gp" || extension == ".3g2") return MP4_TYPE_3GP;
  return extension == ".m4a" ? MP4_TYPE_M4A : MP4_TYPE_MP4;
}

// A track that can be written; otherwise null with a note, or a failure when somebody has asked for it.
std::unique_ptr<TrackCopy> TakeTrack(InputFile& input, u32 index, bool wanted) {
  std::string obstacle;
  try {
    auto track = std::make_unique<TrackCopy>(input, index, wanted);
    obstacle = track->Obstacle();
    if (obstacle.empty()) return track;
  } catch (const Failure& failure) {
    obstacle = failure.what();
  }
  const std::string name = "track " + std::to_string(index) + " of " + Quoted(input.Name());
  if (wanted) throw Failure("cannot copy " + name + ": " + obstacle);
  Note(name + " is left out: " + obstacle);
  return nullptr;
}

Tracks ChooseTracks(InputFile& input, const RemuxArguments& arguments) {
  std::vector<u32> indices = arguments.tracks;
  const bool wanted = !indices.empty();
  if (!wanted) {
    u32 count = 0;
    if (const Mp4Result result = input.File().GetTrackCount(&count)) {
      throw ResultFailure("cannot count the tracks of " + Quoted(input.Name()), result);
    }
    for (u32 index = 1; index <= count; ++index) indices.push_back(index);
  }
  Tracks tracks;
  for (const u32 index : indices) {
    if (auto track = TakeTrack(input, index, wanted)) tracks.push_back(std::move(track));
  }
  if (tracks.empty()) throw Failure("there is no track in " + Quoted(input.Name()) + " that can be copied");
  return tracks;
}

template <class Operation>
void RequireWritten(const OutputPlace& place, Operation&& operation) {
  errno = 0;
  const Mp4Result result = operation();
  if (!result) return;
  const std::string reason =
      result == MP4_FILE_IO && errno != 0 ? std::generic_category().message(errno) : std::string();
  throw ResultFailure(place.Operation(), result, reason);
}

void CopyDate(CMp4File& from, CMp4File& to) {
  u32 year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
  if (from.GetCreationDate(&year, &month, &day, &hour, &minute, &second) != MP4_OK) return;
  // What can be read can be set.
  static_cast<void>(to.SetCreationDate(year, month, day, hour, minute, second));
}

// All samples of all tracks, in the order in which they are decoded.
void CopySamples(const Tracks& tracks, const Interrupts& interrupts) {
  u64 allSamples = 0;
  for (const auto& track : tracks) allSamples += track->SampleCount();
  ProgressLine progress;
  for (u64 sample = 1; sample <= allSamples; ++sample) {
    interrupts.Check();
    TrackCopy* next = nullptr;
    for (const auto& track : tracks) {
      if (track->IsComplete()) continue;
      if (next == nullptr || track->NextTime() < next->NextTime()) next = track.get();
    }
    next->CopyNext();
    u64 bytes = 0;
    for (const auto& track : tracks) bytes += track->CopiedBytes();
    progress.UpdateCopy(sample, allSamples, bytes);
  }
}

void Write(InputFile& input, const Tracks& tracks, const OutputPlace& place, u32 fileType,
           const Interrupts& interrupts) {
  CMp4File* made = nullptr;
  if (const Mp4Result result = CreateMp4File(&made)) throw ResultFailure(place.Operation(), result);
  const std::unique_ptr<CMp4File> output(made);
  RequireWritten(place, [&] { return output->Open(place.PartialName().c_str(), MP4_MODE_WRITE, fileType); });
  CopyDate(input.File(), *output);
  for (const auto& track : tracks) track->Begin(*output);
  CopySamples(tracks, interrupts);
  for (const auto& track : tracks) track->End(*output);
  RequireWritten(place, [&] { return output->Close(); });
}

void Remux(const RemuxArguments& arguments) {
  constexpr u64 kLargestReadable = 0xFFFF0000;  // with room for the headers
  InputFile input(arguments.file);
  input.RequireOpen();
  std::error_code error;
  if (!arguments.force && fs::is_regular_file(arguments.output, error)) {
    throw Failure("cannot write " + Quoted(arguments.output) +
                  ": there is such a file already (--force replaces it)");
  }
  const Tracks tracks = ChooseTracks(input, arguments);
  const Interrupts interrupts;
  u64 bytes = 0;
  for (const auto& track : tracks) {
    track->Examine(interrupts, Note);
    bytes += track->ByteCount();
  }
  if (bytes > kLargestReadable) {
    Note(Quoted(arguments.output) + " takes more than 4 GiB, and this program cannot read it back");
  }
  OutputPlace place(arguments.output, arguments.file);
  Write(input, tracks, place, arguments.fileType.value_or(TypeByName(arguments.output)), interrupts);
  place.Commit();
}

void RequireDistinct(const std::vector<u32>& tracks) {
  std::set<u32> seen;
  for (const u32 track : tracks) {
    if (!seen.insert(track).second) {
      throw CLI::ValidationError("--track", std::to_string(track) + " is given twice");
    }
  }
}

}  // namespace

void AddRemuxCommand(CLI::App& program) {
  CLI::App* command = program.add_subcommand("remux", "Copy tracks into a new file, sample by sample");
  const auto arguments = std::make_shared<RemuxArguments>();
  const std::map<std::string, u32> types = {
      {"mp4", MP4_TYPE_MP4}, {"3gp", MP4_TYPE_3GP}, {"m4a", MP4_TYPE_M4A}};
  command->add_option("--type", arguments->fileType, "The type of the new file: mp4, 3gp or m4a")
      ->type_name("TYPE")
      ->transform(CLI::CheckedTransformer(types).description(""));
  command->add_option("--track", arguments->tracks, "Which track to copy, counted from 1; can be repeated")
      ->type_name("N")
      ->allow_extra_args(false)
      ->check(CLI::Range(1U, std::numeric_limits<u32>::max()).description(""));
  command->add_flag("--force", arguments->force, "Replace OUT when there is such a file already");
  command->add_option("IN", arguments->file, "The file to read")->required()->type_name("");
  command->add_option("OUT", arguments->output, "The file to write")->required()->type_name("");
  command->footer(
      "Tracks of MPEG-4 visual, AAC, H.263, AMR and Line 21 can be written. Without --track all of these "
      "are\n"
      "copied, and standard error says which others are left out and why. Without --type the name of OUT\n"
      "decides. Samples, times and decoder set-up stay as they are; edits and start delays, and the first\n"
      "decoding time of a track, are not kept.\n"
      "OUT gets its name only when it is complete; until then a file that has the name already stays as it\n"
      "is.");
  command->callback([arguments] {
    RequireDistinct(arguments->tracks);
    Remux(*arguments);
  });
}

}  // namespace kt

#include <cinttypes>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/arguments.h"
#include "tools/commands.h"
#include "tools/files/input_file.h"
#include "tools/files/sample_claims.h"
#include "tools/terminal/failure.h"
#include "tools/terminal/standard_streams.h"

namespace kt {
namespace {

struct HintsArguments {
  InputChoice input;
  std::optional<u32> track;
};

void DumpHints(InputFile& input, u32 index) {
  const std::string where = " of hint track " + std::to_string(index) + " of " + Quoted(input.Name());
  const std::unique_ptr<CMp4HintTrack> hints = input.OpenHintTrack(index);
  RequireSamplesFit(*input.OpenTrack(index), input.Size(), where.substr(4));
  u32 count = 0;
  u32 media = 0;
  if (const Mp4Result result = input.OpenTrack(index)->GetSampleCount(&count)) {
    throw ResultFailure("cannot count the samples" + where, result);
  }
  // Without a reference the samples can be shown all the same.
  if (GetReferencedTrack(hints.get(), 1, &media) != MP4_OK) media = 0;
  for (u32 sample = 1; sample <= count && sample != 0; ++sample) {
    u64 time = 0;
    if (const Mp4Result result = hints->GetPacketTime(sample, &time)) {
      throw ResultFailure("cannot find the time of sample " + std::to_string(sample) + where, result);
    }
    std::printf("track %u, sample %u: time %" PRIu64 ", from track %u\n", index, sample, time, media);
    if (const Mp4Result result = hints->DumpHintSample(sample)) {
      throw ResultFailure("cannot read sample " + std::to_string(sample) + where, result);
    }
  }
}

void Hints(const HintsArguments& arguments) {
  InputFile input(arguments.input);
  input.RequireOpen();
  input.TellReading(NotesOf("hints"));
  std::vector<u32> tracks;
  if (arguments.track) {
    tracks.push_back(*arguments.track);
  } else {
    tracks = input.HintTracks(NotesOf("hints"));
    if (tracks.empty()) throw Failure("there is no hint track in " + Quoted(input.Name()));
  }
  const ShownLibraryOutput shown;
  for (const u32 track : tracks) DumpHints(input, track);
}

}  // namespace

void AddHintsCommand(CLI::App& program) {
  CLI::App* command = program.add_subcommand("hints", "Print the packets that hint tracks describe");
  const auto arguments = std::make_shared<HintsArguments>();
  AddTrackOption(*command, &arguments->track);
  AddInputArgument(*command, &arguments->input);
  command->footer(
      "Without --track all hint tracks are printed. Times are in ticks of the hint track's time scale, "
      "which\n"
      "is the RTP clock.");
  command->callback([arguments] { Hints(*arguments); });
}

}  // namespace kt

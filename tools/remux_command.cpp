#include <limits>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "tools/arguments.h"
#include "tools/commands.h"
#include "tools/copy/movie_copy.h"

namespace kt {
namespace {

struct RemuxArguments {
  InputChoice input;
  CopyTarget target;
  std::vector<u32> tracks;
};

void Remux(const RemuxArguments& arguments) {
  MovieCopy copy(arguments.input, arguments.target, NotesOf("remux"));
  copy.Choose(arguments.tracks);
  copy.Write();
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
  AddTypeOption(*command, &arguments->target.type);
  command->add_option("--track", arguments->tracks, "Which track to copy, counted from 1; can be repeated")
      ->type_name("N")
      ->allow_extra_args(false)
      ->check(CLI::Range(1U, std::numeric_limits<u32>::max()).description(""));
  AddInputArgument(*command, &arguments->input, "IN");
  AddOutputArguments(*command, &arguments->target.name, &arguments->target.force);
  command->footer(
      "Tracks of MPEG-4 visual, AAC, H.263, AMR and Line 21 can be written. Without --track all of these "
      "are\n"
      "copied, and standard error says which others are left out and why. Without --type the name of OUT\n"
      "decides. Samples, times, sync flags, decoder set-up, dates and copyright notices stay as they are;\n"
      "edits and start delays, and the first decoding time of a track, are not kept. With --adapt edits "
      "act,\n"
      "and tracks that start late do so in the copy. Standard error says\n"
      "when a track loses its language, its matrix or the name of its handler.\n"
      "OUT gets its name only when it is complete; until then a file that has the name already stays as it\n"
      "is.");
  command->callback([arguments] {
    RequireDistinct(arguments->tracks);
    Remux(*arguments);
  });
}

}  // namespace kt

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
      RefuseUse("--track", std::to_string(track) + " is given twice");
    }
  }
}

}  // namespace

void AddRemuxCommand(CLI::App& program) {
  Command command(program, "remux", "Copy tracks into a new file, sample by sample");
  const auto arguments = std::make_shared<RemuxArguments>();
  AddTypeOption(command, &arguments->target.type);
  command.AddNumbers("--track", "N", "Which track to copy, counted from 1; can be repeated",
                     {1, std::numeric_limits<u32>::max()}, &arguments->tracks);
  AddInputArgument(command, &arguments->input, "IN");
  AddOutputArguments(command, &arguments->target.name, &arguments->target.force);
  command.Finish(
      "Tracks of MPEG-4 visual, AAC, H.263, AMR and Line 21 can be written. Without --track all of these\n"
      "are copied. Without --type the ending of OUT decides: .3gp, .3g2 and .3gpp are 3gp, .m4a and .m4b\n"
      "are m4a, all others mp4. Samples, times, sync flags, decoder set-up, dates, copyright notices, the\n"
      "language and the matrix of a track stay as they are. These do not, and standard error says so:\n"
      "  tracks of other formats are left out; tags and the names of handlers are not copied\n"
      "  start delays, edits and first decoding times act with --adapt alone\n"
      "  the last sample of a track lasts as long as the one before it\n"
      "  the movie lasts as its first track: --track 2 --track 1 lets the second come first\n"
      "A fragmented file is refused, unless --adapt is given.\n"
      "OUT gets its name only when it is complete; until then a file that has the name already stays as it\n"
      "is.",
      [arguments] {
        RequireDistinct(arguments->tracks);
        Remux(*arguments);
      });
}

}  // namespace kt

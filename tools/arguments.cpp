#include "tools/arguments.h"

#include <limits>
#include <map>

#include <ktmp4/result.h>

namespace kt {

void AddAdaptOption(Command& command, bool* adapt) {
  command.AddFlag("--adapt", adapt, "Read what other writers make of the format, too");
}

void AddInputArgument(Command& command, InputChoice* input, const std::string& name) {
  AddAdaptOption(command, &input->adapt);
  command.AddPlace(name, &input->name, "The file to read");
}

void AddTrackOption(Command& command, std::optional<u32>* track) {
  command.AddNumber("--track", "N", "Which track, counted from 1", {1, std::numeric_limits<u32>::max()},
                    [track](u32 index) { *track = index; });
}

void AddTypeOption(Command& command, std::optional<u32>* type) {
  const std::map<std::string, u32> types = {
      {"mp4", MP4_TYPE_MP4}, {"3gp", MP4_TYPE_3GP}, {"m4a", MP4_TYPE_M4A}};
  command.AddChoice("--type", "TYPE", "The type of the new file: mp4, 3gp or m4a", types, type);
}

void AddOutputArguments(Command& command, std::string* output, bool* force) {
  command.AddFlag("--force", force, "Replace OUT when there is such a file already");
  command.AddPlace("OUT", output, "The file to write");
}

}  // namespace kt

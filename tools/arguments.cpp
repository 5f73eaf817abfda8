#include "tools/arguments.h"

#include <limits>
#include <map>

#include <ktmp4/result.h>

namespace kt {

void AddAdaptOption(CLI::App& command, bool* adapt) {
  command.add_flag("--adapt", *adapt, "Read what other writers make of the format, too");
}

void AddInputArgument(CLI::App& command, InputChoice* input, const std::string& name) {
  AddAdaptOption(command, &input->adapt);
  command.add_option(name, input->name, "The file to read")->required()->type_name("");
}

void AddTrackOption(CLI::App& command, std::optional<u32>* track) {
  command.add_option("--track", *track, "Which track, counted from 1")
      ->type_name("N")
      ->check(CLI::Range(1U, std::numeric_limits<u32>::max()).description(""));
}

void AddTypeOption(CLI::App& command, std::optional<u32>* type) {
  const std::map<std::string, u32> types = {
      {"mp4", MP4_TYPE_MP4}, {"3gp", MP4_TYPE_3GP}, {"m4a", MP4_TYPE_M4A}};
  command.add_option("--type", *type, "The type of the new file: mp4, 3gp or m4a")
      ->type_name("TYPE")
      ->transform(Words(types));
}

void AddOutputArguments(CLI::App& command, std::string* output, bool* force) {
  command.add_flag("--force", *force, "Replace OUT when there is such a file already");
  command.add_option("OUT", *output, "The file to write")->required()->type_name("");
}

}  // namespace kt

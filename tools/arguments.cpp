#include "tools/arguments.h"

#include <limits>

namespace kt {
namespace {

void Limit(CLI::Option* track) {
  track->type_name("N")->check(CLI::Range(1U, std::numeric_limits<u32>::max()).description(""));
}

}  // namespace

void AddFileArgument(CLI::App& command, std::string* file) {
  command.add_option("FILE", *file, "The file to read")->required()->type_name("");
}

void AddTrackOption(CLI::App& command, u32* track) {
  Limit(command.add_option("--track", *track, "Which track, counted from 1")->required());
}

void AddTrackOption(CLI::App& command, std::optional<u32>* track) {
  Limit(command.add_option("--track", *track, "Which track, counted from 1"));
}

void AddOutputArguments(CLI::App& command, std::string* output, bool* force) {
  command.add_flag("--force", *force, "Replace OUT when there is such a file already");
  command.add_option("OUT", *output, "The file to write")->required()->type_name("");
}

}  // namespace kt

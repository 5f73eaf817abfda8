#include "tools/arguments.h"

#include <limits>

namespace kt {

void AddFileArgument(CLI::App& command, std::string* file) {
  command.add_option("FILE", *file, "The file to read")->required()->type_name("");
}

void AddTrackOption(CLI::App& command, u32* track) {
  command.add_option("--track", *track, "Which track, counted from 1")
      ->required()
      ->type_name("N")
      ->check(CLI::Range(1U, std::numeric_limits<u32>::max()).description(""));
}

}  // namespace kt

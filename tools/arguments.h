#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "engine/types.h"

namespace kt {

// The arguments that several commands have.

void AddFileArgument(CLI::App& command, std::string* file);
void AddTrackOption(CLI::App& command, u32* track);

}  // namespace kt

#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "engine/types.h"

namespace kt {

// The arguments that several commands have.

void AddFileArgument(CLI::App& command, std::string* file);
void AddTrackOption(CLI::App& command, u32* track);
/// For a command that finds a track by itself.
void AddTrackOption(CLI::App& command, std::optional<u32>* track);
/// `--type`, an Mp4FileType.
void AddTypeOption(CLI::App& command, std::optional<u32>* type);
/// OUT, and `--force` to replace it.
void AddOutputArguments(CLI::App& command, std::string* output, bool* force);

}  // namespace kt

#pragma once

#include <optional>
#include <string>

#include <ktmp4/types.h>
#include "tools/command.h"
#include "tools/files/input_file.h"

namespace kt {

// The arguments that several commands have.

/// The file to read, with `--adapt`.
void AddInputArgument(Command& command, InputChoice* input, const std::string& name = "FILE");
/// `--adapt`, for a command with an argument of its own.
void AddAdaptOption(Command& command, bool* adapt);
/// `--track`, for a command that can also find one by itself.
void AddTrackOption(Command& command, std::optional<u32>* track);
/// `--type`, an Mp4FileType.
void AddTypeOption(Command& command, std::optional<u32>* type);
/// OUT, and `--force` to replace it.
void AddOutputArguments(Command& command, std::string* output, bool* force);

}  // namespace kt

#pragma once

#include <CLI/CLI.hpp>
#include <map>
#include <optional>
#include <string>

#include <ktmp4/types.h>
#include "tools/files/input_file.h"

namespace kt {

// The arguments that several commands have.

/// For an option that takes one of a few words, each of which stands for a value.
template <class Value>
CLI::Validator Words(const std::map<std::string, Value>& values) {
  const std::string words = CLI::detail::generate_map(values, true);
  const auto replace = [values, words](std::string& word) {
    const auto found = values.find(word);
    if (found == values.end()) return word + " not in " + words;
    word = std::to_string(static_cast<int>(found->second));
    return std::string();
  };
  return CLI::Validator(replace, "").name(words);
}

/// The file to read, with `--adapt`.
void AddInputArgument(CLI::App& command, InputChoice* input, const std::string& name = "FILE");
/// `--adapt`, for a command with an argument of its own.
void AddAdaptOption(CLI::App& command, bool* adapt);
/// `--track`, for a command that can also find one by itself.
void AddTrackOption(CLI::App& command, std::optional<u32>* track);
/// `--type`, an Mp4FileType.
void AddTypeOption(CLI::App& command, std::optional<u32>* type);
/// OUT, and `--force` to replace it.
void AddOutputArguments(CLI::App& command, std::string* output, bool* force);

}  // namespace kt

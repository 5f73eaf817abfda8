#pragma once

#include <functional>
#include <string>

namespace kt {

/// Takes one line for a person: what is lost on the way, or why something is left out.
using Notes = std::function<void(const std::string&)>;

/// Writes the lines on standard error, behind the name of the command.
Notes NotesOf(const std::string& command);

}  // namespace kt

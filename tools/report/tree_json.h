#pragma once

#include <string>

#include "tools/bytes/file_bytes.h"

namespace kt {

/// Prints the boxes of a file as JSON, one on a line, while they are read: an object for the file, and in its
/// "boxes", as in those of each box, an object for each box.
void PrintTreeJson(FileBytes& file, const std::string& name);

}  // namespace kt

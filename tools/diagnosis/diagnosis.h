#pragma once

#include <optional>
#include <string>

#include <ktmp4/types.h>

namespace kt {

/// Why the strict reader does not take a file.
struct Diagnosis {
  std::string path;   // of the box that broke it, "moov/trak[2]/mdia"; empty where no box did
  u64 offset = 0;     // of that box in the file, in bytes
  std::string cause;  // "20 bytes of "btrt" behind "esds""

  /// "moov/trak[2]/mdia at 48,213: ...".
  std::string Text() const;
};

/// Looks for the first box of a file, in the order of the file, that the strict reader stumbles over. None
/// when there is none: then it takes the file, or refuses it for what only it knows.
/// It is a look of its own that goes by the sizes of boxes.
std::optional<Diagnosis> Diagnose(const std::string& name);

}  // namespace kt

#include "tools/notes.h"

#include <cstdio>

namespace kt {

Notes NotesOf(const std::string& command) {
  return [command](const std::string& text) {
    std::fprintf(stderr, "ktmp4 %s: %s\n", command.c_str(), text.c_str());
  };
}

}  // namespace kt

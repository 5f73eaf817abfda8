#include "tools/terminal/notes.h"

#include "tools/terminal/standard_streams.h"

namespace kt {

Notes NotesOf(const std::string& command) {
  return [command](const std::string& text) { PrintMessage("ktmp4 " + command, text); };
}

}  // namespace kt

#include "tools/failure.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace kt {

Failure ResultFailure(const std::string& operation, Mp4Result result, const std::string& reason) {
  return Failure(operation + ": " + Mp4ResultName(result) + " (" + std::to_string(result) +
                 "): " + (reason.empty() ? Mp4ResultText(result) : reason));
}

Failure SystemFailure(const std::string& operation) {
  return Failure(operation + ": " + std::generic_category().message(errno));
}

std::string Quoted(const std::string& name) {
  std::string text = "\"";
  for (const char letter : name) {
    if (const auto code = static_cast<unsigned char>(letter); code < 0x20 || code == 0x7F) {
      char escape[5];
      std::snprintf(escape, sizeof escape, "\\x%02X", code);
      text += escape;
    } else {
      text += letter;
    }
  }
  return text + "\"";
}

}  // namespace kt

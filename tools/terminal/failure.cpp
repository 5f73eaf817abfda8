#include "tools/terminal/failure.h"

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

std::string ByteInHex(char byte) {
  char text[5];
  std::snprintf(text, sizeof text, "\\x%02X", static_cast<unsigned>(static_cast<unsigned char>(byte)));
  return text;
}

std::string OneLine(const std::string& text) {
  std::string line;
  for (const char letter : text) {
    const auto code = static_cast<unsigned char>(letter);
    line += code < 0x20 || code == 0x7F ? ByteInHex(letter) : std::string(1, letter);
  }
  return line;
}

std::string Quoted(const std::string& name) {
  return "\"" + OneLine(name) + "\"";
}

}  // namespace kt

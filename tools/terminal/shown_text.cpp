#include "tools/terminal/shown_text.h"

#include <cstdio>

namespace kt {
namespace {

bool IsContinuation(unsigned char byte) {
  return (byte & 0xC0) == 0x80;
}

// Bytes of the UTF-8 character that the text begins with; 0 when it begins with none.
std::size_t CharacterSize(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text[0]);
  const std::size_t size = lead < 0x80   ? 1
                           : lead < 0xC2 ? 0
                           : lead < 0xE0 ? 2
                           : lead < 0xF0 ? 3
                           : lead < 0xF5 ? 4
                                         : 0;
  if (size > text.size()) return 0;
  for (std::size_t i = 1; i < size; ++i) {
    if (!IsContinuation(static_cast<unsigned char>(text[i]))) return 0;
  }
  return size;
}

// Whether a terminal may take the first byte, or the first character, for a command: the control characters
// of ASCII and those from 0x80 on, which UTF-8 begins with 0xC2.
bool BeginsWithControl(std::string_view text, std::size_t characterSize) {
  const auto first = static_cast<unsigned char>(text[0]);
  if (characterSize == 0) return first < 0xA0;
  if (characterSize == 2) return first == 0xC2 && static_cast<unsigned char>(text[1]) < 0xA0;
  if (first == '\n' || first == '\t' || text.starts_with("\r\n")) return false;
  return first < 0x20 || first == 0x7F;
}

}  // namespace

std::string ByteInHex(char byte) {
  char text[5];
  std::snprintf(text, sizeof text, "\\x%02X", static_cast<unsigned>(static_cast<unsigned char>(byte)));
  return text;
}

std::string Shown(std::string_view text) {
  std::string shown;
  shown.reserve(text.size());
  while (!text.empty()) {
    const std::size_t character = CharacterSize(text);
    const std::size_t size = character == 0 ? 1 : character;
    if (BeginsWithControl(text, character)) {
      for (const char byte : text.substr(0, size)) shown += ByteInHex(byte);
    } else {
      shown += text.substr(0, size);
    }
    text.remove_prefix(size);
  }
  return shown;
}

std::string OneLine(std::string_view text) {
  std::string line;
  for (const char letter : Shown(text)) {
    line += letter == '\n' || letter == '\r' || letter == '\t' ? ByteInHex(letter) : std::string(1, letter);
  }
  return line;
}

std::string CodeText(u32 code) {
  std::string text;
  for (const u32 shift : {24U, 16U, 8U, 0U}) {
    const char letter = static_cast<char>(code >> shift & 0xFF);
    text += static_cast<unsigned char>(letter) < 0x80 ? OneLine(std::string(1, letter)) : ByteInHex(letter);
  }
  return text;
}

std::string Quoted(std::string_view name) {
  return "\"" + OneLine(name) + "\"";
}

}  // namespace kt

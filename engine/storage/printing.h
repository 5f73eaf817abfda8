#pragma once

#include <ktmp4/types.h>

namespace kt {

/// Prints two blanks per level; nothing for 0 and below.
void PrintIndent(int indent);

/// The four characters of a code, most significant first, for "%c%c%c%c".
struct CodeCharacters {
  explicit CodeCharacters(u32 code)
      : first(static_cast<char>(code >> 24)),
        second(static_cast<char>(code >> 16)),
        third(static_cast<char>(code >> 8)),
        fourth(static_cast<char>(code)) {}
  char first, second, third, fourth;
};

}  // namespace kt

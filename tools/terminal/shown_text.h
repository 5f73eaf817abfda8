#pragma once

#include <string>
#include <string_view>

#include <ktmp4/types.h>

namespace kt {

// Texts of strangers for people's eyes: no name and no text of a file can tell a terminal what to do.

/// "\x1B" for the byte of that number.
std::string ByteInHex(char byte);

/// The text with its control characters written out ("\x1B"), those from 0x80 on among them. Ends of lines
/// and tabs stay.
std::string Shown(std::string_view text);

/// The same in one line: ends of lines and tabs by their numbers, too.
std::string OneLine(std::string_view text);

/// The four characters of a code; what is no letter, digit or sign of ASCII by its number.
std::string CodeText(u32 code);

/// A name for a message: in quotes, and in one line whatever characters it has.
std::string Quoted(std::string_view name);

}  // namespace kt

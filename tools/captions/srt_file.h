#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <ktmp4/types.h>

namespace kt {

/// One subtitle of a SubRip file. Times are in 100 ns units.
struct Subtitle {
  i64 begin = 0;
  i64 end = 0;
  /// Each of Unicode characters, without marks of style; none is empty.
  std::vector<std::u32string> rows;
  /// Where its times stand in the file, counted from 1.
  u32 line = 0;
};

/// Whether the text has a line of times, as a SubRip file has ahead of each subtitle.
bool LooksLikeSrt(std::string_view text);

/// Reads the text of a SubRip file, in UTF-8; what is none is taken for Latin-1. Throws a `Failure` that
/// begins with the number of the line.
std::vector<Subtitle> ReadSrt(std::string_view text);

}  // namespace kt

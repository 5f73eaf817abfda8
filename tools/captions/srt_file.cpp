#include "tools/captions/srt_file.h"

#include <algorithm>
#include <array>
#include <optional>

#include "tools/terminal/failure.h"

namespace kt {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kBlanks = " \t\r";
constexpr std::string_view kArrow = "-->";
constexpr std::size_t kLongestMark = 200;

std::string_view Trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(kBlanks);
  if (begin == text.npos) return {};
  return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

// Takes the number that the text begins with, of at most nine digits, and one of the separators behind it.
std::optional<i64> TakeNumber(std::string_view* text, std::string_view separators) {
  const std::size_t size = std::min(text->find_first_not_of("0123456789"), text->size());
  if (size == 0 || size > 9) return std::nullopt;
  i64 number = 0;
  for (const char digit : text->substr(0, size)) number = number * 10 + (digit - '0');
  text->remove_prefix(size);
  if (separators.empty()) return number;
  if (text->empty() || separators.find(text->front()) == separators.npos) return std::nullopt;
  text->remove_prefix(1);
  return number;
}

// "01:02:03,004"; some writers have a point. Takes it away from the text.
std::optional<i64> TakeTime(std::string_view* text) {
  constexpr i64 kHnsPerMillisecond = 10'000;
  const auto hours = TakeNumber(text, ":");
  const auto minutes = hours ? TakeNumber(text, ":") : std::nullopt;
  const auto seconds = minutes ? TakeNumber(text, ",.") : std::nullopt;
  const auto milliseconds = seconds ? TakeNumber(text, "") : std::nullopt;
  constexpr i64 kMostHours = 1'000'000;
  if (!milliseconds || *hours > kMostHours || *minutes > 59 || *seconds > 59 || *milliseconds > 999) {
    return std::nullopt;
  }
  return (((*hours * 60 + *minutes) * 60 + *seconds) * 1000 + *milliseconds) * kHnsPerMillisecond;
}

// "00:00:01,000 --> 00:00:02,500", and maybe a place on the screen behind it.
std::optional<Subtitle> ReadTimes(std::string_view text) {
  Subtitle subtitle;
  const auto begin = TakeTime(&text);
  text = Trimmed(text);
  if (!begin || !text.starts_with(kArrow)) return std::nullopt;
  text = Trimmed(text.substr(kArrow.size()));
  const auto end = TakeTime(&text);
  if (!end || *end < *begin) return std::nullopt;
  subtitle.begin = *begin;
  subtitle.end = *end;
  return subtitle;
}

// The next character of UTF-8; a byte that begins none stands for itself, as in Latin-1.
char32_t TakeCharacter(std::string_view* text) {
  const auto byte = [&](std::size_t at) { return static_cast<unsigned char>((*text)[at]); };
  const unsigned char lead = byte(0);
  const std::size_t size = lead >= 0xF0 && lead < 0xF5   ? 4
                           : lead >= 0xE0 && lead < 0xF0 ? 3
                           : lead >= 0xC2 && lead < 0xE0 ? 2
                                                         : 1;
  char32_t character = size == 1 ? lead : lead & (0x7FU >> size);
  for (std::size_t i = 1; i < size; ++i) {
    if (i >= text->size() || (byte(i) & 0xC0) != 0x80) {
      text->remove_prefix(1);
      return lead;
    }
    character = character << 6 | (byte(i) & 0x3FU);
  }
  text->remove_prefix(size);
  return character;
}

// Without marks of style: "<i>", "</font>", "{\an8}". Any other bracket is text.
std::u32string RowOf(std::string_view text) {
  std::u32string row;
  while (!text.empty()) {
    const bool isTag =
        text.size() > 1 && text[0] == '<' &&
        (text[1] == '/' || (text[1] >= 'A' && text[1] <= 'Z') || (text[1] >= 'a' && text[1] <= 'z'));
    const bool isPlace = text.starts_with("{\\");
    const std::string_view mark = text.substr(0, isTag || isPlace ? kLongestMark : 0);
    const std::size_t end = mark.find(isTag ? '>' : '}');
    if (end != text.npos) {
      text.remove_prefix(end + 1);
    } else {
      row += TakeCharacter(&text);
    }
  }
  const std::size_t begin = row.find_first_not_of(U" \t");
  return begin == row.npos ? std::u32string() : row.substr(begin, row.find_last_not_of(U" \t") - begin + 1);
}

std::string_view TakeLine(std::string_view* text) {
  const std::size_t end = std::min(text->find('\n'), text->size());
  const std::string_view line = Trimmed(text->substr(0, end));
  text->remove_prefix(std::min(end + 1, text->size()));
  return line;
}

bool IsNumber(std::string_view line) {
  return !line.empty() && line.find_first_not_of("0123456789") == line.npos;
}

}  // namespace

bool LooksLikeSrt(std::string_view text) {
  constexpr u32 kFirstLines = 20;
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  for (u32 line = 0; line < kFirstLines && !text.empty(); ++line) {
    if (TakeLine(&text).find(kArrow) != std::string_view::npos) return true;
  }
  return false;
}

std::vector<Subtitle> ReadSrt(std::string_view text) {
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  std::vector<Subtitle> subtitles;
  bool isInText = false;
  for (u32 number = 1; !text.empty(); ++number) {
    const std::string_view line = TakeLine(&text);
    if (isInText) {
      isInText = !line.empty();
      if (std::u32string row = RowOf(line); !row.empty()) subtitles.back().rows.push_back(std::move(row));
      continue;
    }
    if (line.empty() || IsNumber(line)) continue;
    std::optional<Subtitle> subtitle = ReadTimes(line);
    if (!subtitle) {
      throw Failure("line " + std::to_string(number) + ": " + Quoted(line.substr(0, kLongestMark)) +
                    " is no line of times like \"00:00:01,000 --> 00:00:02,500\"");
    }
    subtitle->line = number;
    if (!subtitles.empty() && subtitle->begin < subtitles.back().begin) {
      throw Failure("line " + std::to_string(number) + ": its time lies before that of line " +
                    std::to_string(subtitles.back().line));
    }
    subtitles.push_back(std::move(*subtitle));
    isInText = true;
  }
  return subtitles;
}

}  // namespace kt

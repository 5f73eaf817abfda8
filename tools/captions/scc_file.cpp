#include "tools/captions/scc_file.h"

#include <algorithm>
#include <cstdio>

#include "tools/terminal/failure.h"

namespace kt {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kBlanks = " \t\r";

constexpr u64 kFramesPerSecond = 30;  // in codes
constexpr u64 kFramesPerMinute = 60 * kFramesPerSecond;
// Numbers left out at the start of every minute but the tenth.
constexpr u64 kDropped = 2;

Failure LineFailure(u32 line, const std::string& what) {
  return Failure("line " + std::to_string(line) + ": " + what);
}

std::string_view Trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(kBlanks);
  if (begin == text.npos) return {};
  return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

// Takes what stands in front of `separators` away from the text, and the separators.
std::string_view TakeWord(std::string_view* text, std::string_view separators) {
  const std::size_t end = std::min(text->find_first_of(separators), text->size());
  const std::string_view word = text->substr(0, end);
  text->remove_prefix(std::min(text->find_first_not_of(separators, end), text->size()));
  return word;
}

std::optional<u32> DigitsValue(std::string_view digits, u32 base) {
  u32 value = 0;
  for (const char letter : digits) {
    const std::size_t digit = std::string_view("0123456789abcdef").find(letter);
    const std::size_t capital = std::string_view("0123456789ABCDEF").find(letter);
    const std::size_t found = std::min(digit, capital);
    if (found >= base) return {};
    value = value * base + static_cast<u32>(found);
  }
  return value;
}

struct Code {
  u64 frame = 0;
  bool drop = false;
};

// Counted as its last separator says, or as `countsDrop` does.
std::optional<Code> ReadCode(std::string_view text, std::optional<bool> countsDrop = {}) {
  if (text.size() != 11 || text[2] != ':' || text[5] != ':' || (text[8] != ':' && text[8] != ';')) return {};
  const auto part = [&](std::size_t index) { return DigitsValue(text.substr(index * 3, 2), 10); };
  const auto hour = part(0), minute = part(1), second = part(2), frame = part(3);
  // Some writers count up to 30: the first frame of the next second.
  if (!hour || !minute || !second || !frame || *minute > 59 || *second > 59 || *frame > 30) return {};
  const u64 minutes = u64{*hour} * 60 + *minute;
  u64 number = *frame;
  const bool drop = countsDrop.value_or(text[8] == ';');
  // A number that is left out stands for the first one that is not.
  if (drop && *second == 0 && *minute % 10 != 0) number = std::max(number, kDropped);
  number += minutes * kFramesPerMinute + *second * kFramesPerSecond;
  if (drop) number -= kDropped * (minutes - minutes / 10);
  return Code{number, drop};
}

FrameCount CountOf(bool drop, std::optional<FrameRate> rate, u32 line) {
  if (!drop) return rate == FrameRate::kThirty ? FrameCount::kThirty : FrameCount::kNonDrop;
  if (rate == FrameRate::kThirty) {
    throw LineFailure(line, "a drop frame time code counts 29.97 frames a second and not 30");
  }
  return FrameCount::kDrop;
}

std::vector<BytePair> ReadPairs(std::string_view words, u32 line) {
  if (words.empty()) throw LineFailure(line, "there is no byte pair behind the time code");
  std::vector<BytePair> pairs;
  while (!words.empty()) {
    const std::string word(TakeWord(&words, kBlanks));
    const std::optional<u32> value = word.size() == 4 ? DigitsValue(word, 16) : std::nullopt;
    if (!value) {
      throw LineFailure(line, Quoted(word) + " is no byte pair: it takes four hexadecimal digits");
    }
    pairs.push_back({static_cast<u8>(*value >> 8), static_cast<u8>(*value & 0xFF)});
  }
  return pairs;
}

void AddCue(std::string_view text, u32 line, std::optional<FrameRate> rate, SccFile* file) {
  const std::string word(TakeWord(&text, kBlanks));
  const std::optional<Code> code = ReadCode(word);
  if (!code) {
    throw LineFailure(line,
                      Quoted(word) + " is no time code: it takes hh:mm:ss:ff, or hh:mm:ss;ff (drop frame)");
  }
  const FrameCount count = CountOf(code->drop, rate, line);
  if (!file->cues.empty()) {
    const SccCue& last = file->cues.back();
    if (count != file->count) {
      throw LineFailure(line, "its time code is " + std::string(code->drop ? "" : "not ") +
                                  "drop frame, other than that of line " + std::to_string(last.line));
    }
    if (code->frame < last.frame) {
      throw LineFailure(line, "its time code lies before that of line " + std::to_string(last.line));
    }
  }
  file->count = count;
  file->cues.push_back({code->frame, ReadPairs(text, line), line});
}

}  // namespace

FrameClock ClockOf(FrameCount count) {
  switch (count) {
    case FrameCount::kThirty:
      return {30, 1};
    case FrameCount::kNonDrop:
      return {60000, 2002};
    default:
      return {30000, 1001};
  }
}

FrameCount FrameCountOf(u32 timeScale) {
  for (const FrameCount count : {FrameCount::kThirty, FrameCount::kNonDrop}) {
    if (ClockOf(count).timeScale == timeScale) return count;
  }
  return FrameCount::kDrop;
}

SccFile ReadScc(std::string_view text, std::optional<FrameRate> rate) {
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  SccFile file;
  for (u32 line = 1; line == 1 || !text.empty(); ++line) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view content = Trimmed(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line == 1) {
      if (content != kSccHead)
        throw LineFailure(line, "a caption file begins with \"" + std::string(kSccHead) + "\"");
    } else if (!content.empty()) {
      AddCue(content, line, rate, &file);
    }
  }
  return file;
}

std::optional<u64> FrameOfCode(std::string_view text, FrameCount count) {
  const std::optional<Code> code = ReadCode(text, count == FrameCount::kDrop);
  return code ? std::optional(code->frame) : std::nullopt;
}

u64 LastFrame(FrameCount count) {
  constexpr u64 kLongHour = 60 * kFramesPerMinute;
  constexpr u64 kShortHour = kLongHour - 54 * kDropped;
  return 100 * (count == FrameCount::kDrop ? kShortHour : kLongHour) - 1;
}

std::string TimeCode(u64 frame, FrameCount count) {
  const bool drop = count == FrameCount::kDrop;
  if (drop) {
    constexpr u64 kShortMinute = kFramesPerMinute - kDropped;
    constexpr u64 kTenMinutes = 10 * kFramesPerMinute - 9 * kDropped;
    const u64 rest = frame % kTenMinutes;
    frame += frame / kTenMinutes * 9 * kDropped;
    if (rest >= kFramesPerMinute) frame += ((rest - kFramesPerMinute) / kShortMinute + 1) * kDropped;
  }
  const auto part = [](u64 value) { return static_cast<unsigned long long>(value); };
  char text[64];
  std::snprintf(text, sizeof text, "%02llu:%02llu:%02llu%c%02llu", part(frame / (60 * kFramesPerMinute)),
                part(frame / kFramesPerMinute % 60), part(frame / kFramesPerSecond % 60), drop ? ';' : ':',
                part(frame % kFramesPerSecond));
  return text;
}

}  // namespace kt

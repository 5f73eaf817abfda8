#include "tools/captions/cues.h"

#include <algorithm>
#include <cstdio>

namespace kt {
namespace {

constexpr i64 kHnsPerMillisecond = 10'000;
// What belongs to one row comes in quick succession, at most three letters (tabs) with each pair.
constexpr i64 kLongestPause = 500 * kHnsPerMillisecond;
constexpr std::size_t kLettersAtOnce = 3;

// The rows that show something.
std::vector<std::string> RowsOf(std::string_view screen) {
  constexpr std::string_view kBreak = "<br>";
  std::vector<std::string> rows;
  while (!screen.empty()) {
    const std::size_t end = std::min(screen.find(kBreak), screen.size());
    const std::string_view row = screen.substr(0, end);
    if (!PrintableRow(row).empty()) rows.emplace_back(row);
    screen.remove_prefix(std::min(end + kBreak.size(), screen.size()));
  }
  return rows;
}

// A row must not look like the line of times.
std::string WithoutArrows(std::string row) {
  for (std::size_t at = row.find("-->"); at != row.npos; at = row.find("-->")) row.erase(at, 1);
  return row;
}

// Three characters mean something there.
std::string Escaped(const std::string& row) {
  std::string text;
  for (const char letter : row) {
    text += letter == '&'   ? "&amp;"
            : letter == '<' ? "&lt;"
            : letter == '>' ? "&gt;"
                            : std::string(1, letter);
  }
  return text;
}

std::string TimesText(const Cue& cue, char point) {
  return ClockText(cue.begin, point) + " --> " + ClockText(cue.end, point) + "\n";
}

}  // namespace

std::string SrtText(const Cue& cue) {
  std::string text = (cue.number > 1 ? "\n" : "") + std::to_string(cue.number) + "\n" + TimesText(cue, ',');
  for (const std::string& row : cue.rows) text += WithoutArrows(row) + "\n";
  return text;
}

std::string VttText(const Cue& cue) {
  std::string text = "\n" + TimesText(cue, '.');
  for (const std::string& row : cue.rows) text += Escaped(row) + "\n";
  return text;
}

bool ScreenCues::Grows(i64 time, const Rows& rows) const {
  if (rows.empty() || rows.size() != m_rows.size() || time - m_lastChange > kLongestPause) return false;
  if (!std::equal(rows.begin(), rows.end() - 1, m_rows.begin())) return false;
  const std::string &before = m_rows.back(), &after = rows.back();
  // Backspaces make it shorter for a moment.
  const auto [shorter, longer] = std::minmax({before.size(), after.size()});
  return longer - shorter <= kLettersAtOnce && before.compare(0, shorter, after, 0, shorter) == 0;
}

void ScreenCues::EndCue(i64 time) {
  if (m_rows.empty() || time / kHnsPerMillisecond <= m_begin / kHnsPerMillisecond) return;
  Cue cue{++m_taken, m_begin, time, {}};
  for (const std::string& row : m_rows) cue.rows.push_back(PrintableRow(row));
  m_take(cue);
}

void ScreenCues::Show(i64 time, std::string_view screen) {
  Rows rows = RowsOf(screen);
  if (rows == m_rows) return;
  if (rows.empty()) {
    m_erasedNow = m_rows;
  } else if (rows == m_erasedNow || rows == m_kept) {
    m_kept = std::move(rows);
    return;
  }
  m_kept.clear();
  if (!Grows(time, rows)) {
    EndCue(time);
    m_begin = time;
  }
  m_rows = std::move(rows);
  m_lastChange = time;
}

void ScreenCues::Finish(i64 end) {
  EndCue(end);
  m_rows.clear();
}

std::string PrintableRow(std::string_view row) {
  std::string text(row);
  for (char& letter : text) {
    if (const auto code = static_cast<unsigned char>(letter); code < 0x20 || code >= 0x7F) letter = ' ';
  }
  const std::size_t begin = text.find_first_not_of(' ');
  if (begin == text.npos) return {};
  return text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

std::string ClockText(i64 time, char point) {
  const long long milliseconds = time / kHnsPerMillisecond;
  char text[48];
  std::snprintf(text, sizeof text, "%02lld:%02lld:%02lld%c%03lld", milliseconds / 3'600'000,
                milliseconds / 60'000 % 60, milliseconds / 1000 % 60, point, milliseconds % 1000);
  return text;
}

}  // namespace kt

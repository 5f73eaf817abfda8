#include "tools/srt_text.h"

#include <algorithm>
#include <cstdio>

namespace kt {
namespace {

constexpr i64 kHnsPerMillisecond = 10'000;
// What belongs to one row comes in quick succession, at most three letters (tabs) with each pair.
constexpr i64 kLongestPause = 500 * kHnsPerMillisecond;
constexpr std::size_t kLettersAtOnce = 3;

// The rows that show something.
std::vector<std::string> Rows(std::string_view screen) {
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

}  // namespace

bool SrtCues::Grows(i64 time, const std::vector<std::string>& rows) const {
  if (rows.empty() || rows.size() != m_current.rows.size() || time - m_lastChange > kLongestPause)
    return false;
  if (!std::equal(rows.begin(), rows.end() - 1, m_current.rows.begin())) return false;
  const std::string &before = m_current.rows.back(), &after = rows.back();
  // Backspaces make it shorter for a moment.
  const auto [shorter, longer] = std::minmax({before.size(), after.size()});
  return longer - shorter <= kLettersAtOnce && before.compare(0, shorter, after, 0, shorter) == 0;
}

void SrtCues::EndCue(i64 time) {
  if (m_current.rows.empty()) return;
  m_current.end = time;
  for (std::string& row : m_current.rows) row = PrintableRow(row);
  m_cues.push_back(m_current);
}

void SrtCues::Show(i64 time, std::string_view screen) {
  std::vector<std::string> rows = Rows(screen);
  if (rows == m_current.rows) return;
  if (rows.empty()) {
    m_erased = m_current.rows;
  } else if (rows == m_erased && (m_stale || time == m_lastChange)) {
    m_stale = true;
    return;
  } else {
    m_erased.clear();
  }
  m_stale = false;
  if (!Grows(time, rows)) {
    EndCue(time);
    m_current.begin = time;
  }
  m_current.rows = std::move(rows);
  m_lastChange = time;
}

std::vector<SrtCue> SrtCues::Finish(i64 end) {
  EndCue(end);
  m_current = {};
  return std::move(m_cues);
}

std::string SrtText(const std::vector<SrtCue>& cues) {
  std::string text;
  u32 number = 0;
  for (const SrtCue& cue : cues) {
    if (cue.end / kHnsPerMillisecond <= cue.begin / kHnsPerMillisecond) continue;
    if (number > 0) text += "\n";
    text += std::to_string(++number) + "\n" + ClockText(cue.begin, ',') + " --> " + ClockText(cue.end, ',') +
            "\n";
    for (const std::string& row : cue.rows) text += WithoutArrows(row) + "\n";
  }
  return text;
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

#include "tools/report/html.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>

#include "tools/captions/cues.h"
#include "tools/diagnosis/box_place.h"
#include "tools/report/page_style.h"
#include "tools/terminal/shown_text.h"

namespace kt {
namespace {

// Bytes of the character beyond ASCII that the text begins with; 0 when there is none.
std::size_t WideCharacterSize(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text[0]);
  const std::size_t size = lead >= 0xC2 && lead < 0xE0   ? 2
                           : lead >= 0xE0 && lead < 0xF0 ? 3
                           : lead >= 0xF0 && lead < 0xF5 ? 4
                                                         : 0;
  if (size == 0 || size > text.size()) return 0;
  const bool isWhole = std::ranges::all_of(text.substr(1, size - 1), [](char letter) {
    return (static_cast<unsigned char>(letter) & 0xC0) == 0x80;
  });
  const auto second = static_cast<unsigned char>(text[1]);
  // Longer than need be, a surrogate, or beyond the last character.
  const bool isOdd = (lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
                     (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F);
  return isWhole && !isOdd ? size : 0;
}

std::string HtmlOfAscii(char letter) {
  switch (letter) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '"':
      return "&quot;";
    case '\'':
      return "&#39;";
    default:
      return std::string(1, letter);
  }
}

}  // namespace

std::string Html(std::string_view text) {
  const std::string line = OneLine(text);
  std::string html;
  for (std::size_t at = 0; at < line.size();) {
    if (static_cast<unsigned char>(line[at]) < 0x80) {
      html += HtmlOfAscii(line[at++]);
    } else if (const std::size_t size = WideCharacterSize(std::string_view(line).substr(at)); size != 0) {
      html += line.substr(at, size);
      at += size;
    } else {
      html += ByteInHex(line[at++]);
    }
  }
  return html;
}

std::string SizeText(u64 bytes) {
  if (bytes < 1000) return BytesText(bytes);
  double size = static_cast<double>(bytes) / 1000;
  const char* const units[] = {"kB", "MB", "GB", "TB"};
  std::size_t unit = 0;
  for (; size >= 1000 && unit + 1 < std::size(units); ++unit) size /= 1000;
  char text[64];
  std::snprintf(text, sizeof text, size < 10 ? "%.2f %s" : "%.1f %s", size, units[unit]);
  return text;
}

std::string TimeText(double seconds) {
  constexpr double kLongest = 1e9;
  const double shown = std::clamp(seconds, -kLongest, kLongest);
  const std::string clock = ClockText(static_cast<i64>(std::abs(shown) * 1e7 + 5000), '.');
  return shown < 0 ? "-" + clock : clock;
}

std::string PlaceText(double number) {
  char text[64];
  std::snprintf(text, sizeof text, "%.4g", number);
  return text;
}

std::string HtmlTable(const std::vector<std::string>& columns,
                      const std::vector<std::vector<std::string>>& rows, u64 more) {
  // What scrolls has to be reached by the keyboard.
  constexpr std::size_t kRowsInView = 15;
  std::string html =
      std::string("<div class=scroll") + (rows.size() > kRowsInView ? " tabindex=0" : "") + "><table><tr>";
  for (const std::string& column : columns) html += "<th>" + Html(column);
  for (const auto& row : rows) {
    html += "\n<tr>";
    for (const std::string& value : row) html += "<td>" + Html(value);
  }
  if (more > 0)
    html += "\n<tr><td class=more colspan=" + std::to_string(columns.size()) + ">&hellip; " + Grouped(more) +
            " more";
  return html + "\n</table></div>\n";
}

std::string PageHead(const std::string& title) {
  return "<!DOCTYPE html>\n<html lang=en>\n<meta charset=utf-8>\n"
         "<meta http-equiv=Content-Security-Policy content=\"default-src 'none'; style-src "
         "'unsafe-inline'\">\n"
         "<meta name=viewport content=\"width=device-width, initial-scale=1\">\n"
         "<meta name=color-scheme content=\"light dark\">\n"
         "<title>" +
         Html(title) + "</title>\n<style>\n" + kPageStyle + "</style>\n";
}

std::string PageEnd() {
  return "<footer>Made by ktmp4 report. Times are those of decoding unless they say otherwise; 1 kB is 1,000 "
         "bytes.</footer>\n</html>\n";
}

}  // namespace kt

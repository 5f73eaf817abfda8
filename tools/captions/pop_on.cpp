#include "tools/captions/pop_on.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <optional>
#include <string>
#include <utility>

#include "tools/terminal/failure.h"

namespace kt {
namespace {

constexpr std::size_t kColumns = 32, kRows = 4;

// Codes of channel 1, without parity: CEA-608, miscellaneous control codes.
constexpr u32 kLoad = 0x1420, kEraseScreen = 0x142C, kEraseLoaded = 0x142E, kShow = 0x142F;

/// How a character is sent: a code of the basic set, and the pair of a further set where it has one. That
/// takes the place of the basic character for decoders that know the further set.
struct Glyph {
  u8 basic = 0;
  u32 further = 0;
  /// The pair stands alone, and no basic character goes ahead of it.
  bool isAlone = false;
};

struct GlyphRow {
  char32_t character;
  Glyph glyph;
};

// CEA-608, the basic, special and extended sets, as far as they are not ASCII.
constexpr GlyphRow kGlyphs[] = {
    {U'\'', {0x27}},
    {U'\u2019', {0x27}},
    {U'\u00E1', {0x2A}},
    {U'\u00E9', {0x5C}},
    {U'\u00ED', {0x5E}},
    {U'\u00F3', {0x5F}},
    {U'\u00FA', {0x60}},
    {U'\u00E7', {0x7B}},
    {U'\u00F7', {0x7C}},
    {U'\u00D1', {0x7D}},
    {U'\u00F1', {0x7E}},
    {U'\u2588', {0x7F}},
    {U'\u00AE', {0, 0x1130, true}},
    {U'\u00B0', {0, 0x1131, true}},
    {U'\u00BD', {0, 0x1132, true}},
    {U'\u00BF', {0, 0x1133, true}},
    {U'\u2122', {0, 0x1134, true}},
    {U'\u00A2', {0, 0x1135, true}},
    {U'\u00A3', {0, 0x1136, true}},
    {U'\u266A', {0, 0x1137, true}},
    {U'\u266B', {0, 0x1137, true}},
    {U'\u00E0', {0, 0x1138, true}},
    {U'\u00E8', {0, 0x113A, true}},
    {U'\u00E2', {0, 0x113B, true}},
    {U'\u00EA', {0, 0x113C, true}},
    {U'\u00EE', {0, 0x113D, true}},
    {U'\u00F4', {0, 0x113E, true}},
    {U'\u00FB', {0, 0x113F, true}},
    {U'\u00C1', {'A', 0x1220}},
    {U'\u00C9', {'E', 0x1221}},
    {U'\u00D3', {'O', 0x1222}},
    {U'\u00DA', {'U', 0x1223}},
    {U'\u00DC', {'U', 0x1224}},
    {U'\u00FC', {'u', 0x1225}},
    {U'\u2018', {0x27, 0x1226}},
    {U'\u00A1', {'!', 0x1227}},
    {U'*', {' ', 0x1228}},
    {U'\u2014', {'-', 0x122A}},
    {U'\u00A9', {'c', 0x122B}},
    {U'\u2120', {'s', 0x122C}},
    {U'\u2022', {'.', 0x122D}},
    {U'\u201C', {'"', 0x122E}},
    {U'\u201D', {'"', 0x122F}},
    {U'\u00C0', {'A', 0x1230}},
    {U'\u00C2', {'A', 0x1231}},
    {U'\u00C7', {'C', 0x1232}},
    {U'\u00C8', {'E', 0x1233}},
    {U'\u00CA', {'E', 0x1234}},
    {U'\u00CB', {'E', 0x1235}},
    {U'\u00EB', {'e', 0x1236}},
    {U'\u00CE', {'I', 0x1237}},
    {U'\u00CF', {'I', 0x1238}},
    {U'\u00EF', {'i', 0x1239}},
    {U'\u00D4', {'O', 0x123A}},
    {U'\u00D9', {'U', 0x123B}},
    {U'\u00F9', {'u', 0x123C}},
    {U'\u00DB', {'U', 0x123D}},
    {U'\u00AB', {'"', 0x123E}},
    {U'\u00BB', {'"', 0x123F}},
    {U'\u00C3', {'A', 0x1320}},
    {U'\u00E3', {'a', 0x1321}},
    {U'\u00CD', {'I', 0x1322}},
    {U'\u00CC', {'I', 0x1323}},
    {U'\u00EC', {'i', 0x1324}},
    {U'\u00D2', {'O', 0x1325}},
    {U'\u00F2', {'o', 0x1326}},
    {U'\u00D5', {'O', 0x1327}},
    {U'\u00F5', {'o', 0x1328}},
    {U'{', {'(', 0x1329}},
    {U'}', {')', 0x132A}},
    {U'\\', {'/', 0x132B}},
    {U'^', {' ', 0x132C}},
    {U'_', {'-', 0x132D}},
    {U'|', {'!', 0x132E}},
    {U'~', {'-', 0x132F}},
    {U'\u00C4', {'A', 0x1330}},
    {U'\u00E4', {'a', 0x1331}},
    {U'\u00D6', {'O', 0x1332}},
    {U'\u00F6', {'o', 0x1333}},
    {U'\u00DF', {'s', 0x1334}},
    {U'\u00A5', {'Y', 0x1335}},
    {U'\u00A4', {'$', 0x1336}},
    {U'\u00A6', {'!', 0x1337}},
    {U'\u00C5', {'A', 0x1338}},
    {U'\u00E5', {'a', 0x1339}},
    {U'\u00D8', {'O', 0x133A}},
    {U'\u00F8', {'o', 0x133B}},
    // What says nearly the same.
    {U'`', {0x27}},
    {U'\u2013', {'-'}},
    {U'\u2010', {'-'}},
    {U'\u2011', {'-'}},
    {U'\u00A0', {' '}},
    {U'\t', {' '}},
    {U'\u2032', {0x27}},
    {U'\u2033', {'"'}},
};

std::optional<Glyph> GlyphOf(char32_t character) {
  const auto* const row = std::ranges::find(kGlyphs, character, &GlyphRow::character);
  if (row != std::end(kGlyphs)) return row->glyph;
  if (character >= 0x20 && character < 0x7F) return Glyph{static_cast<u8>(character)};
  return std::nullopt;
}

using Row = std::u32string;

// Rows of at most 32 characters, broken between words where that can be; one more than fit tells that there
// are such.
std::vector<Row> Broken(const std::vector<Row>& rows) {
  std::vector<Row> broken;
  for (Row row : rows) {
    if (broken.size() > kRows) break;
    while (row.size() > kColumns && broken.size() <= kRows) {
      const std::size_t blank = row.rfind(U' ', kColumns);
      const std::size_t end = blank == row.npos || blank == 0 ? kColumns : blank;
      broken.push_back(row.substr(0, end));
      row.erase(0, std::min(row.find_first_not_of(U' ', end), row.size()));
    }
    if (!row.empty()) broken.push_back(row);
  }
  return broken;
}

u8 WithParity(u32 code) {
  return static_cast<u8>(std::popcount(code & 0x7F) % 2 == 1 ? code & 0x7F : (code & 0x7F) | 0x80);
}

BytePair PairOf(u32 first, u32 second) {
  return {WithParity(first), WithParity(second)};
}

/// Pairs that stay together: something else goes out ahead of them or behind.
using Unit = std::vector<BytePair>;

// Control pairs go out twice, for the sake of bad reception.
Unit Control(u32 code) {
  return Unit(2, PairOf(code >> 8, code & 0xFF));
}

/// Packs characters, two to a pair.
class Packer {
 public:
  explicit Packer(std::vector<Unit>* units) : m_units(units) {}

  void Add(const Glyph& glyph) {
    if (!glyph.isAlone) AddBasic(glyph.basic);
    if (glyph.further == 0) return;
    Finish();
    m_units->push_back(Control(glyph.further));
  }
  void Finish() {
    if (m_waiting != 0) m_units->push_back({PairOf(m_waiting, 0)});
    m_waiting = 0;
  }

 private:
  void AddBasic(u8 code) {
    if (m_waiting != 0) {
      m_units->push_back({PairOf(m_waiting, code)});
      m_waiting = 0;
    } else {
      m_waiting = code;
    }
  }

  std::vector<Unit>* m_units;
  u8 m_waiting = 0;
};

// Where a row of the last four begins: the preamble address code with an indent in steps of four columns, and
// a tab for the rest.
void AddPlace(u32 rowFromBottom, std::size_t column, std::vector<Unit>* units) {
  constexpr u32 kAddresses[kRows] = {0x1470, 0x1450, 0x1370, 0x1350};  // rows 15 to 12
  constexpr u32 kTab = 0x1720;
  units->push_back(Control(kAddresses[rowFromBottom] | static_cast<u32>(column / 4) << 1));
  if (column % 4 != 0) units->push_back(Control(kTab | static_cast<u32>(column % 4)));
}

/// Lines that a person should know of.
struct Finding {
  u32 firstLine = 0;
  u32 lines = 0;

  void Take(u32 line) {
    if (lines++ == 0) firstLine = line;
  }
  void Report(const std::string& what, const Notes& note) const {
    if (lines == 0) return;
    note("line " + std::to_string(firstLine) + ": " + what +
         (lines > 1 ? " (the first of " + std::to_string(lines) + " subtitles)" : ""));
  }
};

class Captioning {
 public:
  explicit Captioning(FrameCount count) : m_clock(ClockOf(count)) { m_file.count = count; }

  void Add(const Subtitle& subtitle) {
    m_line = subtitle.line;
    const std::vector<Unit> units = UnitsOf(subtitle);
    if (units.empty()) return;
    std::size_t pairs = 0;
    for (const Unit& unit : units) pairs += unit.size();
    const u64 begin = FrameAt(subtitle.begin), end = FrameAt(subtitle.end);
    // An erasure on the way takes its place among the pairs.
    if (m_end && *m_end < begin) pairs += 2;
    const u64 start = begin > pairs ? begin - pairs : 0;
    if (m_end && *m_end <= start) Erase();
    m_next = std::max(m_next, start);
    m_begins = true;
    for (const Unit& unit : units) {
      if (m_end && *m_end <= m_next) Erase();
      Send(unit);
    }
    if (m_end && *m_end < begin) Erase();
    // A start within a few pairs of its time is on time.
    constexpr u64 kTolerance = 3;
    if (m_next > begin + kTolerance) m_late.Take(subtitle.line);
    m_next = std::max(m_next, begin);
    Send(Control(kShow));
    m_end = std::max(end, m_next);
  }

  SccFile Finish(const Notes& note) {
    if (m_end) Erase();
    m_late.Report("there is no time to send it ahead of its own, so it comes late", note);
    m_tall.Report("it takes more than four rows of 32 characters, and the others are left out", note);
    m_strange.Report("a character that captions do not have becomes \"?\"", note);
    return std::move(m_file);
  }

 private:
  u64 FrameAt(i64 time) const {
    constexpr double kHnsPerSecond = 1e7;
    return static_cast<u64>(
        std::llround(static_cast<double>(time) / kHnsPerSecond * m_clock.timeScale / m_clock.ticksPerFrame));
  }

  std::vector<Unit> UnitsOf(const Subtitle& subtitle) {
    std::vector<Row> rows = Broken(subtitle.rows);
    if (rows.empty()) return {};
    if (rows.size() > kRows) m_tall.Take(subtitle.line);
    rows.resize(std::min(rows.size(), kRows));
    std::vector<Unit> units = {Control(kLoad), Control(kEraseLoaded)};
    bool isStrange = false;
    for (std::size_t i = 0; i < rows.size(); ++i) {
      AddPlace(static_cast<u32>(rows.size() - 1 - i), (kColumns - rows[i].size()) / 2, &units);
      Packer packer(&units);
      for (const char32_t character : rows[i]) {
        const std::optional<Glyph> glyph = GlyphOf(character);
        isStrange |= !glyph;
        packer.Add(glyph.value_or(Glyph{'?'}));
      }
      packer.Finish();
    }
    if (isStrange) m_strange.Take(subtitle.line);
    return units;
  }

  void Erase() {
    m_next = std::max(m_next, *m_end);
    m_end.reset();
    Send(Control(kEraseScreen));
  }
  void Send(const Unit& unit) {
    SccCue* cue = m_file.cues.empty() ? nullptr : &m_file.cues.back();
    if (cue == nullptr || cue->frame + cue->pairs.size() != m_next || m_begins) {
      cue = &m_file.cues.emplace_back(SccCue{m_next, {}, m_line});
    }
    m_begins = false;
    cue->pairs.insert(cue->pairs.end(), unit.begin(), unit.end());
    m_next += unit.size();
  }

  const FrameClock m_clock;
  SccFile m_file;
  u32 m_line = 0;
  /// Decoding can begin with the next pair.
  bool m_begins = false;
  /// The next frame without a pair.
  u64 m_next = 0;
  /// When what is on screen ends.
  std::optional<u64> m_end;
  Finding m_late, m_tall, m_strange;
};

}  // namespace

SccFile PopOnCaptions(const std::vector<Subtitle>& subtitles, FrameCount count, const Notes& note) {
  Captioning captioning(count);
  for (const Subtitle& subtitle : subtitles) captioning.Add(subtitle);
  return captioning.Finish(note);
}

}  // namespace kt

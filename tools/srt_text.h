#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "engine/types.h"

namespace kt {

/// What is on screen for a while, row by row. Times in 100 ns units.
struct SrtCue {
  i64 begin = 0;
  i64 end = 0;
  std::vector<std::string> rows;
};

/// Makes cues of what a caption decoder shows: a cue lasts until the screen changes. Captions that appear
/// letter by letter would give a cue for each of them; a row that grows keeps its cue, so it stands there as
/// a whole from its first letter on.
class SrtCues {
 public:
  /// The screen from `time` on: rows with "<br>" between them. Times do not fall.
  void Show(i64 time, std::string_view screen);
  /// All cues; one that is still on screen ends at `end`.
  std::vector<SrtCue> Finish(i64 end);

 private:
  bool Grows(i64 time, const std::vector<std::string>& rows) const;
  void EndCue(i64 time);

  std::vector<SrtCue> m_cues;
  SrtCue m_current;
  i64 m_lastChange = 0;
  // In roll-up mode the rows outlast an erasure of the screen, and the decoder shows them again at once, and
  // with every pair until they change.
  std::vector<std::string> m_erased;
  bool m_stale = false;
};

/// The cues as SubRip text, without those that last less than a millisecond.
std::string SrtText(const std::vector<SrtCue>& cues);

/// A row as a line of text: blanks for what cannot be printed, none at its ends.
std::string PrintableRow(std::string_view row);

/// "01:02:03,004", with `point` in place of the comma.
std::string ClockText(i64 time, char point);

}  // namespace kt

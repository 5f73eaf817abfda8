#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <ktmp4/types.h>

namespace kt {

/// Makes SubRip text of what a caption decoder shows: a cue lasts until the screen changes, and goes out
/// then. Captions that appear letter by letter would give a cue for each of them; a row that grows keeps its
/// cue, so it stands there as a whole from its first letter on. Cues of less than a millisecond are left out.
/// Times are in 100 ns units.
class SrtCues {
 public:
  /// `print` takes the text of a cue as a whole.
  explicit SrtCues(std::function<void(const std::string& text)> print) : m_print(std::move(print)) {}

  /// The screen from `time` on: rows with "<br>" between them. Times do not fall.
  void Show(i64 time, std::string_view screen);
  /// The decoder is done with a byte pair: what it shows next, another one does.
  void EndPair() { m_erasedNow.clear(); }
  /// What is still on screen ends at `end`.
  void Finish(i64 end);

 private:
  using Rows = std::vector<std::string>;

  bool Grows(i64 time, const Rows& rows) const;
  void EndCue(i64 time);

  const std::function<void(const std::string& text)> m_print;
  u32 m_printed = 0;
  /// What is on screen.
  Rows m_rows;
  i64 m_begin = 0;
  i64 m_lastChange = 0;
  /// What the pair at hand has erased.
  Rows m_erasedNow;
  /// In roll-up mode the decoder keeps the rows that it erases: it shows them again with the same pair and
  /// with every one that follows until they change. They are not on screen.
  Rows m_kept;
};

/// A row as a line of text: blanks for what cannot be printed, none at its ends.
std::string PrintableRow(std::string_view row);

/// "01:02:03,004", with `point` in place of the comma.
std::string ClockText(i64 time, char point);

}  // namespace kt

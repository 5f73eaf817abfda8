#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <ktmp4/types.h>

namespace kt {

/// What is on screen from one time to another, in 100 ns units.
struct Cue {
  /// From 1.
  u32 number = 0;
  i64 begin = 0;
  i64 end = 0;
  /// From top to bottom, as `PrintableRow` gives them.
  std::vector<std::string> rows;
};

/// A cue as SubRip text, with the blank line that parts it from the one before.
std::string SrtText(const Cue& cue);
/// The same as WebVTT text, which begins with `kVttHead`.
std::string VttText(const Cue& cue);
inline constexpr std::string_view kVttHead = "WEBVTT\n";

/// Makes cues of what a caption decoder shows: one lasts until the screen changes, and goes out then.
/// Captions that appear letter by letter would give a cue for each of them; a row that grows keeps its cue,
/// so it stands there as a whole from its first letter on. Cues of less than a millisecond are left out.
/// Times are in 100 ns units.
class ScreenCues {
 public:
  explicit ScreenCues(std::function<void(const Cue& cue)> take) : m_take(std::move(take)) {}

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

  const std::function<void(const Cue& cue)> m_take;
  u32 m_taken = 0;
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

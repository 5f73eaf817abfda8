#pragma once

#include <chrono>

#include <ktmp4/types.h>

namespace kt {

/// One line on a terminal's standard error that is written over again and again: where a long run stands. On
/// anything but a terminal it does nothing.
class ProgressLine {
 public:
  ProgressLine();
  /// Takes the line away.
  ~ProgressLine();
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  /// Draws the line when it is time again. Position and duration in 100 ns units, no duration when 0.
  void Update(i64 position, i64 duration, u64 samples);
  /// The same for a copy: samples so far and in all, and the bytes so far.
  void UpdateCopy(u64 samples, u64 allSamples, u64 bytes);
  /// Takes the line away ahead of other output.
  void Clear();

 private:
  using Clock = std::chrono::steady_clock;

  bool IsDue();
  double Elapsed() const;

  const bool m_isTerminal;
  const Clock::time_point m_begin;
  Clock::time_point m_next;
  bool m_isDrawn = false;
};

}  // namespace kt

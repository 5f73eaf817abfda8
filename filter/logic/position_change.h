#pragma once

#include "filter/logic/reader_pin.h"

namespace kt {

/// The bit of the seeking flags that makes a position count (the platform's AM_SEEKING_AbsolutePositioning).
/// No other bit is looked at.
inline constexpr u32 kAbsolutePositioning = 1;

/// What a pin's worker and everything downstream of the pin have to do around a change of position.
class PinWorker {
 public:
  /// Begins a flush downstream, so that whatever the worker is blocked in comes back.
  virtual void BeginFlush() = 0;
  /// Stops the worker and returns when it has stopped.
  virtual void StopWorker() = 0;
  virtual void EndFlush() = 0;
  /// Has the worker play again, which begins with a new segment.
  virtual void RunWorker() = 0;

 protected:
  ~PinWorker() = default;
};

/// A wanted change of positions, in 100 ns units, with the platform's seeking flags for each.
struct PositionChange {
  /// Where to go on; a negative one counts as 0.
  const i64* current = nullptr;
  u32 currentFlags = 0;
  const i64* stop = nullptr;
  u32 stopFlags = 0;

  bool HasCurrent() const { return (currentFlags & kAbsolutePositioning) != 0; }
  bool HasStop() const { return (stopFlags & kAbsolutePositioning) != 0; }
};

/// Moves one pin: flush, stop of the worker, the new positions, end of the flush, run. Without a worker
/// (null) only the positions change, and the next run takes them up. The pin goes on with the sync sample at
/// or before the wanted position; the sample at that position has stream time 0, those ahead of it start
/// before 0. Under a type of the platform it is the position itself that has stream time 0.
///
/// `length` bounds the current position: False beyond it, and nothing changes. Pointer when a position that
/// counts is null. The positions themselves are not given back.
///
/// The state lock of the filter is to be held; the track lock is held around the look-ups alone.
FilterResult ChangePosition(CReaderPin& pin, const PositionChange& change, i64 length, PinWorker* worker);

}  // namespace kt

#pragma once

#include <deque>
#include <optional>
#include <span>

#include "filter/formats/picture_order.h"

namespace kt {

/// When a sample is shown, in units of 100 ns.
struct SampleTimes {
  i64 start = 0;
  i64 stop = 0;

  bool operator==(const SampleTimes&) const = default;
};

/// What the type of a stream says of the times of its samples.
struct StreamTimes {
  /// Of the stamps, per second; 0 where nobody says.
  u32 stampScale = 0;
  /// How long a sample takes whose stop says nothing, in units of 100 ns, above 0.
  i64 usualLength = 1;
};

/// The times that a sample came with, moved by what the stamp ahead of it says, which is empty in streams
/// without; with a stop behind the start unless that is the last moment that there is. `hasStop` tells
/// whether it came with one.
SampleTimes FittingTimes(const StreamTimes& stream, SampleTimes told, bool hasStop,
                         std::span<const u8> stamp);

/// Turns decoding times into times of presentation, for pictures of MPEG-4 visual. They come and go in the
/// order of decoding. A picture that others lean on is shown when all have been that are decoded behind it
/// and shown before it, which is when the next such picture is decoded: until that one comes it waits, and
/// what comes behind it waits with it. Pictures between two of these are shown when they are decoded.
///
/// Samples without times, and those without a picture, are only kept in their place.
class CDisplayTimes {
 public:
  /// A picture with so many behind it waits no longer.
  static constexpr std::size_t kMostWaiting = 8;

  /// What is known of the stream: whether pictures come in the order of their display, in which case nothing
  /// waits. While it is not known, nothing does until a picture between others comes.
  void SetOrder(std::optional<bool> inOrderOfDisplay) { m_inOrderOfDisplay = inOrderOfDisplay; }
  std::optional<bool> Order() const { return m_inOrderOfDisplay; }

  /// Takes the times of a sample, whose stop does not lie ahead of its start; none when it has none.
  void Add(std::optional<SampleTimes> times, PictureKind kind);
  /// Nothing comes behind: what waits is shown behind the last one that has come.
  void Finish();
  void Clear();
  bool IsWaiting() const { return m_ready < m_times.size(); }
  /// Gives the times of the next sample, in the order of `Add`; false while that one waits, or there is none.
  bool TakeReady(std::optional<SampleTimes>* times);

 private:
  void ShowWaiting(i64 start);

  std::optional<bool> m_inOrderOfDisplay;
  /// Of these the first `m_ready` can go. The one behind them has times, and waits for that of its display.
  std::deque<std::optional<SampleTimes>> m_times;
  std::size_t m_ready = 0;
  i64 m_lastStop = 0;
};

}  // namespace kt

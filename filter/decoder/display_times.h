#pragma once

#include <deque>
#include <optional>

#include "filter/formats/picture_order.h"
#include "module/graph/transform_sample.h"

namespace kt {

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

  /// Takes a sample, whose stop, if it has times, lies behind its start.
  void Add(ComPointer<CTransformSample> sample, PictureKind kind);
  /// Nothing comes behind: what waits is shown behind the last one that has come.
  void Finish();
  void Clear();
  bool IsWaiting() const { return m_ready < m_samples.size(); }
  /// The next that can go; null when the rest waits, or there is none.
  ComPointer<CTransformSample> TakeReady();

 private:
  void ShowWaiting(REFERENCE_TIME start);

  std::optional<bool> m_inOrderOfDisplay;
  /// Of these the first `m_ready` can go. The one behind them is the picture that waits for its time.
  std::deque<ComPointer<CTransformSample>> m_samples;
  std::size_t m_ready = 0;
  REFERENCE_TIME m_lastStop = 0;
};

}  // namespace kt

#pragma once

#include "boxes/containers/container_box.h"

namespace kt {

/// What "edts" makes of an empty box.
inline constexpr ContainerRules kEditRules{.lookupWithoutList = MP4_NOT_FOUND, .countsAddedChild = true};

/// "edts": holds the edit list of a track, of which readers use one thing, an empty edit that delays the
/// start. ISO/IEC 14496-12, 8.6.5.
class CEditBox : public CContainerBox<CBox, kEditRules> {
 public:
  static constexpr u32 kType = FourCc("edts");
  CEditBox() : CContainerBox(kType) {}
  explicit CEditBox(CBox&& header) : CContainerBox(std::move(header)) {}

  /// How long the track starts after the movie, in movie ticks: the duration of a first edit that is empty
  /// and has another edit behind it, otherwise 0. An edit of duration 0 is passed over. MP4_NOT_FOUND when
  /// the box has children and no "elst" among them.
  Mp4Result GetStartDelay(u64* delay);
  /// Adds an empty edit of `delay` and an edit of `duration` movie ticks that shows the media from its start,
  /// and the edit list if there is none. MP4_NO_MEMORY.
  Mp4Result AddStartDelay(u64 delay, u64 duration);
};

}  // namespace kt

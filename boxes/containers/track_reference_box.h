#pragma once

#include "boxes/containers/container_box.h"

namespace kt {

class CTrackReferenceTypeBox;

/// The ways in which a track refers to others, as numbers; each is a code of a child of "tref".
enum Mp4ReferenceKind : u32 {
  MP4_REFERENCE_HINT = 0,  // "hint": the media tracks of a hint track
  MP4_REFERENCE_OD = 3,    // "mpod": the tracks of an object descriptor track
};

/// What "tref" makes of an empty box.
inline constexpr ContainerRules kTrackReferenceRules{
    .readsAgain = true,
    .serializesWithoutList = true,
    .dumpsWithoutList = true,
    .sizesWithoutList = true,
    .lookup = ChildLookup::kNone,
    .braces = false,
};

/// "tref": the tracks that a track refers to, one child for each kind of reference. ISO/IEC 14496-12, 8.3.3.
///
/// `kind` is an `Mp4ReferenceKind`; every operation answers MP4_BAD_ARGUMENT for another number.
class CTrackReferenceBox : public CContainerBox<CBox, kTrackReferenceRules> {
 public:
  static constexpr u32 kType = FourCc("tref");
  CTrackReferenceBox() : CContainerBox(kType) {}
  explicit CTrackReferenceBox(CBox&& header) : CContainerBox(std::move(header)) {}

  /// Adds an empty child, also when there is one of that kind. MP4_NO_MEMORY.
  Mp4Result AddReferenceType(u32 kind);
  /// Adds a track id to the child of that kind, which is made if there is none; `*index` takes the id's
  /// number in it, counted from 1. MP4_NO_MEMORY. A child made next to others is then looked for as "hint"
  /// whatever its kind, so that a first "mpod" id goes to the "hint" child, or MP4_NOT_FOUND is answered and
  /// the new child stays empty; readers rely on it.
  Mp4Result AddTrackReference(u32 kind, u32 trackId, u32* index);
  /// Number of ids of that kind; 0 without a child of that kind.
  Mp4Result GetReferenceCount(u32 kind, u32* count);
  /// MP4_NOT_FOUND without a child of that kind and beyond its ids, MP4_BAD_ARGUMENT for index 0.
  Mp4Result GetReference(u32 kind, u32 index, u32* trackId);

 private:
  Mp4Result FindReferenceType(u32 kind, CTrackReferenceTypeBox** box);
};

}  // namespace kt

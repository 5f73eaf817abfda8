#pragma once

#include "boxes/containers/container_box.h"

namespace kt {

/// "udta": copyright notices and other data of the user, of the movie or of a track. ISO/IEC
/// 14496-12, 8.10.1.
class CUserDataBox final : public CContainerBox<CBox, ContainerRules{.serializesWithoutList = true,
                                                                     .dumpsWithoutList = true,
                                                                     .lookupWithoutList = MP4_NOT_FOUND,
                                                                     .lookup = ChildLookup::kByOccurrence}> {
 public:
  static constexpr u32 kType = FourCc("udta");
  CUserDataBox() : CContainerBox(kType) {}
  explicit CUserDataBox(CBox&& header) : CContainerBox(std::move(header)) {}
};

}  // namespace kt

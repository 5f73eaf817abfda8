#pragma once

#include "boxes/containers/container_box.h"

namespace kt {

/// "moov": the header, the tracks and the user data of the movie. ISO/IEC 14496-12, 8.2.1.
class CMovieBox final : public CContainerBox<CBox, ContainerRules{.lookup = ChildLookup::kByOccurrence}> {
 public:
  static constexpr u32 kType = FourCc("moov");
  CMovieBox() : CContainerBox(kType) {}
  explicit CMovieBox(CBox&& header) : CContainerBox(std::move(header)) {}
};

}  // namespace kt

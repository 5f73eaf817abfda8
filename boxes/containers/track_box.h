#pragma once

#include "boxes/containers/container_box.h"

namespace kt {

/// "trak": everything about one track. ISO/IEC 14496-12, 8.3.1.
class CTrackBox final : public CContainerBox<CBox, ContainerRules{}> {
 public:
  static constexpr u32 kType = FourCc("trak");
  CTrackBox() : CContainerBox(kType) {}
  explicit CTrackBox(CBox&& header) : CContainerBox(std::move(header)) {}
};

}  // namespace kt

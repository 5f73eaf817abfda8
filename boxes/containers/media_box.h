#pragma once

#include "boxes/containers/container_box.h"

namespace kt {

/// "mdia": media header, handler and media information of a track. ISO/IEC 14496-12, 8.4.1.
class CMediaBox final : public CContainerBox<CBox, ContainerRules{.countsAddedChild = true}> {
 public:
  static constexpr u32 kType = FourCc("mdia");
  CMediaBox() : CContainerBox(kType) {}
  explicit CMediaBox(CBox&& header) : CContainerBox(std::move(header)) {}
};

}  // namespace kt

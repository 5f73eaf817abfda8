#pragma once

#include "boxes/containers/container_box.h"

namespace kt {

/// "stbl": the tables of a track's samples. ISO/IEC 14496-12, 8.5.1.
class CSampleTableBox final : public CContainerBox<CBox, ContainerRules{.readsAgain = true}> {
 public:
  static constexpr u32 kType = FourCc("stbl");
  CSampleTableBox() : CContainerBox(kType) {}
  explicit CSampleTableBox(CBox&& header) : CContainerBox(std::move(header)) {}
};

}  // namespace kt

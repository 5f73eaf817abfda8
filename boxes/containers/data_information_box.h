#pragma once

#include "boxes/containers/container_box.h"

namespace kt {

/// "dinf": holds the data references. ISO/IEC 14496-12, 8.7.1.
class CDataInformationBox final : public CContainerBox<CBox, ContainerRules{.countsAddedChild = true}> {
 public:
  static constexpr u32 kType = FourCc("dinf");
  CDataInformationBox() : CContainerBox(kType) {}
  explicit CDataInformationBox(CBox&& header) : CContainerBox(std::move(header)) {}
};

}  // namespace kt

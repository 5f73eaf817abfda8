#pragma once

#include "boxes/containers/container_box.h"

namespace kt {

/// "minf": header of the kind of media, data information and sample table. ISO/IEC 14496-12, 8.4.4.
class CMediaInformationBox final : public CContainerBox<CBox, ContainerRules{}> {
 public:
  static constexpr u32 kType = FourCc("minf");
  CMediaInformationBox() : CContainerBox(kType) {}
  explicit CMediaInformationBox(CBox&& header) : CContainerBox(std::move(header)) {}
};

}  // namespace kt

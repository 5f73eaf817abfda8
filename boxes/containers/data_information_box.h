#pragma once

#include "boxes/containers/container_box.h"

namespace kt {

/// "dinf": holds the data references. ISO/IEC 14496-12, 8.7.1.
class CDataInformationBox final : public CContainerBox<CBox, ContainerRules{.countsAddedChild = true}> {
 public:
  CDataInformationBox() : CContainerBox(FourCc("dinf")) {}
  explicit CDataInformationBox(CBox&& header) : CContainerBox(std::move(header)) {}
};

}  // namespace kt

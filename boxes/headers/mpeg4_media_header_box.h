#pragma once

#include "engine/box/box.h"

namespace kt {

/// "nmhd": marks a written track that is neither video, audio nor hint. In a file that is read it is an
/// unknown box, so there is no constructor for reading. ISO/IEC 14496-12, 8.4.5.2.
class CMpeg4MediaHeaderBox final : public CFullBox {
 public:
  static constexpr u32 kType = FourCc("nmhd");
  static constexpr bool kTypeIsAmbiguous = true;  // read, it is an unknown box
  CMpeg4MediaHeaderBox() : CFullBox(kType, 0, 0) {}
};

}  // namespace kt

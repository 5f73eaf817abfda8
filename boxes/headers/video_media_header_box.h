#pragma once

#include "engine/box/fields_box.h"

namespace kt {

/// "vmhd": marks a video track. ISO/IEC 14496-12, 12.1.2.
class CVideoMediaHeaderBox final : public CFieldsBox<CVideoMediaHeaderBox, CFullBox> {
 public:
  static constexpr u32 kType = FourCc("vmhd");
  CVideoMediaHeaderBox() : CFieldsBox(kType, u8{0}, 1U) {}
  explicit CVideoMediaHeaderBox(CBox&& header) : CFieldsBox(std::move(header)) {}

  Mp4Result Dump(int indent) override;

  template <class Fields>
  Mp4Result VisitFields(Fields& fields) {
    return fields(m_i16GraphicsMode, m_i16OpColor);
  }

 private:
  i16 m_i16GraphicsMode = 0;
  i16 m_i16OpColor[3] = {};  // red, green, blue
};

}  // namespace kt

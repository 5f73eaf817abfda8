#pragma once

#include "engine/box/fields_box.h"

namespace kt {

/// "smhd": marks an audio track. ISO/IEC 14496-12, 12.2.2.
class CSoundMediaHeaderBox final : public CFieldsBox<CSoundMediaHeaderBox, CFullBox> {
 public:
  static constexpr u32 kType = FourCc("smhd");
  CSoundMediaHeaderBox() : CFieldsBox(kType, u8{0}, 0U) {}
  explicit CSoundMediaHeaderBox(CBox&& header) : CFieldsBox(std::move(header)) {}

  Mp4Result Dump(int indent) override;
  /// 8.8 fixed, kept as the signed number with the same bits; 0 is the centre.
  Mp4Result SetBalance(u16 balance);

  template <class Fields>
  Mp4Result VisitFields(Fields& fields) {
    return fields(m_i16Balance, m_ui16Reserved);
  }

 private:
  i16 m_i16Balance = 0;
  u16 m_ui16Reserved = 0;
};

}  // namespace kt

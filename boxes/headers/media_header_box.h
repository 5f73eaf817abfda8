#pragma once

#include "boxes/headers/timed_header_box.h"

namespace kt {

/// "mdhd": time scale, duration in media ticks and creation date of a track's media. ISO/IEC 14496-12, 8.4.2.
class CMediaHeaderBox final : public CFieldsBox<CMediaHeaderBox, CScaledHeaderBox> {
 public:
  static constexpr u32 kType = FourCc("mdhd");
  CMediaHeaderBox() : CFieldsBox(kType, u8{0}, 0U) {}
  explicit CMediaHeaderBox(CBox&& header) : CFieldsBox(std::move(header)) {}

  Mp4Result Dump(int indent) override;
  /// Three letters of five bits each, as they stand in the file.
  u16 GetLanguage() const { return m_ui16Language; }
  void SetLanguage(u16 language) { m_ui16Language = language; }

  template <class Fields>
  Mp4Result VisitFields(Fields& fields) {
    KT_TRY(VisitTimes(fields, m_ui32TimeScale));
    return fields(m_ui16Language, m_ui16PreDefined);
  }

 private:
  u16 m_ui16Language = 0;
  u16 m_ui16PreDefined = 0;
};

}  // namespace kt

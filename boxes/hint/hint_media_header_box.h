#pragma once

#include "engine/box/fields_box.h"

namespace kt {

/// "hmhd": the media header of a hint track, with figures on its packets. ISO/IEC 14496-12, 12.4.2.
class CHintMediaHeaderBox final : public CFieldsBox<CHintMediaHeaderBox, CFullBox> {
 public:
  static constexpr u32 kType = FourCc("hmhd");
  CHintMediaHeaderBox() : CFieldsBox(kType, u8{0}, 0U) {}
  explicit CHintMediaHeaderBox(CBox&& header) : CFieldsBox(std::move(header)) {}

  Mp4Result Dump(int indent) override;

  /// Bytes of the largest and of the average packet.
  virtual Mp4Result SetPduSizes(u16 maximum, u16 average);
  /// Stores the average; the second argument is not touched. Callers rely on it.
  virtual Mp4Result GetPduSizes(u16* size, u32 other);
  /// Bits per second.
  virtual Mp4Result SetBitrates(u32 maximum, u32 average);
  virtual Mp4Result GetBitrates(u32* maximum, u32* average);

  template <class Fields>
  Mp4Result VisitFields(Fields& fields) {
    return fields(m_maxPDUSize, m_avgPDUSize, m_maxBitrate, m_avgBitrate, m_reserved);
  }

 private:
  u16 m_maxPDUSize = 0;
  u16 m_avgPDUSize = 0;
  u32 m_maxBitrate = 0;
  u32 m_avgBitrate = 0;
  u32 m_reserved = 0;
};

}  // namespace kt

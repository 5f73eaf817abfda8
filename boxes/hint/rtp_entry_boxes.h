#pragma once

#include "engine/box/fields_box.h"

namespace kt {

/// "tims" in the sample entry of a hint track: ticks per second of its RTP clock. ISO/IEC 14496-12, 9.1.2.
class CTimeScaleEntryBox final : public CFieldsBox<CTimeScaleEntryBox, CBox> {
 public:
  static constexpr u32 kType = FourCc("tims");
  CTimeScaleEntryBox() : CFieldsBox(kType) { m_size += sizeof(m_timeScale); }
  explicit CTimeScaleEntryBox(CBox&& header) : CFieldsBox(std::move(header)) {}

  Mp4Result Dump(int indent) override;

  void SetTimeScale(u32 timeScale) { m_timeScale = timeScale; }
  u32 GetTimeScale() const { return m_timeScale; }

  template <class Fields>
  Mp4Result VisitFields(Fields& fields) {
    return fields(m_timeScale);
  }

 private:
  u32 m_timeScale = 0;
};

/// An offset that a server adds to what the packets say. Every such box prints itself as a time offset, the
/// one for sequence numbers too: readers of dumps rely on it.
class CRtpOffsetBox : public CFieldsBox<CRtpOffsetBox, CBox> {
 public:
  Mp4Result Dump(int indent) override;

  void SetOffset(i32 offset) { m_offset = offset; }
  i32 GetOffset() const { return m_offset; }

  template <class Fields>
  Mp4Result VisitFields(Fields& fields) {
    return fields(m_offset);
  }

 protected:
  explicit CRtpOffsetBox(u32 type) : CFieldsBox(type) { m_size += sizeof(m_offset); }
  explicit CRtpOffsetBox(CBox&& header) : CFieldsBox(std::move(header)) {}

 private:
  i32 m_offset = 0;
};

/// "tsro" in the sample entry of a hint track: added to its RTP time stamps. ISO/IEC 14496-12, 9.1.2.
class CTimeOffsetBox final : public CRtpOffsetBox {
 public:
  static constexpr u32 kType = FourCc("tsro");
  CTimeOffsetBox() : CRtpOffsetBox(kType) {}
  explicit CTimeOffsetBox(CBox&& header) : CRtpOffsetBox(std::move(header)) {}
};

/// "snro" in the sample entry of a hint track: added to its RTP sequence numbers. ISO/IEC 14496-12, 9.1.2.
class CSequenceOffsetBox final : public CRtpOffsetBox {
 public:
  static constexpr u32 kType = FourCc("snro");
  CSequenceOffsetBox() : CRtpOffsetBox(kType) {}
  explicit CSequenceOffsetBox(CBox&& header) : CRtpOffsetBox(std::move(header)) {}
};

}  // namespace kt

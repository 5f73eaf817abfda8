#pragma once

#include "boxes/headers/timed_header_box.h"

namespace kt {

/// "mvhd": time scale, duration and creation date of the movie. ISO/IEC 14496-12, 8.2.2.
class CMovieHeaderBox final : public CFieldsBox<CMovieHeaderBox, CScaledHeaderBox> {
 public:
  static constexpr u32 kType = FourCc("mvhd");
  CMovieHeaderBox() : CFieldsBox(kType, u8{0}, 0U) { m_ui32TimeScale = 1000; }
  explicit CMovieHeaderBox(CBox&& header) : CFieldsBox(std::move(header)) {}

  Mp4Result Dump(int indent) override;
  /// The id for the next track to be added. MP4_BAD_ARGUMENT for 0 and 0xFFFFFFFF.
  Mp4Result SetNextTrackId(u32 id);

  template <class Fields>
  Mp4Result VisitFields(Fields& fields) {
    KT_TRY(VisitTimes(fields, m_ui32TimeScale));
    KT_TRY(fields(m_i32Rate, m_i16Volume, m_ui16Reserved1, m_ui32Reserved2));
    KT_TRY(fields.LastOf(m_i32Matrix.values));
    KT_TRY(fields.LastOf(m_ui32PreDefined));
    return fields(m_ui32NextTrackId);
  }

 private:
  i32 m_i32Rate = 0x10000;  // 16.16 fixed
  i16 m_i16Volume = 0x100;  // 8.8 fixed
  u16 m_ui16Reserved1 = 0;
  u32 m_ui32Reserved2[2] = {};
  Matrix m_i32Matrix;
  u32 m_ui32PreDefined[6] = {};
  u32 m_ui32NextTrackId = 1;
};

}  // namespace kt

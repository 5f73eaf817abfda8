#pragma once

#include "boxes/headers/timed_header_box.h"

namespace kt {

/// "tkhd": id, duration in movie ticks and picture size of a track. ISO/IEC 14496-12, 8.3.2.
class CTrackHeaderBox final : public CFieldsBox<CTrackHeaderBox, CTimedHeaderBox> {
 public:
  static constexpr u32 kType = FourCc("tkhd");
  CTrackHeaderBox() : CFieldsBox(kType, u8{0}, 0U) {}
  explicit CTrackHeaderBox(CBox&& header) : CFieldsBox(std::move(header)) {}

  Mp4Result Dump(int indent) override;
  /// MP4_BAD_VALUE for a stored id of 0.
  Mp4Result GetTrackId(u32* id) const;
  /// Also enables the track by its flags. MP4_BAD_ARGUMENT for 0.
  Mp4Result SetTrackId(u32 id);
  /// Whole pixels, cut and not rounded.
  Mp4Result GetDimensions(u32* width, u32* height) const;
  /// MP4_BAD_ARGUMENT, with nothing stored, when either is negative as a signed number.
  Mp4Result SetDimensions(u32 width, u32 height);
  /// 8.8 fixed. MP4_BAD_ARGUMENT for a negative volume.
  Mp4Result SetVolume(i16 volume);
  const Matrix& GetMatrix() const { return m_i32Matrix; }
  void SetMatrix(const Matrix& matrix) { m_i32Matrix = matrix; }

  template <class Fields>
  Mp4Result VisitFields(Fields& fields) {
    KT_TRY(VisitTimes(fields, m_ui32TrackId, m_ui32Reserved1));
    KT_TRY(fields(m_ui32Reserved2, m_i16Layer, m_i16AlternateGroup, m_i16Volume, m_ui16Reserved));
    KT_TRY(fields.LastOf(m_i32Matrix.values));
    return fields(m_i32Width, m_i32Height);
  }

 private:
  u32 m_ui32TrackId = 0;
  u32 m_ui32Reserved1 = 0;
  u32 m_ui32Reserved2[2] = {};
  i16 m_i16Layer = 0;
  i16 m_i16AlternateGroup = 0;
  i16 m_i16Volume = 0;
  u16 m_ui16Reserved = 0;
  Matrix m_i32Matrix;
  i32 m_i32Width = 0;   // 16.16 fixed
  i32 m_i32Height = 0;  // 16.16 fixed
};

}  // namespace kt

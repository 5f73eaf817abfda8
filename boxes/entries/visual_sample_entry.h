#pragma once

#include "boxes/entries/sample_entry.h"

namespace kt {

/// A sample entry of a video format. ISO/IEC 14496-12, 12.1.3.
class CVisualSampleEntry : public CFieldsBox<CVisualSampleEntry, CSampleEntry> {
 public:
  Mp4Result Dump(int indent) override;
  /// Pixels of the coded picture.
  Mp4Result GetVideoSize(u16* width, u16* height) const;
  /// MP4_BAD_ARGUMENT, with nothing stored, when either is negative.
  Mp4Result SetVideoSize(i16 width, i16 height);

  template <class Fields>
  Mp4Result VisitFields(Fields& fields) {
    KT_TRY(fields(m_ui16PreDefined1, m_ui16Reserved, m_ui32PreDefined2, m_i16Width, m_i16Height));
    KT_TRY(fields(m_i32HorizontalResolution, m_i32VerticalResolution, m_ui32Reserved, m_ui16FrameCount));
    KT_TRY(fields.Bytes(m_CompressorName, sizeof(m_CompressorName)));
    return fields(m_i16Depth, m_i16PreDefined3);
  }

 protected:
  explicit CVisualSampleEntry(u32 type) : CFieldsBox(type) {}
  explicit CVisualSampleEntry(CBox&& header) : CFieldsBox(std::move(header)) {}

 private:
  u16 m_ui16PreDefined1 = 0;
  u16 m_ui16Reserved = 0;
  u32 m_ui32PreDefined2[3] = {};
  i16 m_i16Width = 0;
  i16 m_i16Height = 0;
  i32 m_i32HorizontalResolution = 0x480000;  // 16.16 fixed, pixels per inch
  i32 m_i32VerticalResolution = 0x480000;
  u32 m_ui32Reserved = 0;
  u16 m_ui16FrameCount = 1;
  u8 m_CompressorName[32] = {};  // its length in the first byte, which is not used
  i16 m_i16Depth = 24;
  i16 m_i16PreDefined3 = -1;
};

}  // namespace kt

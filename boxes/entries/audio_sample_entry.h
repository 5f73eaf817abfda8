#pragma once

#include "boxes/entries/sample_entry.h"

namespace kt {

/// A sample entry of an audio format. ISO/IEC 14496-12, 12.2.3.
class CAudioSampleEntry : public CFieldsBox<CAudioSampleEntry, CSampleEntry> {
 public:
  Mp4Result Dump(int indent) override;
  Mp4Result GetChannelCount(u16* channels) const;
  /// Samples per second, without the fraction.
  Mp4Result GetSampleRate(u32* rate) const;
  Mp4Result SetSampleRate(u16 rate);

  template <class Fields>
  Mp4Result VisitFields(Fields& fields) {
    return fields(m_ui32Reserved, m_ui16ChannelCount, m_ui16SampleSize, m_ui16PreDefined, m_ui16Reserved,
                  m_ui16SampleRate, m_ui16SampleRateFraction);
  }

 protected:
  explicit CAudioSampleEntry(u32 type) : CFieldsBox(type) {}
  explicit CAudioSampleEntry(CBox&& header) : CFieldsBox(std::move(header)) {}

 private:
  u32 m_ui32Reserved[2] = {};
  u16 m_ui16ChannelCount = 2;
  u16 m_ui16SampleSize = 16;  // bits
  u16 m_ui16PreDefined = 0;
  u16 m_ui16Reserved = 0;
  u16 m_ui16SampleRate = 44100;
  u16 m_ui16SampleRateFraction = 0;
};

}  // namespace kt

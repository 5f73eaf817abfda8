#pragma once

#include <memory>

#include "boxes/entries/sample_entry.h"
#include "boxes/hint/rtp_entry_boxes.h"

namespace kt {

/// "rtp " in "stsd": the sample entry of an RTP hint track. ISO/IEC 14496-12, 9.1.2.
///
/// A setter makes the box that holds the value when there is none (MP4_NO_MEMORY); a getter answers
/// MP4_NOT_FOUND without it.
class CRtpHintSampleEntry final : public CFieldsBox<CRtpHintSampleEntry, CSampleEntry> {
 public:
  static constexpr u32 kType = FourCc("rtp ");
  static constexpr bool kTypeIsAmbiguous = true;  // it is also the text of a movie
  CRtpHintSampleEntry() : CFieldsBox(kType) {}
  explicit CRtpHintSampleEntry(CBox&& header) : CFieldsBox(std::move(header)) {}

  /// A child of another type is read and not kept. MP4_BAD_BOX without "tims" and for a second child of one
  /// of the three types, MP4_CORRUPT for a child larger than the entry.
  Mp4Result Deserialize(CStorage* storage) override;
  /// MP4_BAD_BOX without a time scale.
  Mp4Result Serialize(CStorage* storage) override;
  Mp4Result Dump(int indent) override;
  Mp4Result CalculateSize() override;

  /// Bytes of the payload of the largest packet.
  virtual Mp4Result SetMaxPacketSize(u32 size);
  virtual Mp4Result GetMaxPacketSize(u32* size);
  /// Ticks per second of the RTP clock.
  virtual Mp4Result SetTimeScale(u32 scale);
  virtual Mp4Result GetTimeScale(u32* scale);
  virtual Mp4Result SetTimeOffset(i32 offset);
  virtual Mp4Result GetTimeOffset(i32* offset);
  virtual Mp4Result SetSequenceOffset(i32 offset);
  virtual Mp4Result GetSequenceOffset(i32* offset);

  template <class Fields>
  Mp4Result VisitFields(Fields& fields) {
    return fields(m_hintTrackVersion, m_highestCompatibleVersion, m_maxPacketSize);
  }

 private:
  Mp4Result ReadChild(CStorage* storage);
  Mp4Result Keep(std::unique_ptr<CBox> child);
  // Calls `visit` with each child that there is, in the order of the file.
  template <class Visit>
  Mp4Result VisitChildren(Visit visit);

  u16 m_hintTrackVersion = 1;
  u16 m_highestCompatibleVersion = 1;
  u32 m_maxPacketSize = 0;
  std::unique_ptr<CTimeScaleEntryBox> m_timeScaleBox;
  std::unique_ptr<CTimeOffsetBox> m_timeOffsetBox;
  std::unique_ptr<CSequenceOffsetBox> m_sequenceOffsetBox;
};

}  // namespace kt

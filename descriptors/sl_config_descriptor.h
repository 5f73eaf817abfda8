#pragma once

#include "descriptors/descriptor.h"

namespace kt {

/// How the packets of an elementary stream are headed. Custom headers are read as far as their fields matter
/// to a file and cannot be written. ISO/IEC 14496-1, 7.3.2.3.
class CSLConfigDescriptor : public CBaseDescriptor {
 public:
  CSLConfigDescriptor() : CBaseDescriptor(kSlConfigDescriptorTag) {}
  explicit CSLConfigDescriptor(const CBaseDescriptor* header) : CBaseDescriptor(header) {}

  /// MP4_DESCRIPTOR_OVERRUN when the body is shorter than its fields; MP4_NOT_READY for a predefined value
  /// above 2 and for start time stamps, whose length is MP4_BAD_VALUE above 64 bits.
  Mp4Result Deserialize(CStorage* storage) override;
  /// MP4_BAD_VALUE for a custom header; MP4_NOT_READY, behind the written byte, when a duration or start
  /// time stamps would have to follow.
  Mp4Result Serialize(CStorage* storage) override;
  /// MP4_NOT_READY for a custom header. It is also the answer for the predefined headers 1 and 2, behind the
  /// written byte, and callers rely on it: only the form for a storage can be used.
  Mp4Result SerializeToBuffer(u8** cursor, u32* room) override;
  Mp4Result Dump(int indent) override;
  Mp4Result CalculateSize() override;

  /// 0 leaves all fields, 1 clears those that the header of that number has not, 2 clears more of them; any
  /// other value is stored and answers MP4_NOT_READY.
  Mp4Result SetPredefined(u8 value);

 private:
  template <class Fields>
  Mp4Result VisitCustomHeader(Fields& fields, u8& flags, u16& packedLengths) {
    return fields(flags, m_timeStampResolution, m_ocrResolution, m_timeStampLength, m_ocrLength, m_auLength,
                  m_instantBitrateLength, packedLengths);
  }
  Mp4Result ReadCustomHeader(CStorage* storage);
  Mp4Result ReadDurations(CStorage* storage);
  Mp4Result CheckStartTimeStamps() const;
  // Bytes of the two start time stamps, which stand where no packet carries time stamps.
  u32 StartTimeStampsSize() const {
    return m_useTimeStampsFlag != 0 ? 0 : (2u * m_timeStampLength + 7u) / 8u;
  }

  u8 m_predefined = 0;
  // Each holds its bit of the flags byte, not 0 or 1.
  u32 m_useAccessUnitStartFlag = 0;
  u32 m_useAccessUnitEndFlag = 0;
  u32 m_useRandomAccessPointFlag = 0;
  u32 m_hasRandomAccessUnitsOnlyFlag = 0;
  u32 m_usePaddingFlag = 0;
  u32 m_useTimeStampsFlag = 0;
  u32 m_useIdleFlag = 0;
  u32 m_durationFlag = 0;
  u32 m_timeStampResolution = 0;
  u32 m_ocrResolution = 0;
  u8 m_timeStampLength = 0;
  u8 m_ocrLength = 0;
  u8 m_auLength = 0;
  u8 m_instantBitrateLength = 0;
  u8 m_degradationPriorityLength = 0;
  u8 m_auSeqNumLength = 0;
  u8 m_packetSeqNumLength = 0;
  u8 m_reserved = 3;
  u32 m_timeScale = 0;
  u16 m_accessUnitDuration = 0;
  u16 m_compositionUnitDuration = 0;
  u64 m_startDecodingTimeStamp = 0;
  u64 m_startCompositionTimeStamp = 0;
};

}  // namespace kt

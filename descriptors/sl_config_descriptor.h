#pragma once

#include "descriptors/descriptor.h"

namespace kt {

class CDescriptorReader;

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
  Mp4Result ReadCustomHeader(CDescriptorReader& fields);
  Mp4Result CheckStartTimeStamps() const;
  // The bits of the flags byte. The two named ones decide which fields follow; of the others, and of
  // resolutions and lengths but that of time stamps, nothing is asked: they are kept as what was read.
  static constexpr u8 kUseTimeStamps = 0x04;
  static constexpr u8 kDuration = 0x01;
  bool HasDuration() const { return (m_flags & kDuration) != 0; }
  // Whether start time stamps follow, as they do where no packet carries time stamps.
  bool HasStartTimeStamps() const { return (m_flags & kUseTimeStamps) == 0 && m_timeStampLength != 0; }
  // Bytes of the two of them.
  u32 StartTimeStampsSize() const { return HasStartTimeStamps() ? (2u * m_timeStampLength + 7u) / 8u : 0; }

  // A descriptor of three bytes is enough for one of these: bytes and not words.
  u8 m_predefined = 0;
  u8 m_flags = 0;
  u8 m_timeStampLength = 0;
  u8 m_ocrLength = 0;
  u8 m_auLength = 0;
  u8 m_instantBitrateLength = 0;
  u8 m_degradationPriorityLength = 0;
  u8 m_auSeqNumLength = 0;
  u8 m_packetSeqNumLength = 0;
  u16 m_accessUnitDuration = 0;
  u32 m_timeScale = 0;
  u32 m_timeStampResolution = 0;
  u32 m_ocrResolution = 0;
};

}  // namespace kt

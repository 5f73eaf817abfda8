#pragma once

#include <memory>

#include "descriptors/decoder_specific_info.h"
#include "descriptors/descriptor_list.h"
#include "descriptors/fields_descriptor.h"

namespace kt {

/// Which decoder an elementary stream needs, its buffer and its bit rates; holds the decoder specific info if
/// there is any. ISO/IEC 14496-1, 7.2.6.6.
class CDecoderConfigDescriptor : public CFieldsDescriptor<CDecoderConfigDescriptor> {
 public:
  CDecoderConfigDescriptor() : CFieldsDescriptor(kDecoderConfigDescriptorTag) {}
  explicit CDecoderConfigDescriptor(const CBaseDescriptor* header) : CFieldsDescriptor(header) {}

  /// MP4_DESCRIPTOR_OVERRUN for a body of less than 13 bytes.
  Mp4Result Deserialize(CStorage* storage) override;
  Mp4Result Serialize(CStorage* storage) override;
  Mp4Result SerializeToBuffer(u8** cursor, u32* room) override;
  Mp4Result Dump(int indent) override;
  Mp4Result CalculateSize() override;

  /// Stores both and sets the decoder's buffer to 1310720 bytes.
  Mp4Result SetTypes(u8 objectType, u8 streamType);
  /// Both in bits per second.
  Mp4Result SetBitrates(u32 max, u32 avg);
  /// Replaces the decoder specific info by a copy. MP4_NOT_FOUND for a size of 0, MP4_NO_MEMORY.
  Mp4Result SetDecoderSpecificInfo(const void* info, u32 size);
  /// MP4_NOT_FOUND without decoder specific info. MP4_OK also when the buffer is too small: `*size` above
  /// `capacity` tells, and callers rely on it.
  Mp4Result GetDecoderSpecificInfo(u32 capacity, u32* size, void* buffer);
  Mp4Result GetDecoderSpecificInfoSize(u32* size);

  template <class Fields>
  Mp4Result VisitFields(Fields& fields) {
    KT_TRY(fields(m_objectTypeIndication, m_streamByte));
    KT_TRY(fields.UInt24(m_bufferSizeDB));
    return fields(m_maxBitrate, m_avgBitrate);
  }

 private:
  static constexpr u8 kUpStreamBit = 2;
  static constexpr u8 kReservedBit = 1;

  Mp4Result FindInfo(CDecoderSpecificInfo** info);

  u8 m_objectTypeIndication = 0;
  u8 m_streamByte = kReservedBit;  // the low 6 bits of the stream type, then the two above
  u8 m_streamType = 0;
  u32 m_bufferSizeDB = 0;  // 24 bits in the file
  u32 m_maxBitrate = 0;
  u32 m_avgBitrate = 0;
  std::unique_ptr<CDescriptorList> m_children;
};

}  // namespace kt

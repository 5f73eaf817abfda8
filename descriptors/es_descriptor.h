#pragma once

#include <memory>

#include "descriptors/decoder_config_descriptor.h"
#include "descriptors/sl_config_descriptor.h"

namespace kt {

/// One elementary stream: its number, what it depends on, how to decode it and how its packets are headed.
/// The descriptor behind the "esds" box. ISO/IEC 14496-1, 7.2.6.5.
///
/// Readers rely on three simplifications: of the priority only bits 0 and 2 survive reading, the OCR flag is
/// shown but never written, and no OCR_ES_ID is read or written whatever the flag says.
class CESDescriptor : public CFieldsDescriptor<CESDescriptor> {
 public:
  CESDescriptor() : CFieldsDescriptor(kEsDescriptorTag) {}
  explicit CESDescriptor(const CBaseDescriptor* header) : CFieldsDescriptor(header) {}

  /// MP4_DESCRIPTOR_OVERRUN for a body shorter than its fields; MP4_NOT_FOUND unless the children hold both
  /// a decoder config and an SL config.
  Mp4Result Deserialize(CStorage* storage) override;
  /// MP4_NOT_READY without children, behind the written fields.
  Mp4Result Serialize(CStorage* storage) override;
  /// MP4_BAD_DESCRIPTOR without a decoder config or SL config, behind the written fields.
  Mp4Result SerializeToBuffer(u8** cursor, u32* room) override;
  /// MP4_NOT_READY without children, behind the printed fields.
  Mp4Result Dump(int indent) override;
  /// MP4_BAD_DESCRIPTOR without children.
  Mp4Result CalculateSize() override;

  Mp4Result SetEsId(u16 id);
  /// Copies the text. Only the low 8 bits of `length` count when the descriptor is written: a text of 300
  /// bytes goes out as its first 44, and callers rely on it. MP4_BAD_ARGUMENT for null, MP4_NO_MEMORY.
  Mp4Result SetUrl(const void* text, u32 length);
  /// Makes the decoder config, with decoder specific info when `infoSize` is not 0. MP4_NOT_READY when there
  /// is one already, MP4_NO_MEMORY.
  Mp4Result SetDecoderType(u8 objectType, u8 streamType, const void* info, u32 infoSize);
  /// Both in bits per second; makes the decoder config when there is none. MP4_NO_MEMORY.
  Mp4Result SetBitrates(u32 max, u32 avg);
  /// Makes the SL config when there is none. MP4_NOT_READY for a value above 2, MP4_NO_MEMORY.
  Mp4Result SetSlPredefined(u8 predefined);
  /// MP4_NOT_FOUND without decoder specific info. MP4_OK also when the buffer is too small: `*size` above
  /// `capacity` tells.
  Mp4Result GetDecoderSpecificInfo(u32 capacity, u32* size, void* buffer);
  Mp4Result GetDecoderSpecificInfoSize(u32* size);

  // The fields in front of the children.
  template <class Fields>
  Mp4Result VisitFields(Fields& fields) {
    KT_TRY(fields(m_esId, m_flags));
    if (HasStreamDependence()) KT_TRY(fields(m_dependsOnEsId));
    return HasUrl() ? fields.Text(m_urlLength, m_url) : MP4_OK;
  }

 private:
  static constexpr u8 kStreamDependenceBit = 0x80;
  static constexpr u8 kUrlBit = 0x40;
  static constexpr u8 kOcrStreamBit = 0x20;
  static constexpr u8 kPriorityBits = 0x05;

  bool HasStreamDependence() const { return (m_flags & kStreamDependenceBit) != 0; }
  bool HasUrl() const { return (m_flags & kUrlBit) != 0; }
  Mp4Result AddDecoderConfig(std::unique_ptr<CDecoderConfigDescriptor> decoderConfig);
  void DumpUrl(int indent) const;

  u16 m_esId = 0;
  u8 m_flags = 0;  // as written: dependence, URL and priority
  bool m_ocrStreamFlag = true;
  u16 m_dependsOnEsId = 0;
  u8 m_urlLength = 0;
  std::unique_ptr<u8[]> m_url;  // at least m_urlLength bytes
  std::unique_ptr<CDescriptorList> m_children;
  CDecoderConfigDescriptor* m_decoderConfig = nullptr;  // one of the children
  CSLConfigDescriptor* m_slConfig = nullptr;            // one of the children
};

}  // namespace kt

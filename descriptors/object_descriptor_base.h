#pragma once

#include <memory>

#include "descriptors/descriptor_list.h"
#include "descriptors/fields_descriptor.h"

namespace kt {

/// What the object descriptor and the initial object descriptor have in common: an id of 10 bits, and either
/// a URL or the streams of the object with their object content information. ISO/IEC 14496-1, 7.2.6.3
/// and 7.2.6.4.
///
/// Readers rely on two losses: descriptors of other tags are dropped when read, and so are extension
/// descriptors unless the URL flag is set.
class CObjectDescriptorBase : public CFieldsDescriptor<CObjectDescriptorBase> {
 public:
  /// MP4_DESCRIPTOR_OVERRUN for a body shorter than its fields.
  Mp4Result Deserialize(CStorage* storage) override;
  /// MP4_BAD_DESCRIPTOR with neither a URL nor a list of streams, behind the written fields.
  Mp4Result Serialize(CStorage* storage) override;
  /// The same.
  Mp4Result SerializeToBuffer(u8** cursor, u32* room) override;
  Mp4Result Dump(int indent) override;
  Mp4Result CalculateSize() override;

  /// MP4_BAD_ARGUMENT above 1023.
  Mp4Result SetObjectDescriptorId(u16 id);

  // The fields in front of the lists.
  template <class Fields>
  Mp4Result VisitFields(Fields& fields) {
    KT_TRY(fields(m_idAndFlags));
    if (HasUrl()) return fields.Text(m_urlLength, m_url);
    return m_form.hasLevels ? fields(m_levels) : MP4_OK;
  }

 protected:
  static constexpr u32 kIdShift = 6;
  static constexpr u16 kFlagBits = 0x3F;
  static constexpr u16 kUrlBit = 0x20;
  static constexpr u16 kInlineBit = 0x10;  // of the initial object descriptor: inline profile level flag

  enum Level : u32 { kOdLevel, kSceneLevel, kAudioLevel, kVisualLevel, kGraphicsLevel, kLevelCount };

  /// All in which the two classes differ.
  struct Form {
    u8 reservedBits;  // of the flags, written as ones
    bool hasLevels;   // profile levels stand in the place of a URL
    u8 streamTag;     // of the descriptors that are kept as streams when read
  };

  CObjectDescriptorBase(u32 tag, const Form& form)
      : CFieldsDescriptor(tag), m_idAndFlags(form.reservedBits), m_form(form) {}
  CObjectDescriptorBase(const CBaseDescriptor* header, const Form& form)
      : CFieldsDescriptor(header), m_idAndFlags(form.reservedBits), m_form(form) {}

  bool HasUrl() const { return (m_idAndFlags & kUrlBit) != 0; }
  /// Adds and owns a stream. MP4_BAD_ARGUMENT for null, MP4_NO_MEMORY.
  Mp4Result AddStream(std::unique_ptr<CBaseDescriptor> stream);

  u16 m_idAndFlags;  // as in the file: 10 bits of the id, the URL flag, 5 bits that differ
  Form m_form;
  u8 m_levels[kLevelCount] = {};  // profiles and levels, where there are any
  u8 m_urlLength = 0;
  // Whether there is a list of streams, without which nothing is written but a URL; it may have no items.
  bool m_hasStreamList = false;
  std::unique_ptr<u8[]> m_url;
  // A list without items is null: four bytes of a file are enough for an object descriptor.
  std::unique_ptr<CDescriptorList> m_streams;  // embedded or as pointers to tracks
  std::unique_ptr<CDescriptorList> m_ociDescriptors;
  std::unique_ptr<CDescriptorList> m_extensionDescriptors;

 private:
  Mp4Result SortChildren(CDescriptorList* children);
  // Calls `operation` with each list that is written, counted and shown, in this order.
  template <class Operation>
  Mp4Result ForEachList(Operation operation) {
    if (!HasUrl()) {
      if (m_streams) KT_TRY(operation(*m_streams));
      if (m_ociDescriptors) KT_TRY(operation(*m_ociDescriptors));
    }
    return m_extensionDescriptors ? operation(*m_extensionDescriptors) : MP4_OK;
  }
};

}  // namespace kt

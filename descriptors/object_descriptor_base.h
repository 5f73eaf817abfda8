#pragma once

#include <memory>

#include "descriptors/descriptor_list.h"

namespace kt {

/// What the object descriptor and the initial object descriptor have in common: an id of 10 bits, and either
/// a URL or the streams of the object with their object content information. ISO/IEC 14496-1, 7.2.6.3
/// and 7.2.6.4.
///
/// Readers rely on two losses: descriptors of other tags are dropped when read, and so are extension
/// descriptors unless the URL flag is set.
class CObjectDescriptorBase : public CBaseDescriptor {
 public:
  /// MP4_DESCRIPTOR_OVERRUN for a body shorter than its fields.
  Mp4Result Deserialize(CStorage* storage) override;
  /// MP4_BAD_DESCRIPTOR with neither a URL nor a list of streams, behind the written fields.
  Mp4Result Serialize(CStorage* storage) override;
  Mp4Result Dump(int indent) override;
  Mp4Result CalculateSize() override;

  /// MP4_BAD_ARGUMENT above 1023.
  Mp4Result SetObjectDescriptorId(u16 id);

 protected:
  using CBaseDescriptor::CBaseDescriptor;
  explicit CObjectDescriptorBase(const CBaseDescriptor* header) : CBaseDescriptor(header) {}

  /// Adds and owns a stream. MP4_BAD_ARGUMENT for null, MP4_NO_MEMORY.
  Mp4Result AddStream(std::unique_ptr<CBaseDescriptor> stream);

  // The five bits behind the URL flag.
  virtual void TakeFlags(u8 flags) = 0;
  virtual u8 GiveFlags() const = 0;
  // The fields that stand in the place of a URL.
  virtual Mp4Result ReadLevels(CStorage* storage) = 0;
  virtual Mp4Result WriteLevels(CStorage* storage) = 0;
  virtual u32 LevelsSize() const = 0;
  virtual void DumpFlags(int indent) const = 0;
  virtual void DumpLevels(int indent) const = 0;
  // The tag of the descriptors that are kept as streams when read.
  virtual u32 StreamTag() const = 0;

  // The fields in front of the lists.
  Mp4Result WriteFields(CStorage* storage);
  u32 FieldsSize() const;
  // Calls `operation` with each list that is written, counted and shown, in this order.
  template <class Operation>
  Mp4Result ForEachList(Operation operation) {
    if (m_urlFlag == 0) {
      if (m_streams) KT_TRY(operation(*m_streams));
      if (m_ociDescriptors) KT_TRY(operation(*m_ociDescriptors));
    }
    return m_extensionDescriptors ? operation(*m_extensionDescriptors) : MP4_OK;
  }

  u16 m_objectDescriptorId = 0;
  u8 m_urlLength = 0;
  // Whether there is a list of streams, without which nothing is written but a URL; it may have no items.
  bool m_hasStreamList = false;
  u32 m_urlFlag = 0;
  std::unique_ptr<u8[]> m_url;
  // A list without items is null: four bytes of a file are enough for an object descriptor.
  std::unique_ptr<CDescriptorList> m_streams;  // embedded or as pointers to tracks
  std::unique_ptr<CDescriptorList> m_ociDescriptors;
  std::unique_ptr<CDescriptorList> m_extensionDescriptors;

 private:
  Mp4Result SortChildren(CDescriptorList* children);
};

}  // namespace kt

#pragma once

#include "descriptors/object_descriptor_base.h"

namespace kt {

/// Groups the elementary streams of one media object. In the file form ("MP4 OD") it points at tracks, in the
/// systems form it embeds ES descriptors; the form is told by the tag. ISO/IEC 14496-1, 7.2.6.3.
class CObjectDescriptor : public CObjectDescriptorBase {
 public:
  /// In the file form.
  CObjectDescriptor() : CObjectDescriptorBase(kMp4ObjectDescriptorTag, kForm) {}
  explicit CObjectDescriptor(const CBaseDescriptor* header) : CObjectDescriptorBase(header, kForm) {}

  /// The file form when not 0, else the systems form.
  Mp4Result SetFileForm(u32 fileForm);
  /// Points at a track by the index of its "mpod" reference, of which 16 bits are kept. MP4_NO_MEMORY.
  Mp4Result AddEsIdRef(u32 refIndex);
  /// Embeds and owns `descriptor`. MP4_BAD_ARGUMENT for null, MP4_NO_MEMORY.
  Mp4Result AddEsDescriptor(std::unique_ptr<CBaseDescriptor> descriptor);

 private:
  static constexpr Form kForm = {.reservedBits = 0x1F, .hasLevels = false, .streamTag = kEsIdRefTag};
};

}  // namespace kt

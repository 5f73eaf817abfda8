#pragma once

#include "descriptors/object_descriptor_base.h"

namespace kt {

/// Groups the elementary streams of one media object. In the file form ("MP4 OD") it points at tracks, in the
/// systems form it embeds ES descriptors; the form is told by the tag. ISO/IEC 14496-1, 7.2.6.3.
class CObjectDescriptor : public CObjectDescriptorBase {
 public:
  /// In the file form.
  CObjectDescriptor() : CObjectDescriptorBase(kMp4ObjectDescriptorTag) {}
  explicit CObjectDescriptor(const CBaseDescriptor* header) : CObjectDescriptorBase(header) {}

  /// MP4_BAD_DESCRIPTOR with neither a URL nor a list of streams, behind the written fields.
  Mp4Result SerializeToBuffer(u8** cursor, u32* room) override;

  /// The file form when not 0, else the systems form.
  Mp4Result SetFileForm(u32 fileForm);
  /// Points at a track by the index of its "mpod" reference, of which 16 bits are kept. MP4_NO_MEMORY.
  Mp4Result AddEsIdRef(u32 refIndex);
  /// Embeds and owns `descriptor`. MP4_BAD_ARGUMENT for null, MP4_NO_MEMORY.
  Mp4Result AddEsDescriptor(std::unique_ptr<CBaseDescriptor> descriptor);

 private:
  void TakeFlags(u8 /*flags*/) override {}
  u8 GiveFlags() const override { return 0x1F; }
  Mp4Result ReadLevels(CStorage* /*storage*/) override { return MP4_OK; }
  Mp4Result WriteLevels(CStorage* /*storage*/) override { return MP4_OK; }
  u32 LevelsSize() const override { return 0; }
  void DumpFlags(int /*indent*/) const override {}
  void DumpLevels(int /*indent*/) const override {}
  u32 StreamTag() const override { return kEsIdRefTag; }
};

}  // namespace kt

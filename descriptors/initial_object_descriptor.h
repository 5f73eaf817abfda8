#pragma once

#include "descriptors/object_descriptor_base.h"

namespace kt {

/// The entry point of an MPEG-4 presentation: the profiles and levels that it needs and its first streams. In
/// the file form ("MP4 IOD") it points at tracks, in the systems form it embeds ES descriptors.
/// ISO/IEC 14496-1, 7.2.6.4.
class CInitialObjectDescriptor : public CObjectDescriptorBase {
 public:
  /// In the file form.
  CInitialObjectDescriptor() : CObjectDescriptorBase(kMp4InitialObjectDescriptorTag, kForm) {}
  explicit CInitialObjectDescriptor(const CBaseDescriptor* header) : CObjectDescriptorBase(header, kForm) {}

  /// Always MP4_NOT_READY: this descriptor is written to storages alone, and callers rely on it.
  Mp4Result SerializeToBuffer(u8** cursor, u32* room) override;

  Mp4Result SetUrlFlag(u32 flag);
  /// The file form when not 0, else the systems form. A descriptor that is read counts as in the file form
  /// whatever its tag, so that ES descriptors embedded in it are dropped, and readers rely on it.
  Mp4Result SetFileForm(u32 fileForm);

  Mp4Result GetOdProfileLevel(u8* level) const;
  Mp4Result GetSceneProfileLevel(u8* level) const;
  Mp4Result GetAudioProfileLevel(u8* level) const;
  Mp4Result GetVisualProfileLevel(u8* level) const;
  Mp4Result GetGraphicsProfileLevel(u8* level) const;
  Mp4Result SetOdProfileLevel(u8 level);
  Mp4Result SetSceneProfileLevel(u8 level);
  Mp4Result SetAudioProfileLevel(u8 level);
  Mp4Result SetVisualProfileLevel(u8 level);
  Mp4Result SetGraphicsProfileLevel(u8 level);

  /// Gives the descriptor a list of streams, empty unless it has one, without which nothing can be written.
  Mp4Result MakeStreamList();
  /// Points at a track. MP4_NOT_READY unless in the file form, with the list of streams made; MP4_NO_MEMORY.
  Mp4Result AddEsIdInc(u32 trackId);
  /// Embeds and owns `descriptor`. MP4_NOT_READY in the file form, MP4_BAD_ARGUMENT for null, MP4_NO_MEMORY.
  Mp4Result AddEsDescriptor(std::unique_ptr<CBaseDescriptor> descriptor);

 private:
  static constexpr Form kForm = {.reservedBits = 0x0F, .hasLevels = true, .streamTag = kEsIdIncTag};

  bool IsFileForm() const { return m_form.streamTag == kEsIdIncTag; }
};

}  // namespace kt

#pragma once

#include <memory>

#include "descriptors/initial_object_descriptor.h"
#include "descriptors/object_descriptor.h"
#include "engine/box/box.h"

namespace kt {

/// "iods": the movie's initial object descriptor, or an object descriptor in its place.
/// ISO/IEC 14496-14, 5.1.
class CObjectDescriptorBox : public CFullBox {
 public:
  static constexpr u32 kType = FourCc("iods");
  CObjectDescriptorBox() : CFullBox(kType, 0, 0) {}
  explicit CObjectDescriptorBox(CBox&& header) noexcept : CFullBox(std::move(header)) {}

  /// MP4_BAD_DESCRIPTOR unless it holds a descriptor in the file form; MP4_DESCRIPTOR_OVERRUN when that is
  /// longer than the box.
  Mp4Result Deserialize(CStorage* storage) override;
  /// MP4_BAD_DESCRIPTOR without a descriptor.
  Mp4Result Serialize(CStorage* storage) override;
  /// MP4_BAD_DESCRIPTOR without a descriptor, behind the opening brace.
  Mp4Result Dump(int indent) override;
  /// MP4_BAD_BOX without a descriptor: not the code that writing gives, and callers rely on both.
  Mp4Result CalculateSize() override;

  /// Makes the initial object descriptor when there is none, and gives it id 1, these profiles, none of the
  /// others, and an empty list of streams when it has none. MP4_BAD_BOX when it cannot be made.
  Mp4Result SetDefaultDescriptor(u32 visualProfile, u32 audioProfile);
  /// Points the initial object descriptor at a track. MP4_NOT_READY when there is none.
  Mp4Result AddEsId(u32 trackId);
  /// Borrowed; null when the box has none.
  Mp4Result GetInitialDescriptor(CInitialObjectDescriptor** descriptor) const;

 private:
  // The one that is set, or null.
  CBaseDescriptor* Descriptor() const;

  std::unique_ptr<CInitialObjectDescriptor> m_initialDescriptor;
  std::unique_ptr<CObjectDescriptor> m_objectDescriptor;
};

}  // namespace kt

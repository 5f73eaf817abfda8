#pragma once

#include <memory>

#include "descriptors/es_descriptor.h"
#include "engine/box/box.h"

namespace kt {

/// "esds": the ES descriptor of an MPEG-4 sample entry. ISO/IEC 14496-14, 5.6.
class CESDBox final : public CFullBox {
 public:
  static constexpr u32 kType = FourCc("esds");
  static constexpr bool kTypeIsAmbiguous = true;  // outside sample entries it is an unknown box
  CESDBox() : CFullBox(kType, 0, 0) {}
  explicit CESDBox(CBox&& header) : CFullBox(std::move(header)) {}

  /// MP4_BAD_BOX for a descriptor of another tag, MP4_DESCRIPTOR_OVERRUN for one larger than the box.
  Mp4Result Deserialize(CStorage* storage) override;
  /// These three answer MP4_BAD_BOX, behind the header, when there is no descriptor.
  Mp4Result Serialize(CStorage* storage) override;
  Mp4Result Dump(int indent) override;
  Mp4Result CalculateSize() override;

  /// The descriptor, null while there is none; borrowed.
  CESDescriptor* GetDescriptor() const { return m_pDescriptor.get(); }
  /// The same, made when there is none. MP4_NO_MEMORY.
  Mp4Result MakeDescriptor(CESDescriptor** descriptor);

 private:
  std::unique_ptr<CESDescriptor> m_pDescriptor;
};

}  // namespace kt

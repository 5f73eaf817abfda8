#pragma once

#include "descriptors/command.h"
#include "descriptors/descriptor_list.h"

namespace kt {

/// The command that brings object descriptors into force. There is no factory for commands: whoever expects
/// one makes it. ISO/IEC 14496-1, 7.2.5.5.
class CObjectDescriptorUpdate : public CBaseCommand {
 public:
  CObjectDescriptorUpdate() : CBaseCommand(1) {}
  explicit CObjectDescriptorUpdate(const CBaseCommand* header) : CBaseCommand(header) {}

  /// Counts as a level of nesting: MP4_BAD_DESCRIPTOR for descriptors more than 63 deep.
  Mp4Result Deserialize(CStorage* storage) override;
  Mp4Result Serialize(CStorage* storage) override;
  Mp4Result SerializeToBuffer(u8** cursor, u32* room) override;
  Mp4Result Dump(int indent) override;
  Mp4Result CalculateSize() override;

  /// Adds and owns `descriptor`. MP4_BAD_ARGUMENT for null, MP4_NO_MEMORY.
  Mp4Result AddDescriptor(std::unique_ptr<CBaseDescriptor> descriptor);

 private:
  CDescriptorList m_descriptors{nullptr};
};

}  // namespace kt

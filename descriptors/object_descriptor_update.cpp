#include "descriptors/object_descriptor_update.h"

#include <cstdio>

#include "descriptors/size_code.h"
#include "engine/storage/printing.h"

namespace kt {

Mp4Result CObjectDescriptorUpdate::Deserialize(CStorage* storage) {
  const CNesting nesting(storage);  // a command is a level of its own when it is printed
  return m_descriptors.DeserializeDescriptors(storage, &m_remaining);
}

Mp4Result CObjectDescriptorUpdate::Serialize(CStorage* storage) {
  KT_TRY(CBaseCommand::Serialize(storage));
  return m_descriptors.SerializeAll(storage);
}

Mp4Result CObjectDescriptorUpdate::SerializeToBuffer(u8** cursor, u32* room) {
  KT_TRY(CBaseCommand::SerializeToBuffer(cursor, room));
  return m_descriptors.SerializeDescriptors(cursor, room);
}

Mp4Result CObjectDescriptorUpdate::Dump(int indent) {
  KT_TRY(CBaseCommand::Dump(indent));
  PrintIndent(indent);
  std::printf("{\n");
  KT_TRY(m_descriptors.DumpDescriptors(indent + 1, 1));
  PrintIndent(indent);
  std::printf("}\n");
  return MP4_OK;
}

Mp4Result CObjectDescriptorUpdate::CalculateSize() {
  KT_TRY(CBaseCommand::CalculateSize());
  return m_descriptors.CalculateDescriptorsSize(&m_size);
}

Mp4Result CObjectDescriptorUpdate::AddDescriptor(std::unique_ptr<CBaseDescriptor> descriptor) {
  return m_descriptors.Add(std::move(descriptor));
}

}  // namespace kt

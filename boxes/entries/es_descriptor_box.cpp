#include "boxes/entries/es_descriptor_box.h"

#include <new>

#include "descriptors/descriptor_list.h"

namespace kt {

Mp4Result CESDBox::Deserialize(CStorage* storage) {
  KT_TRY(CFullBox::Deserialize(storage));
  std::unique_ptr<CBaseDescriptor> descriptor;
  u32 tag = 0;
  KT_TRY(CreateDescriptor(storage, 0, &descriptor, &tag));
  if (tag != kEsDescriptorTag) return MP4_BAD_BOX;
  m_pDescriptor.reset(static_cast<CESDescriptor*>(descriptor.release()));
  const u64 size = m_pDescriptor->WholeLength();
  if (m_remaining < size) return MP4_DESCRIPTOR_OVERRUN;
  m_remaining -= size;
  return MP4_OK;
}

Mp4Result CESDBox::Serialize(CStorage* storage) {
  KT_TRY(CFullBox::Serialize(storage));
  return m_pDescriptor ? m_pDescriptor->Serialize(storage) : MP4_BAD_BOX;
}

Mp4Result CESDBox::Dump(int indent) {
  KT_TRY(CFullBox::Dump(indent));
  return m_pDescriptor ? m_pDescriptor->DumpAt(indent + 1, m_level + 1) : MP4_BAD_BOX;
}

Mp4Result CESDBox::CalculateSize() {
  KT_TRY(CFullBox::CalculateSize());
  if (!m_pDescriptor) return MP4_BAD_BOX;
  KT_TRY(m_pDescriptor->CalculateSize());
  m_size += m_pDescriptor->WholeLength();
  return MP4_OK;
}

Mp4Result CESDBox::MakeDescriptor(CESDescriptor** descriptor) {
  if (!m_pDescriptor) m_pDescriptor.reset(new (std::nothrow) CESDescriptor);
  *descriptor = m_pDescriptor.get();
  return m_pDescriptor ? MP4_OK : MP4_NO_MEMORY;
}

}  // namespace kt

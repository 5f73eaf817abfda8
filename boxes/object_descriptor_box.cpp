#include "boxes/object_descriptor_box.h"

#include <cstdio>
#include <new>

namespace kt {
namespace {

constexpr u8 kNoProfile = 0xFF;

}  // namespace

CBaseDescriptor* CObjectDescriptorBox::Descriptor() const {
  if (m_initialDescriptor) return m_initialDescriptor.get();
  return m_objectDescriptor.get();
}

Mp4Result CObjectDescriptorBox::Deserialize(CStorage* storage) {
  KT_TRY(CFullBox::Deserialize(storage));
  std::unique_ptr<CBaseDescriptor> descriptor;
  u32 tag = 0;
  KT_TRY(CreateDescriptor(storage, 0, &descriptor, &tag));
  const u64 length = descriptor->WholeLength();
  if (tag == kMp4InitialObjectDescriptorTag) {
    m_initialDescriptor.reset(static_cast<CInitialObjectDescriptor*>(descriptor.release()));
  } else if (tag == kMp4ObjectDescriptorTag) {
    m_objectDescriptor.reset(static_cast<CObjectDescriptor*>(descriptor.release()));
  } else {
    return MP4_BAD_DESCRIPTOR;
  }
  if (m_remaining < length) return MP4_DESCRIPTOR_OVERRUN;
  m_remaining -= length;
  return MP4_OK;
}

Mp4Result CObjectDescriptorBox::Serialize(CStorage* storage) {
  KT_TRY(CFullBox::Serialize(storage));
  CBaseDescriptor* descriptor = Descriptor();
  return descriptor != nullptr ? descriptor->Serialize(storage) : MP4_BAD_DESCRIPTOR;
}

Mp4Result CObjectDescriptorBox::Dump(int indent) {
  KT_TRY(CFullBox::Dump(indent));
  PrintIndent(indent);
  std::printf("{\n");
  CBaseDescriptor* descriptor = Descriptor();
  if (descriptor == nullptr) return MP4_BAD_DESCRIPTOR;
  KT_TRY(descriptor->DumpAt(indent + 1, m_level + 1));
  PrintIndent(indent);
  std::printf("}\n");
  return MP4_OK;
}

Mp4Result CObjectDescriptorBox::CalculateSize() {
  KT_TRY(CFullBox::CalculateSize());
  CBaseDescriptor* descriptor = Descriptor();
  if (descriptor == nullptr) return MP4_BAD_BOX;
  KT_TRY(descriptor->CalculateSize());
  m_size += descriptor->WholeLength();
  return MP4_OK;
}

Mp4Result CObjectDescriptorBox::SetDefaultDescriptor(u32 visualProfile, u32 audioProfile) {
  if (!m_initialDescriptor) m_initialDescriptor.reset(new (std::nothrow) CInitialObjectDescriptor);
  if (!m_initialDescriptor) return MP4_BAD_BOX;
  CInitialObjectDescriptor& descriptor = *m_initialDescriptor;
  KT_TRY(descriptor.SetObjectDescriptorId(1));
  KT_TRY(descriptor.SetUrlFlag(0));
  KT_TRY(descriptor.SetOdProfileLevel(kNoProfile));
  KT_TRY(descriptor.SetSceneProfileLevel(kNoProfile));
  KT_TRY(descriptor.SetAudioProfileLevel(static_cast<u8>(audioProfile)));
  KT_TRY(descriptor.SetVisualProfileLevel(static_cast<u8>(visualProfile)));
  KT_TRY(descriptor.SetGraphicsProfileLevel(kNoProfile));
  return descriptor.MakeStreamList();
}

Mp4Result CObjectDescriptorBox::AddEsId(u32 trackId) {
  return m_initialDescriptor ? m_initialDescriptor->AddEsIdInc(trackId) : MP4_NOT_READY;
}

Mp4Result CObjectDescriptorBox::GetInitialDescriptor(CInitialObjectDescriptor** descriptor) const {
  *descriptor = m_initialDescriptor.get();
  return MP4_OK;
}

}  // namespace kt

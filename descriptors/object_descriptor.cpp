#include "descriptors/object_descriptor.h"

#include "descriptors/es_id_descriptors.h"
#include "descriptors/size_code.h"

namespace kt {

Mp4Result CObjectDescriptor::SerializeToBuffer(u8** cursor, u32* room) {
  KT_TRY(CBaseDescriptor::SerializeToBuffer(cursor, room));
  KT_TRY(WriteToBuffer(cursor, room, FieldsSize(), [&](CStorage* block) { return WriteFields(block); }));
  if (m_urlFlag == 0 && !m_hasStreamList) return MP4_BAD_DESCRIPTOR;
  return ForEachList([&](CDescriptorList& list) { return list.SerializeDescriptors(cursor, room); });
}

Mp4Result CObjectDescriptor::SetFileForm(u32 fileForm) {
  m_tag = fileForm != 0 ? kMp4ObjectDescriptorTag : kObjectDescriptorTag;
  return MP4_OK;
}

Mp4Result CObjectDescriptor::AddEsIdRef(u32 refIndex) {
  std::unique_ptr<CESIDRef> reference(new (std::nothrow) CESIDRef);
  if (!reference) return MP4_NO_MEMORY;
  KT_TRY(reference->SetRefIndex(static_cast<u16>(refIndex)));
  return AddStream(std::move(reference));
}

Mp4Result CObjectDescriptor::AddEsDescriptor(std::unique_ptr<CBaseDescriptor> descriptor) {
  return AddStream(std::move(descriptor));
}

}  // namespace kt

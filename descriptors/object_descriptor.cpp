#include "descriptors/object_descriptor.h"

#include "descriptors/es_id_descriptors.h"

namespace kt {

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

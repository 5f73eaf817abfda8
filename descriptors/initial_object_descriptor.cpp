#include "descriptors/initial_object_descriptor.h"

#include "descriptors/es_id_descriptors.h"

namespace kt {

Mp4Result CInitialObjectDescriptor::SerializeToBuffer(u8** /*cursor*/, u32* /*room*/) {
  return MP4_NOT_READY;
}

Mp4Result CInitialObjectDescriptor::SetUrlFlag(u32 flag) {
  m_idAndFlags = static_cast<u16>(flag != 0 ? m_idAndFlags | kUrlBit : m_idAndFlags & ~kUrlBit);
  return MP4_OK;
}

Mp4Result CInitialObjectDescriptor::SetFileForm(u32 fileForm) {
  m_form.streamTag = fileForm != 0 ? kEsIdIncTag : kEsDescriptorTag;
  m_tag = fileForm != 0 ? kMp4InitialObjectDescriptorTag : kInitialObjectDescriptorTag;
  return MP4_OK;
}

Mp4Result CInitialObjectDescriptor::GetOdProfileLevel(u8* level) const {
  *level = m_levels[kOdLevel];
  return MP4_OK;
}

Mp4Result CInitialObjectDescriptor::GetSceneProfileLevel(u8* level) const {
  *level = m_levels[kSceneLevel];
  return MP4_OK;
}

Mp4Result CInitialObjectDescriptor::GetAudioProfileLevel(u8* level) const {
  *level = m_levels[kAudioLevel];
  return MP4_OK;
}

Mp4Result CInitialObjectDescriptor::GetVisualProfileLevel(u8* level) const {
  *level = m_levels[kVisualLevel];
  return MP4_OK;
}

Mp4Result CInitialObjectDescriptor::GetGraphicsProfileLevel(u8* level) const {
  *level = m_levels[kGraphicsLevel];
  return MP4_OK;
}

Mp4Result CInitialObjectDescriptor::SetOdProfileLevel(u8 level) {
  m_levels[kOdLevel] = level;
  return MP4_OK;
}

Mp4Result CInitialObjectDescriptor::SetSceneProfileLevel(u8 level) {
  m_levels[kSceneLevel] = level;
  return MP4_OK;
}

Mp4Result CInitialObjectDescriptor::SetAudioProfileLevel(u8 level) {
  m_levels[kAudioLevel] = level;
  return MP4_OK;
}

Mp4Result CInitialObjectDescriptor::SetVisualProfileLevel(u8 level) {
  m_levels[kVisualLevel] = level;
  return MP4_OK;
}

Mp4Result CInitialObjectDescriptor::SetGraphicsProfileLevel(u8 level) {
  m_levels[kGraphicsLevel] = level;
  return MP4_OK;
}

Mp4Result CInitialObjectDescriptor::MakeStreamList() {
  m_hasStreamList = true;
  return MP4_OK;
}

Mp4Result CInitialObjectDescriptor::AddEsIdInc(u32 trackId) {
  KT_TRY(MakeStreamList());
  if (!IsFileForm()) return MP4_NOT_READY;
  std::unique_ptr<CESIDInc> pointer(new (std::nothrow) CESIDInc);
  if (!pointer) return MP4_NO_MEMORY;
  KT_TRY(pointer->SetTrackId(trackId));
  return AddStream(std::move(pointer));
}

Mp4Result CInitialObjectDescriptor::AddEsDescriptor(std::unique_ptr<CBaseDescriptor> descriptor) {
  if (IsFileForm()) return MP4_NOT_READY;
  return AddStream(std::move(descriptor));
}

}  // namespace kt

#include "descriptors/initial_object_descriptor.h"

#include <cstdio>

#include "descriptors/es_id_descriptors.h"
#include "engine/storage/field_io.h"
#include "engine/storage/printing.h"

namespace kt {
namespace {

constexpr u8 kInlineProfileLevelBit = 0x10;
constexpr u8 kReservedBits = 0x0F;
constexpr u32 kLevelsSize = 5;

}  // namespace

Mp4Result CInitialObjectDescriptor::SerializeToBuffer(u8** /*cursor*/, u32* /*room*/) {
  return MP4_NOT_READY;
}

void CInitialObjectDescriptor::TakeFlags(u8 flags) {
  m_includeInlineProfileLevelFlag = (flags & kInlineProfileLevelBit) != 0;
}

u8 CInitialObjectDescriptor::GiveFlags() const {
  return static_cast<u8>((m_includeInlineProfileLevelFlag != 0 ? kInlineProfileLevelBit : 0) | kReservedBits);
}

Mp4Result CInitialObjectDescriptor::ReadLevels(CStorage* storage) {
  if (m_remaining < kLevelsSize) return MP4_DESCRIPTOR_OVERRUN;
  return VisitLevels(CFieldReader<u32>(storage, &m_remaining));
}

Mp4Result CInitialObjectDescriptor::WriteLevels(CStorage* storage) {
  return VisitLevels(CFieldWriter(storage));
}

u32 CInitialObjectDescriptor::LevelsSize() const {
  return kLevelsSize;
}

void CInitialObjectDescriptor::DumpFlags(int indent) const {
  PrintIndent(indent);
  std::printf("IncludeInlineProfileLevelFlag: %s\n", m_includeInlineProfileLevelFlag != 0 ? "TRUE" : "FALSE");
}

void CInitialObjectDescriptor::DumpLevels(int indent) const {
  const struct {
    const char* name;
    u8 level;
  } rows[] = {
      {"OD", m_odProfileLevelIndication},
      {"Scene", m_sceneProfileLevelIndication},
      {"Audio", m_audioProfileLevelIndication},
      {"Visual", m_visualProfileLevelIndication},
      {"Graphics", m_graphicsProfileLevelIndication},
  };
  for (const auto& row : rows) {
    PrintIndent(indent);
    std::printf("%sProfileLevelIndication: 0x%02x\n", row.name, row.level);
  }
}

u32 CInitialObjectDescriptor::StreamTag() const {
  return m_fileForm != 0 ? kEsIdIncTag : kEsDescriptorTag;
}

Mp4Result CInitialObjectDescriptor::SetUrlFlag(u32 flag) {
  m_urlFlag = flag;
  return MP4_OK;
}

Mp4Result CInitialObjectDescriptor::SetFileForm(u32 fileForm) {
  m_fileForm = fileForm;
  m_tag = fileForm != 0 ? kMp4InitialObjectDescriptorTag : kInitialObjectDescriptorTag;
  return MP4_OK;
}

Mp4Result CInitialObjectDescriptor::GetOdProfileLevel(u8* level) const {
  *level = m_odProfileLevelIndication;
  return MP4_OK;
}

Mp4Result CInitialObjectDescriptor::GetSceneProfileLevel(u8* level) const {
  *level = m_sceneProfileLevelIndication;
  return MP4_OK;
}

Mp4Result CInitialObjectDescriptor::GetAudioProfileLevel(u8* level) const {
  *level = m_audioProfileLevelIndication;
  return MP4_OK;
}

Mp4Result CInitialObjectDescriptor::GetVisualProfileLevel(u8* level) const {
  *level = m_visualProfileLevelIndication;
  return MP4_OK;
}

Mp4Result CInitialObjectDescriptor::GetGraphicsProfileLevel(u8* level) const {
  *level = m_graphicsProfileLevelIndication;
  return MP4_OK;
}

Mp4Result CInitialObjectDescriptor::SetOdProfileLevel(u8 level) {
  m_odProfileLevelIndication = level;
  return MP4_OK;
}

Mp4Result CInitialObjectDescriptor::SetSceneProfileLevel(u8 level) {
  m_sceneProfileLevelIndication = level;
  return MP4_OK;
}

Mp4Result CInitialObjectDescriptor::SetAudioProfileLevel(u8 level) {
  m_audioProfileLevelIndication = level;
  return MP4_OK;
}

Mp4Result CInitialObjectDescriptor::SetVisualProfileLevel(u8 level) {
  m_visualProfileLevelIndication = level;
  return MP4_OK;
}

Mp4Result CInitialObjectDescriptor::SetGraphicsProfileLevel(u8 level) {
  m_graphicsProfileLevelIndication = level;
  return MP4_OK;
}

Mp4Result CInitialObjectDescriptor::MakeStreamList() {
  m_hasStreamList = true;
  return MP4_OK;
}

Mp4Result CInitialObjectDescriptor::AddEsIdInc(u32 trackId) {
  KT_TRY(MakeStreamList());
  if (m_fileForm == 0) return MP4_NOT_READY;
  std::unique_ptr<CESIDInc> pointer(new (std::nothrow) CESIDInc);
  if (!pointer) return MP4_NO_MEMORY;
  KT_TRY(pointer->SetTrackId(trackId));
  return AddStream(std::move(pointer));
}

Mp4Result CInitialObjectDescriptor::AddEsDescriptor(std::unique_ptr<CBaseDescriptor> descriptor) {
  if (m_fileForm != 0) return MP4_NOT_READY;
  return AddStream(std::move(descriptor));
}

}  // namespace kt

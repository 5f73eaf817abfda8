#include "descriptors/decoder_config_descriptor.h"

#include <cstdio>

#include "engine/storage/printing.h"

namespace kt {
namespace {

constexpr u32 kDefaultBufferSize = 0x140000;

}  // namespace

Mp4Result CDecoderConfigDescriptor::Deserialize(CStorage* storage) {
  if (m_remaining < FieldsSize()) return MP4_DESCRIPTOR_OVERRUN;
  KT_TRY(ReadFields(storage));
  m_streamType = m_streamByte >> 2;
  m_streamByte |= kReservedBit;
  m_children.reset();
  if (m_remaining == 0) return MP4_OK;  // no children, and no memory for a list of them
  KT_TRY(EnsureList(&m_children, this));
  return m_children->DeserializeDescriptors(storage, &m_remaining);
}

Mp4Result CDecoderConfigDescriptor::Serialize(CStorage* storage) {
  KT_TRY(CFieldsDescriptor::Serialize(storage));
  return m_children ? m_children->SerializeAll(storage) : MP4_OK;
}

Mp4Result CDecoderConfigDescriptor::SerializeToBuffer(u8** cursor, u32* room) {
  KT_TRY(CFieldsDescriptor::SerializeToBuffer(cursor, room));
  return m_children ? m_children->SerializeDescriptors(cursor, room) : MP4_OK;
}

Mp4Result CDecoderConfigDescriptor::Dump(int indent) {
  KT_TRY(CBaseDescriptor::Dump(indent));
  PrintIndent(indent);
  std::printf("Object indication: 0x%02x  Stream type: 0x%02x\n", m_objectTypeIndication, m_streamType);
  PrintIndent(indent);
  std::printf("UpStream flag: %s\n", (m_streamByte & kUpStreamBit) != 0 ? "TRUE" : "FALSE");
  PrintIndent(indent);
  std::printf("Buffer size DB: %d\n", static_cast<int>(m_bufferSizeDB & 0xFFFFFF));
  PrintIndent(indent);
  std::printf("Max. bitrate: %d Avg. bitrate: %d\n", static_cast<int>(m_maxBitrate),
              static_cast<int>(m_avgBitrate));
  return m_children ? m_children->DumpDescriptors(indent + 1, m_level + 1u) : MP4_OK;
}

Mp4Result CDecoderConfigDescriptor::CalculateSize() {
  KT_TRY(CFieldsDescriptor::CalculateSize());
  u32 children = 0;
  if (m_children) KT_TRY(m_children->CalculateDescriptorsSize(&children));
  return AddToSize(&m_size, children);
}

Mp4Result CDecoderConfigDescriptor::SetTypes(u8 objectType, u8 streamType) {
  m_objectTypeIndication = objectType;
  m_streamType = streamType;
  m_streamByte = static_cast<u8>(streamType << 2 | (m_streamByte & kUpStreamBit) | kReservedBit);
  m_bufferSizeDB = kDefaultBufferSize;
  return MP4_OK;
}

Mp4Result CDecoderConfigDescriptor::SetBitrates(u32 max, u32 avg) {
  m_maxBitrate = max;
  m_avgBitrate = avg;
  return MP4_OK;
}

Mp4Result CDecoderConfigDescriptor::SetDecoderSpecificInfo(const void* info, u32 size) {
  if (size == 0) return MP4_NOT_FOUND;
  KT_TRY(EnsureList(&m_children, this));
  CDecoderSpecificInfo* existing = nullptr;
  if (FindInfo(&existing) == MP4_OK) return existing->SetData(info, size);
  std::unique_ptr<CDecoderSpecificInfo> made(new (std::nothrow) CDecoderSpecificInfo);
  if (!made) return MP4_NO_MEMORY;
  KT_TRY(made->SetData(info, size));
  return m_children->Add(std::move(made));
}

Mp4Result CDecoderConfigDescriptor::FindInfo(CDecoderSpecificInfo** info) {
  if (!m_children) return MP4_NOT_FOUND;
  CBaseDescriptor* found = nullptr;
  KT_TRY(m_children->FindByTag(kDecoderSpecificInfoTag, &found, 1));
  *info = static_cast<CDecoderSpecificInfo*>(found);
  return MP4_OK;
}

Mp4Result CDecoderConfigDescriptor::GetDecoderSpecificInfo(u32 capacity, u32* size, void* buffer) {
  CDecoderSpecificInfo* info = nullptr;
  KT_TRY(FindInfo(&info));
  static_cast<void>(info->GetData(capacity, size, buffer));
  return MP4_OK;
}

Mp4Result CDecoderConfigDescriptor::GetDecoderSpecificInfoSize(u32* size) {
  CDecoderSpecificInfo* info = nullptr;
  KT_TRY(FindInfo(&info));
  return info->GetDataSize(size);
}

}  // namespace kt

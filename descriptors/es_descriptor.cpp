#include "descriptors/es_descriptor.h"

#include <cstdio>
#include <cstring>

#include "engine/storage/printing.h"

namespace kt {

Mp4Result CESDescriptor::Deserialize(CStorage* storage) {
  KT_TRY(ReadFields(storage));
  m_ocrStreamFlag = (m_flags & kOcrStreamBit) != 0;
  m_flags &= kStreamDependenceBit | kUrlBit | kPriorityBits;
  m_decoderConfig = nullptr;
  m_slConfig = nullptr;
  m_children.reset();
  KT_TRY(EnsureList(&m_children, this));
  KT_TRY(m_children->DeserializeDescriptors(storage, &m_remaining));
  CBaseDescriptor* child = nullptr;
  KT_TRY(m_children->FindByTag(kDecoderConfigDescriptorTag, &child, 1));
  m_decoderConfig = static_cast<CDecoderConfigDescriptor*>(child);
  KT_TRY(m_children->FindByTag(kSlConfigDescriptorTag, &child, 1));
  m_slConfig = static_cast<CSLConfigDescriptor*>(child);
  return MP4_OK;
}

Mp4Result CESDescriptor::Serialize(CStorage* storage) {
  KT_TRY(CFieldsDescriptor::Serialize(storage));
  return m_children ? m_children->SerializeAll(storage) : MP4_NOT_READY;
}

Mp4Result CESDescriptor::SerializeToBuffer(u8** cursor, u32* room) {
  KT_TRY(CFieldsDescriptor::SerializeToBuffer(cursor, room));
  if (m_decoderConfig == nullptr || m_slConfig == nullptr) return MP4_BAD_DESCRIPTOR;
  return m_children->SerializeDescriptors(cursor, room);
}

Mp4Result CESDescriptor::Dump(int indent) {
  KT_TRY(CBaseDescriptor::Dump(indent));
  PrintIndent(indent);
  std::printf("ES_ID: %d\n", m_esId);
  PrintIndent(indent);
  std::printf("Stream dependence flag: %d URL flag %d OCR stream flag %d\n", HasStreamDependence(), HasUrl(),
              m_ocrStreamFlag);
  PrintIndent(indent);
  std::printf("Stream priority: %d\n", m_flags & kPriorityBits);
  if (HasStreamDependence()) {
    PrintIndent(indent);
    std::printf("Depends on ES-Id: %d\n", m_dependsOnEsId);
  }
  if (HasUrl()) DumpUrl(indent);
  return m_children ? m_children->DumpDescriptors(indent + 1, m_level + 1u) : MP4_NOT_READY;
}

void CESDescriptor::DumpUrl(int indent) const {
  constexpr u32 kCharactersPerLine = 60;
  PrintIndent(indent);
  std::printf("URL length %d URL string:", m_urlLength);
  for (u32 i = 0; i < m_urlLength; ++i) {
    if (i % kCharactersPerLine == 0) {
      std::printf("\n");
      PrintIndent(indent + 1);
    }
    std::printf("%c", m_url[i]);
  }
  std::printf("\n");
}

Mp4Result CESDescriptor::CalculateSize() {
  KT_TRY(CFieldsDescriptor::CalculateSize());
  if (!m_children) return MP4_BAD_DESCRIPTOR;
  u32 children = 0;
  KT_TRY(m_children->CalculateDescriptorsSize(&children));
  return AddToSize(&m_size, children);
}

Mp4Result CESDescriptor::SetEsId(u16 id) {
  m_esId = id;
  return MP4_OK;
}

Mp4Result CESDescriptor::SetUrl(const void* text, u32 length) {
  if (text == nullptr) return MP4_BAD_ARGUMENT;
  std::unique_ptr<u8[]> url(new (std::nothrow) u8[length]);
  if (!url) return MP4_NO_MEMORY;
  std::memcpy(url.get(), text, length);
  m_url = std::move(url);
  m_flags |= kUrlBit;
  m_urlLength = static_cast<u8>(length);
  return MP4_OK;
}

Mp4Result CESDescriptor::SetDecoderType(u8 objectType, u8 streamType, const void* info, u32 infoSize) {
  if (m_decoderConfig != nullptr) return MP4_NOT_READY;
  std::unique_ptr<CDecoderConfigDescriptor> made(new (std::nothrow) CDecoderConfigDescriptor);
  if (!made) return MP4_NO_MEMORY;
  KT_TRY(made->SetTypes(objectType, streamType));
  if (infoSize != 0) KT_TRY(made->SetDecoderSpecificInfo(info, infoSize));
  return AddDecoderConfig(std::move(made));
}

Mp4Result CESDescriptor::AddDecoderConfig(std::unique_ptr<CDecoderConfigDescriptor> decoderConfig) {
  if (!decoderConfig) return MP4_NO_MEMORY;
  CDecoderConfigDescriptor* added = decoderConfig.get();
  KT_TRY(EnsureList(&m_children, this));
  KT_TRY(m_children->Add(std::move(decoderConfig)));
  m_decoderConfig = added;
  return MP4_OK;
}

Mp4Result CESDescriptor::SetBitrates(u32 max, u32 avg) {
  if (m_decoderConfig == nullptr) {
    KT_TRY(AddDecoderConfig(
        std::unique_ptr<CDecoderConfigDescriptor>(new (std::nothrow) CDecoderConfigDescriptor)));
  }
  return m_decoderConfig->SetBitrates(max, avg);
}

Mp4Result CESDescriptor::SetSlPredefined(u8 predefined) {
  if (m_slConfig == nullptr) {
    std::unique_ptr<CSLConfigDescriptor> made(new (std::nothrow) CSLConfigDescriptor);
    if (!made) return MP4_NO_MEMORY;
    CSLConfigDescriptor* added = made.get();
    KT_TRY(EnsureList(&m_children, this));
    KT_TRY(m_children->Add(std::move(made)));
    m_slConfig = added;
  }
  return m_slConfig->SetPredefined(predefined);
}

Mp4Result CESDescriptor::GetDecoderSpecificInfo(u32 capacity, u32* size, void* buffer) {
  if (m_decoderConfig == nullptr) return MP4_NOT_FOUND;
  return m_decoderConfig->GetDecoderSpecificInfo(capacity, size, buffer);
}

Mp4Result CESDescriptor::GetDecoderSpecificInfoSize(u32* size) {
  if (m_decoderConfig == nullptr) return MP4_NOT_FOUND;
  return m_decoderConfig->GetDecoderSpecificInfoSize(size);
}

}  // namespace kt

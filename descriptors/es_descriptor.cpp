#include "descriptors/es_descriptor.h"

#include <cstdio>
#include <cstring>

#include "descriptors/counted_text.h"
#include "descriptors/size_code.h"
#include "engine/storage/field_io.h"
#include "engine/storage/printing.h"

namespace kt {
namespace {

constexpr u32 kFixedSize = 3;
constexpr u8 kStreamDependenceBit = 0x80;
constexpr u8 kUrlBit = 0x40;
constexpr u8 kOcrStreamBit = 0x20;
constexpr u8 kPriorityBits = 0x05;

}  // namespace

Mp4Result CESDescriptor::Deserialize(CStorage* storage) {
  if (m_remaining < kFixedSize) return MP4_DESCRIPTOR_OVERRUN;
  CFieldReader<u32> reader(storage, &m_remaining);
  u8 flags = 0;
  KT_TRY(reader(m_esId, flags));
  m_streamDependenceFlag = (flags & kStreamDependenceBit) != 0;
  m_urlFlag = (flags & kUrlBit) != 0;
  m_ocrStreamFlag = (flags & kOcrStreamBit) != 0;
  m_streamPriority = flags & kPriorityBits;
  if (m_streamDependenceFlag != 0) {
    if (m_remaining < sizeof(m_dependsOnEsId)) return MP4_DESCRIPTOR_OVERRUN;
    KT_TRY(reader(m_dependsOnEsId));
  }
  if (m_urlFlag != 0) KT_TRY(ReadCountedText(storage, &m_remaining, &m_urlLength, &m_url));
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

Mp4Result CESDescriptor::WriteFields(CStorage* storage) {
  KT_TRY(storage->WriteUInt16(m_esId));
  KT_TRY(storage->WriteUInt8(static_cast<u8>((m_streamDependenceFlag != 0 ? kStreamDependenceBit : 0) |
                                             (m_urlFlag != 0 ? kUrlBit : 0) | m_streamPriority)));
  if (m_streamDependenceFlag != 0) KT_TRY(storage->WriteUInt16(m_dependsOnEsId));
  return m_urlFlag != 0 ? WriteCountedText(storage, m_urlLength, m_url.get()) : MP4_OK;
}

u32 CESDescriptor::FieldsSize() const {
  return kFixedSize + (m_streamDependenceFlag != 0 ? u32{sizeof(m_dependsOnEsId)} : 0) +
         (m_urlFlag != 0 ? 1u + m_urlLength : 0);
}

Mp4Result CESDescriptor::Serialize(CStorage* storage) {
  KT_TRY(CBaseDescriptor::Serialize(storage));
  KT_TRY(WriteFields(storage));
  return m_children ? m_children->SerializeAll(storage) : MP4_NOT_READY;
}

Mp4Result CESDescriptor::SerializeToBuffer(u8** cursor, u32* room) {
  KT_TRY(CBaseDescriptor::SerializeToBuffer(cursor, room));
  KT_TRY(WriteToBuffer(cursor, room, FieldsSize(), [&](CStorage* block) { return WriteFields(block); }));
  if (m_decoderConfig == nullptr || m_slConfig == nullptr) return MP4_BAD_DESCRIPTOR;
  return m_children->SerializeDescriptors(cursor, room);
}

Mp4Result CESDescriptor::Dump(int indent) {
  KT_TRY(CBaseDescriptor::Dump(indent));
  PrintIndent(indent);
  std::printf("ES_ID: %d\n", m_esId);
  PrintIndent(indent);
  std::printf("Stream dependence flag: %u URL flag %u OCR stream flag %u\n", m_streamDependenceFlag,
              m_urlFlag, m_ocrStreamFlag);
  PrintIndent(indent);
  std::printf("Stream priority: %d\n", m_streamPriority);
  if (m_streamDependenceFlag != 0) {
    PrintIndent(indent);
    std::printf("Depends on ES-Id: %d\n", m_dependsOnEsId);
  }
  if (m_urlFlag != 0) DumpUrl(indent);
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
  KT_TRY(CBaseDescriptor::CalculateSize());
  KT_TRY(AddToSize(&m_size, FieldsSize()));
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
  m_urlFlag = 1;
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

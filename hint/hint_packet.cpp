#include "hint/hint_packet.h"
#include "engine/storage/printing.h"

#include <cstdio>
#include <limits>
#include <new>

namespace kt {
namespace {

constexpr u32 kHeaderSize = 12;

constexpr u8 kReadPadding = 0x40;
constexpr u8 kReadExtension = 0x20;
constexpr u8 kMarker = 0x80;
constexpr u8 kPayloadType = 0x7F;
constexpr u8 kExtra = 4;
constexpr u8 kBFrame = 2;
constexpr u8 kRepeat = 1;

u32 IsSet(u8 byte, u8 bit) {
  return (byte & bit) != 0 ? 1 : 0;
}

}  // namespace

Mp4Result CHintPacket::SetHeader(u8 payloadType, u16 sequenceNumber, u32 bFrame, i32 relativeTime) {
  m_payloadType = payloadType;
  m_sequenceNumber = sequenceNumber;
  m_bFrameFlag = bFrame;
  m_relativeTime = relativeTime;
  m_entryCount = 0;
  return MP4_OK;
}

Mp4Result CHintPacket::SetMarker(u32 marker) {
  m_markerFlag = marker;
  return MP4_OK;
}

Mp4Result CHintPacket::AddImmediate(const u8* data, u32 size) {
  std::unique_ptr<CRTPImmediateConstructor> made(new (std::nothrow) CRTPImmediateConstructor);
  if (!made) return MP4_NO_MEMORY;
  KT_TRY(made->SetData(data, size));
  return Append(std::move(made));
}

Mp4Result CHintPacket::AddSample(u32 /*ignored*/, u32 length, u32 sampleNumber, u32 sampleOffset) {
  std::unique_ptr<CRTPSampleConstructor> made(new (std::nothrow) CRTPSampleConstructor);
  if (!made) return MP4_NO_MEMORY;
  KT_TRY(made->SetValues(0, static_cast<u16>(length), sampleNumber, sampleOffset));
  return Append(std::move(made));
}

Mp4Result CHintPacket::Append(std::unique_ptr<CRTPBaseConstructor> constructor) {
  if (m_entryCount == std::numeric_limits<u16>::max()) return MP4_NOT_READY;
  KT_TRY(m_constructors.Add(std::move(constructor)));
  ++m_entryCount;
  return MP4_OK;
}

Mp4Result CHintPacket::Deserialize(CStorage* storage, u32* remaining) {
  KT_TRY(ReadHeader(storage));
  if (*remaining < kHeaderSize) return MP4_CORRUPT;
  *remaining -= kHeaderSize;
  if (m_extraFlag != 0) KT_TRY(ReadExtraList(storage, remaining));
  for (u32 i = 0; i < m_entryCount; ++i) KT_TRY(ReadConstructor(storage, remaining));
  return MP4_OK;
}

Mp4Result CHintPacket::ReadHeader(CStorage* storage) {
  u8 flags = 0;
  u8 marked = 0;
  u8 reserved = 0;
  u8 more = 0;
  KT_TRY(storage->ReadInt32(&m_relativeTime));
  KT_TRY(storage->ReadUInt8(&flags));
  KT_TRY(storage->ReadUInt8(&marked));
  KT_TRY(storage->ReadUInt16(&m_sequenceNumber));
  KT_TRY(storage->ReadUInt8(&reserved));
  KT_TRY(storage->ReadUInt8(&more));
  KT_TRY(storage->ReadUInt16(&m_entryCount));
  m_paddingFlag = IsSet(flags, kReadPadding);
  m_extensionFlag = IsSet(flags, kReadExtension);
  m_markerFlag = IsSet(marked, kMarker);
  m_payloadType = marked & kPayloadType;
  m_extraFlag = IsSet(more, kExtra);
  m_bFrameFlag = IsSet(more, kBFrame);
  m_repeatFlag = IsSet(more, kRepeat);
  return MP4_OK;
}

Mp4Result CHintPacket::ReadExtraList(CStorage* storage, u32* remaining) {
  if (m_extraList) return MP4_NOT_READY;
  m_extraList.emplace(nullptr);
  KT_TRY(storage->ReadUInt32(&m_extraLength));
  if (*remaining < m_extraLength || m_extraLength < sizeof(m_extraLength)) return MP4_CORRUPT;
  u64 listSize = m_extraLength - sizeof(m_extraLength);
  KT_TRY(m_extraList->DeserializeAll(storage, &listSize));
  *remaining -= m_extraLength;
  return MP4_OK;
}

Mp4Result CHintPacket::ReadConstructor(CStorage* storage, u32* remaining) {
  if (*remaining < CRTPBaseConstructor::kSize) return MP4_CORRUPT;
  std::unique_ptr<CRTPBaseConstructor> constructor;
  u8 type = 0;
  KT_TRY(CreateConstructor(storage, &constructor, &type));
  *remaining -= CRTPBaseConstructor::kSize;
  return m_constructors.Add(std::move(constructor));
}

// The flags of the first header byte stand where they have in RTP, one bit lower than where they are read; no
// hinter sets one of them.
Mp4Result CHintPacket::Serialize(CStorage* storage) {
  const u32 flags = (m_paddingFlag * 2 + m_extensionFlag) * 16;
  const u32 marked = (m_markerFlag != 0 ? kMarker : 0u) | (m_payloadType & kPayloadType);
  const u32 more = (m_extraFlag != 0 ? kExtra : 0u) | (m_bFrameFlag != 0 ? kBFrame : 0u) |
                   (m_repeatFlag != 0 ? kRepeat : 0u);
  KT_TRY(storage->WriteInt32(m_relativeTime));
  KT_TRY(storage->WriteUInt8(static_cast<u8>(flags)));
  KT_TRY(storage->WriteUInt8(static_cast<u8>(marked)));
  KT_TRY(storage->WriteUInt16(m_sequenceNumber));
  KT_TRY(storage->WriteUInt8(0));
  KT_TRY(storage->WriteUInt8(static_cast<u8>(more)));
  KT_TRY(storage->WriteUInt16(m_entryCount));
  if (m_extraFlag != 0 && m_extraList) return MP4_NOT_READY;
  for (u32 i = 1; i <= m_constructors.GetCount(); ++i) {
    CRTPBaseConstructor* constructor = nullptr;
    KT_TRY(m_constructors.GetByIndex(i, &constructor));
    KT_TRY(constructor->Serialize(storage));
  }
  return MP4_OK;
}

Mp4Result CHintPacket::Dump(int indent) {
  const auto number = [](u32 value) { return static_cast<int>(value); };
  PrintIndent(indent);
  std::printf("Relative time: %d RTP header flags P:%d X:%d M:%d\n", m_relativeTime, number(m_paddingFlag),
              number(m_extensionFlag), number(m_markerFlag));
  PrintIndent(indent);
  std::printf("Payload type: %d RTP sequence seed: %d Extra flag: %d b-frame: %d repeat: %d\n", m_payloadType,
              m_sequenceNumber, number(m_extraFlag), number(m_bFrameFlag), number(m_repeatFlag));
  PrintIndent(indent);
  std::printf("Entry count: %d \n", m_entryCount);
  if (m_entryCount != 0) {
    PrintIndent(indent);
    std::printf("{\n");
    for (u32 i = 1; i <= m_constructors.GetCount(); ++i) {
      CRTPBaseConstructor* constructor = nullptr;
      KT_TRY(m_constructors.GetByIndex(i, &constructor));
      KT_TRY(constructor->Dump(indent + 1));
    }
    PrintIndent(indent);
    std::printf("}\n");
  }
  if (m_extraFlag == 0) return MP4_OK;
  PrintIndent(indent);
  std::printf("ExtraInformationLength %d", number(m_extraLength));
  PrintIndent(indent);
  std::printf("{\n");
  if (m_extraList) KT_TRY(m_extraList->DumpAll(indent + 1));
  PrintIndent(indent);
  std::printf("}\n");
  return MP4_OK;
}

Mp4Result CHintPacket::CalculatePacketSize() {
  u64 size = kHeaderSize + u64{m_constructors.GetCount()} * CRTPBaseConstructor::kSize;
  if (m_extraFlag != 0) {
    if (!m_extraList) return MP4_NOT_READY;
    u64 listSize = 0;
    KT_TRY(m_extraList->CalculateSizeAll(&listSize));
    size += sizeof(m_extraLength) + listSize;
  }
  m_packetSize = static_cast<u32>(size);
  return MP4_OK;
}

Mp4Result CHintPacket::GetPacketSize(u32* size) const {
  *size = m_packetSize;
  return MP4_OK;
}

}  // namespace kt

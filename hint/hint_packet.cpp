#include "hint/hint_packet.h"
#include "engine/storage/memory_storage.h"
#include "engine/storage/printing.h"

#include <cstdio>
#include <limits>

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

void CHintPacket::Restart() {
  m_facts = {};
  m_extraList.reset();
  m_constructors.Clear();
}

Mp4Result CHintPacket::SetHeader(u8 payloadType, u16 sequenceNumber, u32 bFrame, i32 relativeTime) {
  m_facts.payloadType = payloadType;
  m_facts.sequenceNumber = sequenceNumber;
  m_facts.bFrameFlag = bFrame;
  m_facts.relativeTime = relativeTime;
  m_facts.entryCount = 0;
  return MP4_OK;
}

Mp4Result CHintPacket::SetMarker(u32 marker) {
  m_facts.markerFlag = marker;
  return MP4_OK;
}

Mp4Result CHintPacket::AddImmediate(const u8* data, u32 size) {
  CRTPImmediateConstructor made;
  KT_TRY(made.SetData(data, size));
  return Append(&made);
}

Mp4Result CHintPacket::AddSample(u32 /*ignored*/, u32 length, u32 sampleNumber, u32 sampleOffset) {
  CRTPSampleConstructor made;
  KT_TRY(made.SetValues(0, static_cast<u16>(length), sampleNumber, sampleOffset));
  return Append(&made);
}

Mp4Result CHintPacket::Append(CRTPBaseConstructor* constructor) {
  if (m_facts.entryCount == std::numeric_limits<u16>::max()) return MP4_NOT_READY;
  KT_TRY(Keep(constructor));
  ++m_facts.entryCount;
  return MP4_OK;
}

Mp4Result CHintPacket::Keep(CRTPBaseConstructor* constructor) {
  ConstructorBytes kept;
  CMemoryStorage storage;
  KT_TRY(storage.Open(kept.bytes, sizeof kept.bytes, MP4_MODE_WRITE));
  KT_TRY(constructor->Serialize(&storage));
  return m_constructors.Append(kept);
}

Mp4Result CHintPacket::Deserialize(CStorage* storage, u32* remaining) {
  KT_TRY(ReadHeader(storage));
  if (*remaining < kHeaderSize) return MP4_CORRUPT;
  *remaining -= kHeaderSize;
  if (m_facts.extraFlag != 0) KT_TRY(ReadExtraList(storage, remaining));
  for (u32 i = 0; i < m_facts.entryCount; ++i) KT_TRY(ReadConstructor(storage, remaining));
  return MP4_OK;
}

Mp4Result CHintPacket::ReadHeader(CStorage* storage) {
  u8 flags = 0;
  u8 marked = 0;
  u8 reserved = 0;
  u8 more = 0;
  KT_TRY(storage->ReadInt32(&m_facts.relativeTime));
  KT_TRY(storage->ReadUInt8(&flags));
  KT_TRY(storage->ReadUInt8(&marked));
  KT_TRY(storage->ReadUInt16(&m_facts.sequenceNumber));
  KT_TRY(storage->ReadUInt8(&reserved));
  KT_TRY(storage->ReadUInt8(&more));
  KT_TRY(storage->ReadUInt16(&m_facts.entryCount));
  m_facts.paddingFlag = IsSet(flags, kReadPadding);
  m_facts.extensionFlag = IsSet(flags, kReadExtension);
  m_facts.markerFlag = IsSet(marked, kMarker);
  m_facts.payloadType = marked & kPayloadType;
  m_facts.extraFlag = IsSet(more, kExtra);
  m_facts.bFrameFlag = IsSet(more, kBFrame);
  m_facts.repeatFlag = IsSet(more, kRepeat);
  return MP4_OK;
}

Mp4Result CHintPacket::ReadExtraList(CStorage* storage, u32* remaining) {
  if (m_extraList) return MP4_NOT_READY;
  m_extraList.emplace(nullptr);
  KT_TRY(storage->ReadUInt32(&m_facts.extraLength));
  if (*remaining < m_facts.extraLength || m_facts.extraLength < sizeof(m_facts.extraLength))
    return MP4_CORRUPT;
  u64 listSize = m_facts.extraLength - sizeof(m_facts.extraLength);
  KT_TRY(m_extraList->DeserializeAll(storage, &listSize));
  *remaining -= m_facts.extraLength;
  return MP4_OK;
}

Mp4Result CHintPacket::ReadConstructor(CStorage* storage, u32* remaining) {
  if (*remaining < CRTPBaseConstructor::kSize) return MP4_CORRUPT;
  std::unique_ptr<CRTPBaseConstructor> constructor;
  u8 type = 0;
  KT_TRY(CreateConstructor(storage, &constructor, &type));
  *remaining -= CRTPBaseConstructor::kSize;
  return Keep(constructor.get());
}

// The flags of the first header byte stand where they have in RTP, one bit lower than where they are read; no
// hinter sets one of them.
Mp4Result CHintPacket::Serialize(CStorage* storage) {
  const u32 flags = (m_facts.paddingFlag * 2 + m_facts.extensionFlag) * 16;
  const u32 marked = (m_facts.markerFlag != 0 ? kMarker : 0u) | (m_facts.payloadType & kPayloadType);
  const u32 more = (m_facts.extraFlag != 0 ? kExtra : 0u) | (m_facts.bFrameFlag != 0 ? kBFrame : 0u) |
                   (m_facts.repeatFlag != 0 ? kRepeat : 0u);
  u8 header[kHeaderSize];
  CFieldEncoder encoder(header);
  KT_TRY(encoder(m_facts.relativeTime, static_cast<u8>(flags), static_cast<u8>(marked),
                 m_facts.sequenceNumber, u8{0}, static_cast<u8>(more), m_facts.entryCount));
  KT_TRY(storage->WriteBytes(header, sizeof header));
  if (m_facts.extraFlag != 0 && m_extraList) return MP4_NOT_READY;
  for (const ConstructorBytes& constructor : m_constructors.All()) {
    KT_TRY(storage->WriteBytes(constructor.bytes, sizeof constructor.bytes));
  }
  return MP4_OK;
}

Mp4Result CHintPacket::Dump(int indent) {
  const auto number = [](u32 value) { return static_cast<int>(value); };
  PrintIndent(indent);
  std::printf("Relative time: %d RTP header flags P:%d X:%d M:%d\n", m_facts.relativeTime,
              number(m_facts.paddingFlag), number(m_facts.extensionFlag), number(m_facts.markerFlag));
  PrintIndent(indent);
  std::printf("Payload type: %d RTP sequence seed: %d Extra flag: %d b-frame: %d repeat: %d\n",
              m_facts.payloadType, m_facts.sequenceNumber, number(m_facts.extraFlag),
              number(m_facts.bFrameFlag), number(m_facts.repeatFlag));
  PrintIndent(indent);
  std::printf("Entry count: %d \n", m_facts.entryCount);
  if (m_facts.entryCount != 0) {
    PrintIndent(indent);
    std::printf("{\n");
    KT_TRY(DumpConstructors(indent + 1));
    PrintIndent(indent);
    std::printf("}\n");
  }
  if (m_facts.extraFlag == 0) return MP4_OK;
  PrintIndent(indent);
  std::printf("ExtraInformationLength %d", number(m_facts.extraLength));
  PrintIndent(indent);
  std::printf("{\n");
  if (m_extraList) KT_TRY(m_extraList->DumpAll(indent + 1));
  PrintIndent(indent);
  std::printf("}\n");
  return MP4_OK;
}

// Without asking for memory, so that nothing is printed by halves.
Mp4Result CHintPacket::DumpConstructors(int indent) {
  CRTPNoOpConstructor noOp;
  CRTPImmediateConstructor immediate;
  CRTPSampleConstructor sample;
  CRTPSampleDescriptionConstructor description;
  CRTPBaseConstructor* const byType[] = {&noOp, &immediate, &sample, &description};
  for (ConstructorBytes& kept : m_constructors.All()) {
    CMemoryStorage storage;
    u8 type = 0;
    KT_TRY(storage.Open(kept.bytes, sizeof kept.bytes, MP4_MODE_READ));
    KT_TRY(storage.ReadUInt8(&type));
    KT_TRY(byType[type]->Deserialize(&storage));
    KT_TRY(byType[type]->Dump(indent));
  }
  return MP4_OK;
}

Mp4Result CHintPacket::CalculatePacketSize() {
  u64 size = kHeaderSize + u64{m_constructors.Count()} * CRTPBaseConstructor::kSize;
  if (m_facts.extraFlag != 0) {
    if (!m_extraList) return MP4_NOT_READY;
    u64 listSize = 0;
    KT_TRY(m_extraList->CalculateSizeAll(&listSize));
    size += sizeof(m_facts.extraLength) + listSize;
  }
  m_facts.packetSize = static_cast<u32>(size);
  return MP4_OK;
}

Mp4Result CHintPacket::GetPacketSize(u32* size) const {
  *size = m_facts.packetSize;
  return MP4_OK;
}

}  // namespace kt

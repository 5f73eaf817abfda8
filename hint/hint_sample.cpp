#include "hint/hint_sample.h"
#include "engine/storage/printing.h"

#include <cstdio>
#include <limits>
#include <new>

namespace kt {
namespace {

constexpr u32 kHeaderSize = 4;

}  // namespace

Mp4Result CHintSample::AddPacket(CHintPacket** packet) {
  if (m_packetCount == std::numeric_limits<u16>::max()) return MP4_NOT_READY;
  KT_TRY(TakePacket(packet));
  ++m_packetCount;
  return MP4_OK;
}

Mp4Result CHintSample::TakePacket(CHintPacket** packet) {
  if (m_packetsInUse == m_packets.Count()) {
    std::unique_ptr<CHintPacket> made(new (std::nothrow) CHintPacket);
    if (!made) return MP4_NO_MEMORY;
    KT_TRY(m_packets.Append(std::move(made)));
  }
  *packet = m_packets.All()[m_packetsInUse++].get();
  (*packet)->Restart();
  return MP4_OK;
}

Mp4Result CHintSample::GetPacket(u32 index, CHintPacket** packet) {
  if (index == 0) return MP4_ZERO_INDEX;
  if (index > m_packetsInUse) return MP4_NOT_FOUND;
  *packet = Packets()[index - 1].get();
  return MP4_OK;
}

Mp4Result CHintSample::Deserialize(CStorage* storage, u32 size) {
  KT_TRY(Free());
  m_size = size;
  u16 reserved = 0;
  KT_TRY(storage->ReadUInt16(&m_packetCount));
  KT_TRY(storage->ReadUInt16(&reserved));
  if (size < kHeaderSize) return MP4_CORRUPT;
  m_remaining = size - kHeaderSize;
  for (u32 i = 0; i < m_packetCount; ++i) KT_TRY(ReadPacket(storage));
  return ReadExtraData(storage);
}

// A packet that cannot be read to its end is none of the sample's.
Mp4Result CHintSample::ReadPacket(CStorage* storage) {
  CHintPacket* packet = nullptr;
  KT_TRY(TakePacket(&packet));
  const Mp4Result result = packet->Deserialize(storage, &m_remaining);
  if (result != MP4_OK) --m_packetsInUse;
  return result;
}

Mp4Result CHintSample::ReadExtraData(CStorage* storage) {
  const u32 size = m_remaining;
  m_remaining = 0;
  m_extraDataSize = size;  // also of a block that cannot be had
  if (size == 0) return MP4_OK;
  KT_TRY(storage->RequireBytes(size));
  m_extraData.reset(new (std::nothrow) u8[size]);
  if (!m_extraData) return MP4_NO_MEMORY;
  return storage->ReadBlock(m_extraData.get(), size);
}

Mp4Result CHintSample::Serialize(CStorage* storage) {
  KT_TRY(storage->WriteUInt16(m_packetCount));
  KT_TRY(storage->WriteUInt16(0));
  for (const auto& packet : Packets()) KT_TRY(packet->Serialize(storage));
  if (m_extraDataSize == 0) return MP4_OK;
  if (!m_extraData) return MP4_NOT_READY;
  return storage->ReadBlock(m_extraData.get(), m_extraDataSize);
}

Mp4Result CHintSample::CalculateSize() {
  m_size += kHeaderSize;
  for (const auto& packet : Packets()) {
    u32 packetSize = 0;
    KT_TRY(packet->CalculatePacketSize());
    KT_TRY(packet->GetPacketSize(&packetSize));
    m_size += packetSize;
  }
  m_size += m_extraDataSize;
  return MP4_OK;
}

Mp4Result CHintSample::GetSize(u32* size) const {
  *size = m_size;
  return MP4_OK;
}

Mp4Result CHintSample::Dump(int indent) {
  PrintIndent(indent);
  std::printf("Packet Count %d\n", m_packetCount);
  PrintIndent(indent);
  std::printf("{\n");
  for (const auto& packet : Packets()) KT_TRY(packet->Dump(indent + 1));
  PrintIndent(indent);
  std::printf("}\n");
  if (m_extraDataSize > 0) {
    PrintIndent(indent);
    std::printf("Extra data size %d\n", static_cast<int>(m_extraDataSize));
  }
  return MP4_OK;
}

Mp4Result CHintSample::Free() {
  m_packets = {};
  m_packetsInUse = 0;
  m_packetCount = 0;
  m_extraData.reset();
  m_extraDataSize = 0;
  return MP4_OK;
}

void CHintSample::Restart() {
  m_packetsInUse = 0;
  m_packetCount = 0;
  m_extraData.reset();
  m_extraDataSize = 0;
  m_size = 0;
}

}  // namespace kt

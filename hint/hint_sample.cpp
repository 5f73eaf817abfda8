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
  std::unique_ptr<CHintPacket> added(new (std::nothrow) CHintPacket);
  if (!added) return MP4_NO_MEMORY;
  CHintPacket* const borrowed = added.get();
  KT_TRY(m_packets.Add(std::move(added)));
  ++m_packetCount;
  *packet = borrowed;
  return MP4_OK;
}

Mp4Result CHintSample::GetPacket(u32 index, CHintPacket** packet) {
  return m_packets.GetByIndex(index, packet);
}

Mp4Result CHintSample::Deserialize(CStorage* storage, u32 size) {
  KT_TRY(Free());
  m_size = size;
  u16 reserved = 0;
  KT_TRY(storage->ReadUInt16(&m_packetCount));
  KT_TRY(storage->ReadUInt16(&reserved));
  if (size < kHeaderSize) return MP4_CORRUPT;
  m_remaining = size - kHeaderSize;
  for (u32 i = 0; i < m_packetCount; ++i) {
    std::unique_ptr<CHintPacket> packet(new (std::nothrow) CHintPacket);
    if (!packet) return MP4_NO_MEMORY;
    KT_TRY(packet->Deserialize(storage, &m_remaining));
    KT_TRY(m_packets.Add(std::move(packet)));
  }
  return ReadExtraData(storage);
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
  for (u32 i = 1; i <= m_packets.GetCount(); ++i) {
    CHintPacket* packet = nullptr;
    KT_TRY(m_packets.GetByIndex(i, &packet));
    KT_TRY(packet->Serialize(storage));
  }
  if (m_extraDataSize == 0) return MP4_OK;
  if (!m_extraData) return MP4_NOT_READY;
  return storage->ReadBlock(m_extraData.get(), m_extraDataSize);
}

Mp4Result CHintSample::CalculateSize() {
  m_size += kHeaderSize;
  for (u32 i = 1; i <= m_packets.GetCount(); ++i) {
    CHintPacket* packet = nullptr;
    u32 packetSize = 0;
    KT_TRY(m_packets.GetByIndex(i, &packet));
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
  for (u32 i = 1; i <= m_packets.GetCount(); ++i) {
    CHintPacket* packet = nullptr;
    KT_TRY(m_packets.GetByIndex(i, &packet));
    KT_TRY(packet->Dump(indent + 1));
  }
  PrintIndent(indent);
  std::printf("}\n");
  if (m_extraDataSize > 0) {
    PrintIndent(indent);
    std::printf("Extra data size %d\n", static_cast<int>(m_extraDataSize));
  }
  return MP4_OK;
}

Mp4Result CHintSample::Free() {
  m_packets.Clear();
  m_packetCount = 0;
  m_extraData.reset();
  m_extraDataSize = 0;
  return MP4_OK;
}

}  // namespace kt

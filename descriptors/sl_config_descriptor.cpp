#include "descriptors/sl_config_descriptor.h"

#include <cinttypes>
#include <cstdio>

#include "descriptors/size_code.h"
#include "engine/field_io.h"

namespace kt {
namespace {

constexpr u8 kCustom = 0;
constexpr u32 kCustomHeaderSize = 15;
constexpr u32 kDurationsSize = 8;

}  // namespace

Mp4Result CSLConfigDescriptor::Deserialize(CStorage* storage) {
  if (m_remaining == 0) return MP4_DESCRIPTOR_OVERRUN;
  CFieldReader<u32> reader(storage, &m_remaining);
  KT_TRY(reader(m_predefined));
  KT_TRY(SetPredefined(m_predefined));
  if (m_predefined == kCustom) KT_TRY(ReadCustomHeader(storage));
  if (m_durationFlag != 0) KT_TRY(ReadDurations(storage));
  KT_TRY(CheckStartTimeStamps());
  if (m_remaining > 0) {
    KT_TRY(storage->RequireBytes(m_remaining));
    KT_TRY(storage->Skip(m_remaining));
    m_remaining = 0;
  }
  return MP4_OK;
}

Mp4Result CSLConfigDescriptor::ReadCustomHeader(CStorage* storage) {
  if (m_remaining < kCustomHeaderSize) return MP4_DESCRIPTOR_OVERRUN;
  CFieldReader<u32> reader(storage, &m_remaining);
  u8 flags = 0;
  u16 packedLengths = 0;
  KT_TRY(VisitCustomHeader(reader, flags, packedLengths));
  m_useAccessUnitStartFlag = flags & 0x80;
  m_useAccessUnitEndFlag = flags & 0x40;
  m_useRandomAccessPointFlag = flags & 0x20;
  m_hasRandomAccessUnitsOnlyFlag = flags & 0x10;
  m_usePaddingFlag = flags & 0x08;
  m_useTimeStampsFlag = flags & 0x04;
  m_useIdleFlag = flags & 0x02;
  m_durationFlag = flags & 0x01;
  m_degradationPriorityLength = static_cast<u8>(packedLengths >> 12);
  m_auSeqNumLength = packedLengths >> 7 & 0x1F;
  // The lowest bit of this length is lost, and readers rely on it.
  m_packetSeqNumLength = packedLengths >> 2 & 0x1E;
  m_reserved = 3;
  return MP4_OK;
}

Mp4Result CSLConfigDescriptor::ReadDurations(CStorage* storage) {
  if (m_remaining < kDurationsSize) return MP4_DESCRIPTOR_OVERRUN;
  CFieldReader<u32> reader(storage, &m_remaining);
  // Both durations land in the first field, the later one prevails, and readers rely on it.
  return reader(m_timeScale, m_accessUnitDuration, m_accessUnitDuration);
}

Mp4Result CSLConfigDescriptor::CheckStartTimeStamps() const {
  if (m_useTimeStampsFlag != 0 || m_timeStampLength == 0) return MP4_OK;
  if (m_timeStampLength > 64) return MP4_BAD_VALUE;
  return m_remaining < StartTimeStampsSize() ? MP4_DESCRIPTOR_OVERRUN : MP4_NOT_READY;
}

Mp4Result CSLConfigDescriptor::Serialize(CStorage* storage) {
  KT_TRY(CBaseDescriptor::Serialize(storage));
  if (m_predefined == kCustom) return MP4_BAD_VALUE;
  KT_TRY(storage->WriteUInt8(m_predefined));
  return m_durationFlag != 0 || StartTimeStampsSize() != 0 ? MP4_NOT_READY : MP4_OK;
}

Mp4Result CSLConfigDescriptor::SerializeToBuffer(u8** cursor, u32* room) {
  KT_TRY(CBaseDescriptor::SerializeToBuffer(cursor, room));
  if (m_predefined == kCustom) return MP4_NOT_READY;
  KT_TRY(WriteToBuffer(cursor, room, 1, [&](CStorage* block) { return block->WriteUInt8(m_predefined); }));
  if (m_useTimeStampsFlag != 0) return m_durationFlag != 0 ? MP4_NOT_READY : MP4_OK;
  return *room < StartTimeStampsSize() ? MP4_BUFFER_TOO_SMALL : MP4_NOT_READY;
}

Mp4Result CSLConfigDescriptor::Dump(int indent) {
  KT_TRY(CBaseDescriptor::Dump(indent));
  PrintIndent(indent);
  std::printf("Predefined SL header: %d\n", m_predefined);
  if (m_durationFlag != 0) {
    PrintIndent(indent);
    std::printf("Time Scale: %d\n", static_cast<int>(m_timeScale));
    PrintIndent(indent);
    std::printf("Access unit duration: %d\n", m_accessUnitDuration);
    PrintIndent(indent);
    std::printf("Composition unit duration: %d\n", m_compositionUnitDuration);
  }
  if (m_useTimeStampsFlag == 0 && m_timeStampLength > 0) {
    PrintIndent(indent);
    std::printf("Start decoding timec stamp: %" PRIu64 "\n", m_startDecodingTimeStamp);
    PrintIndent(indent);
    std::printf("Start composition timec stamp: %" PRIu64 "\n", m_startCompositionTimeStamp);
  }
  return MP4_OK;
}

Mp4Result CSLConfigDescriptor::CalculateSize() {
  KT_TRY(CBaseDescriptor::CalculateSize());
  return AddToSize(&m_size, 1u + (m_durationFlag != 0 ? kDurationsSize : 0) + StartTimeStampsSize());
}

Mp4Result CSLConfigDescriptor::SetPredefined(u8 value) {
  m_predefined = value;
  if (value > 2) return MP4_NOT_READY;
  if (value == kCustom) return MP4_OK;
  m_useAccessUnitStartFlag = 0;
  m_useAccessUnitEndFlag = 0;
  m_useRandomAccessPointFlag = 0;
  m_hasRandomAccessUnitsOnlyFlag = 0;
  m_usePaddingFlag = 0;
  m_useTimeStampsFlag = 0;
  m_useIdleFlag = 0;
  m_auLength = 0;
  m_degradationPriorityLength = 0;
  m_auSeqNumLength = 0;
  m_packetSeqNumLength = 0;
  if (value == 1) return MP4_OK;
  m_durationFlag = 0;
  m_timeStampLength = 0;
  m_ocrLength = 0;
  m_instantBitrateLength = 0;
  return MP4_OK;
}

}  // namespace kt

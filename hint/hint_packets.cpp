#include <ktmp4/hint_packets.h>

#include <algorithm>

namespace kt {
namespace {

constexpr u32 kSampleHeaderSize = 4;
constexpr u32 kPacketHeaderSize = 12;
constexpr u32 kExtraLengthSize = 4;
constexpr u32 kPieceSize = 16;
constexpr u8 kMostImmediateBytes = 14;
constexpr u8 kExtraFlag = 4;

u16 Read16(const u8* bytes) {
  return static_cast<u16>(bytes[0] << 8 | bytes[1]);
}

u32 Read32(const u8* bytes) {
  return u32{Read16(bytes)} << 16 | Read16(bytes + 2);
}

}  // namespace

bool CHintPackets::Take(u32 size, const u8** bytes) {
  if (m_left < size) return false;
  *bytes = m_next;
  m_next += size;
  m_left -= size;
  return true;
}

Mp4Result CHintPackets::TakeCount() {
  if (m_isBegun) return MP4_OK;
  const u8* bytes = nullptr;
  if (!Take(kSampleHeaderSize, &bytes)) return MP4_CORRUPT;
  m_packetsLeft = Read16(bytes);
  m_isBegun = true;
  return MP4_OK;
}

Mp4Result CHintPackets::NextPacket(RtpHeader* header) {
  KT_TRY(TakeCount());
  const u8* bytes = nullptr;
  if (!Take(m_piecesLeft * kPieceSize, &bytes)) return MP4_CORRUPT;
  m_piecesLeft = 0;
  if (m_packetsLeft == 0) return MP4_NOT_FOUND;
  if (!Take(kPacketHeaderSize, &bytes)) return MP4_CORRUPT;
  header->relativeTime = static_cast<i32>(Read32(bytes));
  header->padding = bytes[4] >> 6 & 1;
  header->extension = bytes[4] >> 5 & 1;
  header->marker = bytes[5] >> 7;
  header->payloadType = bytes[5] & 0x7F;
  header->sequenceNumber = Read16(bytes + 6);
  const u32 pieces = Read16(bytes + 10);
  if ((bytes[9] & kExtraFlag) != 0) {
    if (m_left < kExtraLengthSize) return MP4_CORRUPT;
    const u32 extraLength = Read32(m_next);  // counts itself
    if (extraLength < kExtraLengthSize || !Take(extraLength, &bytes)) return MP4_CORRUPT;
  }
  --m_packetsLeft;
  m_piecesLeft = pieces;
  return MP4_OK;
}

Mp4Result CHintPackets::NextPiece(RtpPiece* piece) {
  if (m_piecesLeft == 0) return MP4_NOT_FOUND;
  const u8* bytes = nullptr;
  if (!Take(kPieceSize, &bytes)) return MP4_CORRUPT;
  --m_piecesLeft;
  *piece = RtpPiece();
  if (bytes[0] > RTP_CONSTRUCTOR_SAMPLE_DESCRIPTION) return MP4_BAD_VALUE;
  piece->type = static_cast<RtpConstructorType>(bytes[0]);
  if (piece->type == RTP_CONSTRUCTOR_IMMEDIATE) {
    piece->length = std::min(bytes[1], kMostImmediateBytes);
    piece->bytes = bytes + 2;
  } else if (piece->type != RTP_CONSTRUCTOR_NO_OP) {
    piece->trackReference = bytes[1];
    piece->length = Read16(bytes + 2);
    piece->number = Read32(bytes + 4);
    piece->offset = Read32(bytes + 8);
  }
  return MP4_OK;
}

}  // namespace kt

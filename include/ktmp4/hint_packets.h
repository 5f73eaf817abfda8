#pragma once

#include <ktmp4/result.h>

namespace kt {

/// What a hint sample says of the header of an RTP packet. RFC 3550, 5.1.
struct RtpHeader {
  u32 padding = 0;         ///< The P bit, 0 or 1.
  u32 extension = 0;       ///< The X bit, 0 or 1.
  u32 marker = 0;          ///< The M bit, 0 or 1.
  u8 payloadType = 0;      ///< PT, from 0 to 127.
  u16 sequenceNumber = 0;  ///< A server adds its offset, modulo 2^16.
  i32 relativeTime = 0;    ///< Of sending, in ticks of the RTP clock behind the time of the hint sample.
};

/// What one instruction for the payload of a packet does. ISO/IEC 14496-12, 9.1.3.2.
enum RtpConstructorType : u8 {
  RTP_CONSTRUCTOR_NO_OP = 0,
  RTP_CONSTRUCTOR_IMMEDIATE = 1,
  RTP_CONSTRUCTOR_SAMPLE = 2,
  RTP_CONSTRUCTOR_SAMPLE_DESCRIPTION = 3,
};

/// A stretch of a packet's payload and where it comes from; the type says which of the fields count.
struct RtpPiece {
  /// `trackReference` of a piece that comes from the hint track's own samples.
  static constexpr u8 kHintTrack = 0xFF;

  /// Where the bytes come from.
  RtpConstructorType type = RTP_CONSTRUCTOR_NO_OP;
  /// IMMEDIATE: the bytes themselves, at most 14 of them, within the hint sample.
  const u8* bytes = nullptr;
  /// SAMPLE and SAMPLE_DESCRIPTION: the track, by its place from 0 among the references of the hint track.
  u8 trackReference = 0;
  /// Bytes of the piece.
  u16 length = 0;
  /// SAMPLE: the number of the sample; SAMPLE_DESCRIPTION: of the sample entry. Both count from 1.
  u32 number = 0;
  /// Where the piece begins in that sample or entry, in bytes.
  u32 offset = 0;
};

/// Goes once through the packets that a sample of an RTP hint track describes, and through the pieces of
/// each: what a server needs in order to send it. ISO/IEC 14496-12, 9.1.3.
///
///     CHintPackets hints(sample, size);
///     RtpHeader header;
///     while (!(result = hints.NextPacket(&header))) {
///       RtpPiece piece;
///       while (!(result = hints.NextPiece(&piece))) ...
///     }
///
/// Each operation answers MP4_NOT_FOUND behind the last one. Nothing is copied or kept: the bytes of the
/// sample are borrowed and have to outlive this object and the pieces that it hands out.
class CHintPackets {
 public:
  /// `size` is in bytes; `sample` may be null when it is 0.
  CHintPackets(const u8* sample, u32 size) : m_next(sample), m_left(size) {}

  /// Passes over what is left of the packet before. MP4_CORRUPT when the sample ends before the packet's
  /// header or its list of extra information does.
  KT_API Mp4Result NextPacket(RtpHeader* header);
  /// The next piece of the packet that `NextPacket` told of. MP4_CORRUPT when the sample ends before the
  /// piece, MP4_BAD_VALUE for an instruction that is not known, behind which the next one can be had.
  KT_API Mp4Result NextPiece(RtpPiece* piece);

 private:
  bool Take(u32 size, const u8** bytes);
  Mp4Result TakeCount();

  const u8* m_next;
  u32 m_left;              // bytes from `m_next` on
  bool m_isBegun = false;  // the count of packets has been read
  u32 m_packetsLeft = 0;
  u32 m_piecesLeft = 0;
};

}  // namespace kt

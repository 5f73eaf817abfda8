#pragma once

#include <span>

#include "hint/hint_sample.h"

namespace kt {

// Groups of media samples, or the pieces of one, as the packets of a hint sample: one pair of functions for
// each payload format. They know sizes and numbers of samples alone, no track and no file.

/// A sample of the media track.
struct MediaSample {
  u32 number = 0;  // counted from 1
  u32 size = 0;    // in bytes
};

/// What the packets of one hint track have in common. The sequence number rises with each packet, modulo
/// 2^16.
struct RtpStream {
  u8 payloadType = 96;
  u16 sequenceNumber = 0;
  u32 maxPacketSize = 500;  // bytes of payload
};

/// Puts a group of samples into packets. MP4_BAD_ARGUMENT for an empty group, MP4_NOT_READY for one that does
/// not fit, MP4_NO_MEMORY. The sequence number does not go back on failure.
using BuildGroup = Mp4Result (*)(RtpStream* stream, std::span<const MediaSample> group,
                                 CHintSample* hintSample);

/// Cuts a sample into packets, of which the last one is marked. MP4_NOT_FOUND for a sample of 0 bytes,
/// MP4_NOT_READY for more packets than a hint sample holds and where samples are not cut, MP4_NO_MEMORY.
using BuildFragments = Mp4Result (*)(RtpStream* stream, const MediaSample& sample, CHintSample* hintSample);

/// How samples become packets in a payload format.
struct PayloadFormat {
  BuildGroup buildGroup;
  BuildFragments buildFragments;
};

/// AAC in the mode AAC-hbr: the AU headers, of 13 bits of size and 3 of index, and then the samples. Of a cut
/// sample the first packet alone has a header, with the size of the whole. A sample that has to be cut needs
/// a limit of 4 bytes or more (MP4_NOT_READY). RFC 3640, 3.3.6.
extern const PayloadFormat kAacPayload;

/// MPEG-4 visual: the samples as they are, cut at the limit. RFC 3016, 3.
extern const PayloadFormat kVideoPayload;

/// LATM: each sample behind its length, 255 to a byte. A group takes as many packets as the limit asks for,
/// of which the last one is marked. MP4_NOT_READY for a sample that does not fit into a packet of its own,
/// and MP4_BAD_ARGUMENT for one that would fit and whose length takes more than 14 bytes. RFC 3016, 4;
/// ISO/IEC 14496-3, 1.7.3.
extern const PayloadFormat kLatmPayload;

/// Line 21 captions: a zero byte and then the samples; a cut sample goes without that byte.
extern const PayloadFormat kCaptionPayload;

}  // namespace kt

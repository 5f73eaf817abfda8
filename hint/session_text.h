#pragma once

#include <memory>
#include <optional>
#include <span>

#include <ktmp4/result.h>

namespace kt {

// The session description of a hinted file, as text: one media block for each hint track and one block for
// the movie. RFC 4566. Lines end with CR LF; the session lines that have to stand ahead (version, origin,
// name, time) are left to whoever serves the file.
//
// All of these make zero-terminated text and answer MP4_NO_MEMORY when they cannot.

using SessionText = std::unique_ptr<char[]>;

/// What the blocks of all kinds say of a hint track and the media track that it sends.
struct StreamFacts {
  u32 payloadType = 0;   // RFC 3551
  u32 maxBitrate = 0;    // bits per second
  u32 rtpTimeScale = 0;  // ticks per second
  u32 hintTrackId = 0;
  u32 trackNumber = 0;         // of the media track
  double durationSeconds = 0;  // of the media track; sound in AAC-hbr and captions do not tell it
};

/// The decoder specific info of the media track; nothing when it has none.
using DecoderInfo = std::optional<std::span<const u8>>;

/// Sound in AAC-hbr. The channels come from the decoder specific info, 2 where that does not tell. RFC
/// 3640, 4.1.
Mp4Result FormatAacBlock(const StreamFacts& facts, const DecoderInfo& info, SessionText* text);

/// Sound in LATM, with the StreamMuxConfig made around the decoder specific info, of which what exceeds its
/// 16 bytes is left out. RFC 3016, 5.3.
Mp4Result FormatLatmBlock(const StreamFacts& facts, u32 maxSamplesPerPacket, const DecoderInfo& info,
                          SessionText* text);

/// MPEG-4 visual. The size is that of the coded picture, in pixels. RFC 3016, 5.1.
Mp4Result FormatVideoBlock(const StreamFacts& facts, i16 width, i16 height, const DecoderInfo& info,
                           SessionText* text);

/// Line 21 captions, in this system's own payload format "608B".
Mp4Result FormatCaptionBlock(const StreamFacts& facts, SessionText* text);

/// Bytes in base64 as a URL that carries them. `mediaType` is the part behind "application/". RFC 2397.
Mp4Result FormatDataUrl(const char* mediaType, const char* base64, SessionText* text);

/// The block of the movie around an initial object descriptor in base64.
Mp4Result FormatMovieBlock(const char* initialObjectDescriptor, SessionText* text);

}  // namespace kt

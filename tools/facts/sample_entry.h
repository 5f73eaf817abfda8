#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <ktmp4/adapting_file.h>
#include "tools/files/file_boxes.h"

namespace kt {

/// What a sample entry says of how samples are coded, as it stands in the file: ISO/IEC 14496-12, 8.5.2.
struct SampleEntry {
  /// Four characters, as `CodeText` gives them; empty when there is no entry.
  std::string code;
  /// Of a picture in pixels, else 0.
  u32 width = 0;
  u32 height = 0;
  /// Of sound, else 0. Many entries say 2 channels whatever is in the stream.
  u32 channels = 0;
  u32 sampleRate = 0;
  /// The boxes behind the fields. Borrowed.
  ByteSpan boxes;

  /// The payload of a box that sets the decoder up; QuickTime sound has it inside of "wave".
  std::optional<ByteSpan> Box(std::string_view type) const;
};

/// The first entry of a track, out of the payload of its "trak", where it is laid out as the standard says.
SampleEntry FirstEntry(ByteSpan track);
/// What adapting has told of an entry, which can also be QuickTime's.
SampleEntry EntryOf(const AdaptedEntry& entry);
/// The first one of a track, of those that adapting has told where it has.
SampleEntry FirstEntry(const std::vector<AdaptedEntry>& entries, ByteSpan track);

/// The name in "hdlr", out of the payload of "trak". QuickTime counts its letters ahead of them.
std::string HandlerName(ByteSpan track, bool mayBeCounted);

/// What "esds" says: ISO/IEC 14496-1, 7.2.6.6.
struct MpegStream {
  u8 objectType = 0;
  /// The decoder specific info. Borrowed; empty when there is none.
  ByteSpan setUp;
};
std::optional<MpegStream> MpegStreamOf(const SampleEntry& entry);

/// The name of the coding, as exactly as the set-up of the decoder tells: "H.264, High profile, level 3.1",
/// "AAC, low complexity". Empty for a code that is not known.
std::string CodingText(const SampleEntry& entry);

}  // namespace kt

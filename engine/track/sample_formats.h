#pragma once

#include <ktmp4/types.h>

namespace kt {

/// The `Mp4SampleFormat` of a sample entry with this code, MP4_FORMAT_UNKNOWN when none is.
u32 FormatOfEntry(u32 code);

/// The code of the sample entry of a format, 0 unless tracks of that kind, MP4_KIND_VIDEO or MP4_KIND_AUDIO,
/// can have it.
u32 EntryOfFormat(u32 format, u32 kind);

}  // namespace kt

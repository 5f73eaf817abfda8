#pragma once

#include <span>
#include <vector>

#include <ktmp4/adapting_file.h>
#include "filter/formats/media_type.h"

namespace kt {

/// What a track of an adapted file tells of how its samples are coded.
struct CodedTrack {
  /// The first of its sample entries.
  AdaptedEntry entry;
  /// Mean time of a sample in 100 ns units, 0 when it is not known.
  i64 timePerSample = 0;
  /// Empty when it is not at hand. Borrowed.
  std::span<const u8> firstSample;
};

/// The platform's types, in the order of preference, under which installed decoders take the samples as they
/// stand in the file: H.264 ("avc1", "avc3"), HEVC ("hvc1", "hev1"), AAC and MP3 ("mp4a", ".mp3") and Opus,
/// each with the set-up of its decoder. None for any other coding, nor where the set-up is missing, cut
/// short, or larger than 1 MiB.
std::vector<MediaType> TypesOfEntry(const CodedTrack& track);

}  // namespace kt

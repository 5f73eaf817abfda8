#pragma once

#include <ktmp4/mp4_track.h>

namespace kt {

/// A sample of a Line 21 track has a byte that means nothing, the two of the pair, and at most three more.
inline constexpr u32 kShortestLine21Sample = 3;
inline constexpr u32 kLongestLine21Sample = 6;

/// Whether a text track holds captions. Its entry does not say what its samples are; titles of chapters and
/// subtitles are longer than a byte pair. `fileSize` in bytes.
bool LooksLikeLine21(CMp4Track& track, u64 fileSize);

}  // namespace kt

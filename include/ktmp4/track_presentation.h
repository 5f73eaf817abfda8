#pragma once

#include <ktmp4/mp4_track.h>

namespace kt {

// How a track wants to be presented, beside what `CMp4Track` says. All of these answer MP4_BAD_ARGUMENT for
// null and MP4_NOT_READY when the track is not bound to its boxes or has outlived its file. What is set goes
// into a track that is being written; MP4_NOT_READY on any other.

/// The four characters by which a sample entry, counted from 1, names its coding ("avc1"), also one that has
/// no `Mp4SampleFormat`. ISO/IEC 14496-12, 8.5.2. MP4_NOT_FOUND beyond the last, MP4_ZERO_INDEX for 0. Of an
/// adapted file `GetAdaptedEntry` tells what stands in the file itself.
KT_API Mp4Result GetTrackCoding(CMp4Track* track, u32 entryIndex, u32* code);

/// The language of the media as three small letters of ISO 639-2 and a zero: ISO/IEC 14496-12, 8.4.2.
/// MP4_NOT_FOUND when the file tells none in that form, as a written track does not unless one is set.
KT_API Mp4Result GetTrackLanguage(CMp4Track* track, char language[4]);
/// MP4_BAD_ARGUMENT unless it begins with three letters from a to z.
KT_API Mp4Result SetTrackLanguage(CMp4Track* track, const char* language);

/// The transformation of the picture, which turns, mirrors, moves or scales it: the nine numbers a, b, u, c,
/// d, v, x, y, w in this order, 16.16 fixed but for u, v and w, which are 2.30. ISO/IEC 14496-12, 6.2.2 and
/// 8.3.2. One that leaves the picture alone unless another is set.
KT_API Mp4Result GetTrackMatrix(CMp4Track* track, i32 matrix[9]);
KT_API Mp4Result SetTrackMatrix(CMp4Track* track, const i32 matrix[9]);

}  // namespace kt

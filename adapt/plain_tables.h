#pragma once

#include "adapt/movie.h"

namespace kt::adapt {

/// Reads the tables of "stbl" into those of the track: sizes in both forms ("stsz", "stz2"), times, offsets
/// below 0 as well, chunks and sync samples. ISO/IEC 14496-12, 8.6 and 8.7.
///
/// A track without sizes has no samples. Where the tables contradict each other, or claim more samples than
/// the file has bytes, the track is marked as left out. MP4_NO_MEMORY.
Mp4Result ReadPlainTables(CBytes sampleTable, u64 fileSize, CTrack* track);

}  // namespace kt::adapt

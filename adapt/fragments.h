#pragma once

#include "adapt/movie.h"

namespace kt::adapt {

/// Adds the samples of one "moof", which begins at `position` of the file, to the tables of its tracks.
/// ISO/IEC 14496-12, 8.8.
///
/// Runs go on behind the samples that are there; a gap between two fragments makes the sample ahead of it
/// longer, an overlap makes it shorter or, where it is too large, is taken out. Runs whose samples cannot lie
/// in the file are left out, as are those that would have to be listed out of proportion to the bytes that
/// claim them. MP4_NO_MEMORY.
Mp4Result AddFragment(CBytes moof, u64 position, CMovie* movie);

}  // namespace kt::adapt

#pragma once

#include "adapt/image_writer.h"
#include "adapt/movie.h"

namespace kt::adapt {

/// Writes "ftyp" and "moov" of a plain file that has the samples of `movie`, its tracks that are not left out
/// in their order, and positions of samples that are those of the real file. Adds notes to the tracks.
void WriteImage(CMovie* movie, CImageWriter* writer);

}  // namespace kt::adapt

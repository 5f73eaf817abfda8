#pragma once

#include <string>

#include <ktmp4/mp4_track.h>

namespace kt {

/// Throws a `Failure` unless the samples of a track fit into a file of `fileSize` bytes, all together. A few
/// bytes of tables can claim thousands of millions of samples, and chunks that overlap can claim each byte of
/// the file over and over; whoever goes through the samples of a track calls this first, so that memory, time
/// and output stay in proportion to the file. `name` is what a message calls the track: "track 1 of "x.mp4"".
///
/// It looks at sizes alone. Where one cannot be told it stops, since nobody gets beyond that sample.
void RequireSamplesFit(CMp4Track& track, u64 fileSize, const std::string& name);

}  // namespace kt

#pragma once

#include <string>
#include <vector>

#include "tools/diagnosis/box_place.h"
#include "tools/report/box_tree.h"
#include "tools/report/track_series.h"

namespace kt {

// Pictures as pieces of a page. A track has one colour in all of them, by its number from 1.

/// "t1", the class that has the track's colour.
std::string ColourClass(u32 track);

/// Bits a second over the time, and below them a line for each sync sample.
std::string BitRatePicture(const TrackSeries& series, u32 track);

/// How many samples have which size; those that are sync samples in full colour.
std::string SizesPicture(const TrackSeries& series, u32 track);

/// The file from its first byte to its last, with the boxes at its top.
std::string FileMap(const TreeBox& root, u64 fileSize);

/// A track for the picture below.
struct DrawnTrack {
  u32 index = 0;
  const TrackSeries* series = nullptr;
};
/// Where in the file which time of each track lies. Lines that run together are tracks that lie in turns, as
/// they are played.
std::string LayoutPicture(const std::vector<DrawnTrack>& tracks, u64 fileSize);

/// The largest distance in the file, in bytes, between what two tracks have for the same time.
u64 LargestDistance(const std::vector<DrawnTrack>& tracks);

}  // namespace kt

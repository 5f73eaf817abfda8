#pragma once

#include <vector>

#include <ktmp4/mp4_track.h>

namespace kt {

/// Whether a search for a sync sample at the sample's own composition time, in media ticks, finds the sample.
bool IsSyncSample(CMp4Track& track, u32 sample, u64 compositionTime);

/// The decoder specific info of the first sample entry; empty when it has none, or cannot tell it.
std::vector<u8> DecoderInfo(CMp4Track& track);

}  // namespace kt

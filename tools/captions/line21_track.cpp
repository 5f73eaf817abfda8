#include "tools/captions/line21_track.h"

namespace kt {

bool LooksLikeLine21(CMp4Track& track, u64 fileSize) {
  u32 samples = 0;
  if (track.GetSampleCount(&samples) != MP4_OK) return false;
  u64 bytes = 0;
  for (u64 sample = 1; sample <= samples; ++sample) {
    u32 size = 0;
    if (track.GetSampleSize(static_cast<u32>(sample), &size) != MP4_OK) return false;
    bytes += size;
    if (size > kLongestLine21Sample || bytes > fileSize) return false;
  }
  return true;
}

}  // namespace kt

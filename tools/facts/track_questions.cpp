#include "tools/facts/track_questions.h"

namespace kt {

bool IsSyncSample(CMp4Track& track, u32 sample, u64 compositionTime) {
  u32 sync = 0;
  return track.FindSyncSample(compositionTime, &sync) == MP4_OK && sync == sample;
}

std::vector<u8> DecoderInfo(CMp4Track& track) {
  u32 size = 0;
  if (track.GetDecoderSpecificInfoSize(1, &size)) return {};
  std::vector<u8> info(size);
  if (track.GetDecoderSpecificInfo(1, size, &size, info.data()) || size != info.size()) return {};
  return info;
}

}  // namespace kt

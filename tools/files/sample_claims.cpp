#include "tools/files/sample_claims.h"

#include "tools/terminal/failure.h"

namespace kt {

void RequireSamplesFit(CMp4Track& track, u64 fileSize, const std::string& name) {
  u32 count = 0;
  if (const Mp4Result result = track.GetSampleCount(&count)) {
    throw ResultFailure("cannot count the samples of " + name, result);
  }
  u64 bytes = 0;
  for (u64 sample = 1; sample <= count; ++sample) {
    u32 size = 0;
    if (track.GetSampleSize(static_cast<u32>(sample), &size) != MP4_OK) return;
    bytes += size;
    if (bytes <= fileSize) continue;
    throw Failure("cannot read sample " + std::to_string(sample) + " of " + name +
                  ": up to it the samples take " + std::to_string(bytes) + " bytes, and the file has " +
                  std::to_string(fileSize));
  }
}

}  // namespace kt

#pragma once

#include <vector>

#include "tools/notes.h"
#include "tools/scc_file.h"

namespace kt {

/// One sample of a Line 21 track: a byte pair at a frame.
struct CaptionSample {
  u64 frame = 0;
  BytePair pair = {};
  /// The first pair of a cue, and a sync sample: where decoding can begin.
  bool beginsCue = false;
  /// There is nothing in it. It fills a gap and comes from no caption file.
  bool isFiller = false;

  friend bool operator==(const CaptionSample&, const CaptionSample&) = default;
};

/// The three bytes of a sample, the first of which no decoder looks at. It tells a pair from a filler as the
/// caption data of digital television does (CEA-708, cc_data).
std::array<u8, 3> SampleBytes(const CaptionSample& sample);
/// Takes the bytes of a sample over; it has at least three.
void SetSampleBytes(const u8* bytes, CaptionSample* sample);

/// The pairs of all cues, one to a frame, in their order. A cue whose frame is still taken by the one before
/// follows that one at once, and `note` is told.
///
/// A track starts with the movie and its last sample is not delivered by every reader, so a filler stands at
/// frame 0 unless a cue does, and one behind the last pair. Further ones keep steps to `longestStep` frames.
std::vector<CaptionSample> LayOut(const SccFile& file, u64 longestStep, const Notes& note);

/// The cues that the samples make, without fillers. A new one begins behind a gap and, unless each sample
/// claims it, where a sample begins one.
std::vector<SccCue> GatherCues(const std::vector<CaptionSample>& samples);

}  // namespace kt

#pragma once

#include <string>
#include <vector>

#include "tools/facts/file_facts.h"

namespace kt {

/// What goes on in a track from its first sample to its last, in as many steps as a picture has.
struct TrackSeries {
  /// Bytes that are decoded in each of as many equal steps of the time.
  std::vector<u64> bytes;
  double begin = 0, end = 0;  // of all steps, in seconds

  /// When sync samples are decoded, in seconds: at most the first of each of some hundred steps.
  std::vector<double> syncTimes;
  u32 samples = 0;  // that were looked at
  u32 syncSamples = 0;
  double longestGap = 0;  // between two sync samples, in seconds

  /// How many samples have which size. There are four classes between 2^n and 2^(n+1).
  struct SizeClass {
    u64 from = 0;  // bytes
    u32 samples = 0;
    u32 syncSamples = 0;
  };
  std::vector<SizeClass> sizes;

  /// Where in the file which time lies.
  struct Place {
    double time = 0;  // in seconds
    u64 offset = 0;   // in the file, in bytes
  };
  std::vector<Place> places;
  /// Stretches of the file that have samples of this track alone.
  u64 pieces = 0;

  std::string fault;  // why it ends before its track does; empty when it does not
};

/// The steps that the series have.
inline constexpr u32 kSeriesSteps = 240;

/// Goes through all samples of a track. `boxes` is the payload of its "trak", by which they lie in the file.
TrackSeries GatherSeries(InputFile& input, const TrackFacts& facts, ByteSpan boxes);

}  // namespace kt

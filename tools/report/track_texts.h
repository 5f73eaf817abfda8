#pragma once

#include <string>
#include <vector>

#include "tools/facts/file_facts.h"

namespace kt {

/// What the first samples of a track say, row by row.
struct TrackTexts {
  std::vector<std::string> columns;
  std::vector<std::vector<std::string>> rows;
  u64 samplesLeft = 0;  // that were not looked at
  std::string fault;    // why there is no more; empty when nothing went wrong
};

/// The captions of a Line 21 track, or the texts of a track of timed text, behind their times. No column when
/// the track has neither.
TrackTexts CaptionsOf(InputFile& input, const TrackFacts& facts);

/// The packets that the first samples of a hint track describe.
TrackTexts PacketsOf(InputFile& input, const TrackFacts& facts);

}  // namespace kt

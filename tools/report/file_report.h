#pragma once

#include <string>
#include <vector>

#include "tools/diagnosis/diagnosis.h"
#include "tools/report/box_tree.h"
#include "tools/report/track_series.h"
#include "tools/report/track_texts.h"

namespace kt {

/// All that the page about a file shows.
struct FileReport {
  std::string name;
  u64 size = 0;
  /// Why it was refused; empty for a file that opened. Then there are boxes and no facts.
  std::string refusal;
  /// The box that broke it, where one did.
  std::optional<Diagnosis> diagnosis;
  /// What reading loses, in a line each.
  std::vector<std::string> notes;

  FileFacts facts;
  /// Of each track, in the order of `facts.tracks`.
  struct TrackReport {
    TrackSeries series;
    TrackTexts captions;
    TrackTexts packets;
    std::string fault;  // why there is nothing of it
  };
  std::vector<TrackReport> tracks;

  TreeBox boxes;
};

/// Gathers it. A file that was refused has its boxes all the same.
FileReport GatherReport(InputFile& input);

}  // namespace kt

#include "tools/report/file_report.h"

#include <algorithm>

#include "tools/terminal/failure.h"

namespace kt {
namespace {

// QuickTime can have its "moov" packed, and nothing of it can be read then.
bool HasPackedMovie(const TreeBox& root) {
  return std::ranges::any_of(root.children, [](const TreeBox& box) {
    return !box.children.empty() && box.children[0].place.code == CodeOf("cmov");
  });
}

// Samples that an edit hides are not counted by a track that was adapted, and by its tables they are.
bool AreSamplesThoseOfTables(const TrackFacts& facts) {
  return !facts.adapted || (facts.adapted->notes & ADAPT_SAMPLES_OUTSIDE_EDIT) == 0;
}

FileReport::TrackReport GatherTrack(InputFile& input, const TrackFacts& facts, ByteSpan boxes) {
  FileReport::TrackReport track;
  if (facts.result) {
    track.fault = std::string(Mp4ResultName(facts.result)) + ": " + Mp4ResultText(facts.result);
    return track;
  }
  try {
    track.series = GatherSeries(input, facts, AreSamplesThoseOfTables(facts) ? boxes : ByteSpan());
    track.captions = CaptionsOf(input, facts);
    track.packets = PacketsOf(input, facts);
  } catch (const Failure& failure) {
    track.fault = failure.what();
  }
  return track;
}

}  // namespace

FileReport GatherReport(InputFile& input) {
  FileReport report;
  report.name = input.Name();
  FileBytes file(input.Name());
  report.size = file.Size();
  report.boxes = ReadBoxTree(file);
  if (HasPackedMovie(report.boxes)) {
    report.notes.emplace_back("its \"moov\" is packed (\"cmov\"), and what is in it cannot be read");
  }
  if (input.Result()) {
    report.refusal = input.Reason();
    report.diagnosis = input.BrokenBox();
    return report;
  }
  input.TellReading([&](const std::string& note) { report.notes.push_back(note); });
  report.facts = GatherFacts(input);
  const std::vector<ByteSpan> boxes = input.TrackBoxes();
  for (std::size_t i = 0; i < report.facts.tracks.size(); ++i) {
    report.tracks.push_back(
        GatherTrack(input, report.facts.tracks[i], i < boxes.size() ? boxes[i] : ByteSpan()));
  }
  return report;
}

}  // namespace kt

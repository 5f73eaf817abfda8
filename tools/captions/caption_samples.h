#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tools/captions/scc_file.h"
#include "tools/terminal/notes.h"

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
///
/// Throws a `Failure` that begins with the number of the line whose pairs run past the last time code.
std::vector<CaptionSample> LayOut(const SccFile& file, u64 longestStep, const Notes& note);

/// Writes the samples of a track as the text of a caption file, as they come and without the fillers.
class SccWriter {
 public:
  using Print = std::function<void(const std::string& text)>;

  /// A line begins behind a gap and, with `marked`, with each sample that begins a cue. `print` takes the
  /// text piece by piece.
  SccWriter(FrameCount count, bool marked, Print print);
  /// Frames rise. Throws a `Failure` for a pair behind the last time code.
  void Add(const CaptionSample& sample);
  /// Ends the last line.
  void Finish();

 private:
  const FrameCount m_count;
  const bool m_marked;
  const Print m_print;
  bool m_inLine = false;
  /// Behind the last pair.
  u64 m_next = 0;
};

}  // namespace kt

#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/copy/track_copy.h"

namespace kt {

/// Where a copy goes.
struct CopyTarget {
  std::string name;
  /// Mp4FileType; without one the name decides.
  std::optional<u32> type;
  /// A file that has the name already may be replaced.
  bool force = false;
};

/// A file that is copied into a new one, with tracks that come from elsewhere behind its own. All failures
/// are thrown as `Failure`.
class MovieCopy {
 public:
  /// Opens `input` and makes sure that the target's name is free. `notes` takes what a person should know of
  /// what is left out or changed.
  MovieCopy(const InputChoice& input, CopyTarget target, Notes notes);

  /// Takes the tracks with these indices, which all have to be such as can be written; of an empty list, all
  /// tracks that can be.
  void Choose(std::vector<u32> indices);
  /// Adds a track that comes from the file `origin`.
  void Add(std::unique_ptr<TrackSource> source, const std::string& origin);
  /// Looks at all samples of the tracks that were taken and fails at the first that the writer would refuse.
  void Examine();
  /// Adds to the new file when all tracks are complete and it is about to be closed. It answers what the
  /// writer answers, and tells in `part` what it is at: "the hints of track 1 of "x.mp4"".
  using Finish = std::function<Mp4Result(CMp4File& output, std::string* part)>;
  /// Writes the new file. A signal that asks the program to end is thrown as `Interrupted`.
  void Write(const Finish& finish = {});

  /// The tracks that were taken, in the order of the new file, in which they come first.
  const std::vector<std::unique_ptr<TrackCopy>>& Copies() const { return m_copies; }
  /// Mp4FileType of the new file.
  u32 Type() const;

 private:
  std::unique_ptr<TrackCopy> TakeTrack(u32 index, const MovieDetails& details, bool wanted);
  void WriteTo(const class OutputPlace& place, const Interrupts& interrupts, const Finish& finish);
  void NoteType() const;
  void NoteLength() const;
  void WriteSamples(const class OutputPlace& place, const Interrupts& interrupts);

  CopyTarget m_target;
  Notes m_notes;
  InputFile m_input;
  std::vector<std::string> m_inputNames;
  std::vector<std::unique_ptr<TrackCopy>> m_copies;
  std::vector<std::unique_ptr<TrackSource>> m_added;
  bool m_isExamined = false;
  std::vector<TrackSource*> m_sources;  // all of them, in the order of the new file
};

}  // namespace kt

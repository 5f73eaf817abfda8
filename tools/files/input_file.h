#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <ktmp4/mp4_file.h>
#include <ktmp4/mp4_hint_track.h>
#include "tools/diagnosis/diagnosis.h"
#include "tools/files/adapted_facts.h"
#include "tools/files/file_boxes.h"
#include "tools/terminal/notes.h"

namespace kt {

/// Size in bytes; 0 when it cannot be told.
u64 FileSize(const std::string& name);

/// Gives a track back to the file that handed it out.
struct TrackCloser {
  CMp4File* file = nullptr;
  void operator()(CMp4Track* track) const;
};
using TrackHandle = std::unique_ptr<CMp4Track, TrackCloser>;

/// Which file a command reads, and how.
struct InputChoice {
  std::string name;
  /// As `CreateAdaptingMp4File` reads it.
  bool adapt = false;
};

/// A file that a command reads, with the messages that belong to it. Its tracks are to be closed before it.
class InputFile {
 public:
  /// Opens the file. That it is refused is no failure yet: see `Result` and `RequireOpen`.
  explicit InputFile(InputChoice choice);

  const std::string& Name() const { return m_choice.name; }
  /// Reads its samples by what adapting has made of it.
  bool IsAdapted() const;
  Mp4Result Result() const { return m_result; }
  /// What is wrong with a refused file, for a person; looked for at the first call.
  std::string Reason() const;
  /// The box that broke it, where one did, and no system was in the way.
  const std::optional<Diagnosis>& BrokenBox() const;
  /// Throws a `Failure` that tells why the file was refused.
  void RequireOpen() const;

  CMp4File& File() { return *m_file; }
  u64 Size() const { return FileSize(Name()); }
  /// What stands at the top of the file, read at the first call.
  const FileBoxes& Boxes() const;
  /// The payload of "trak" for each track of the library, as it stands in the file; empty where it is not
  /// found. Borrowed from the file.
  std::vector<ByteSpan> TrackBoxes();
  /// The box by which the file tells that samples are in fragments ("moof", or "mvex" where these are in
  /// other files). Empty when there is none.
  std::string Fragments() const;
  /// Throws a `Failure` when fragments are there and passed over, as by a strict reader. `what` is what the
  /// command does: "copy".
  void RequireNoFragments(const std::string& what) const;
  /// What reading loses: fragments that are passed over; what adapting did to the tracks, in a line each.
  void TellReading(const Notes& notes);
  /// The same of the samples and times of a track, by its index.
  void TellReading(const Notes& notes, u32 index);
  /// The track that was chosen; without a choice the only one. Throws a `Failure` when there are several.
  u32 ChosenTrack(const std::optional<u32>& choice);
  /// Opens a track by its index, or throws a `Failure`.
  TrackHandle OpenTrack(u32 index);
  /// The same for a hint track.
  std::unique_ptr<CMp4HintTrack> OpenHintTrack(u32 index);
  /// The indices of the hint tracks. A track that cannot be opened is noted and left out.
  std::vector<u32> HintTracks(const Notes& notes);

 private:
  void LookWhatIsWrong() const;
  std::string PassedFragments() const { return IsAdapted() ? "" : Fragments(); }
  void TellFragments(const Notes& notes) const;
  void Tell(const Notes& notes, const AdaptedTrack& track, u32 wanted) const;

  InputChoice m_choice;
  std::unique_ptr<CMp4File> m_file;
  Mp4Result m_result = MP4_OK;
  mutable std::optional<FileBoxes> m_boxes;
  // Of a refused file.
  mutable bool m_isDiagnosed = false;
  mutable std::string m_reason;
  mutable std::optional<Diagnosis> m_brokenBox;
};

}  // namespace kt

#pragma once

#include <string>
#include <vector>

#include "filter/logic/track_facts.h"

namespace kt {

/// The labels of the property page, by their numbers in its dialog.
enum TrackPageLabel : i32 {
  PAGE_TRACK_COUNT = 1027,
  PAGE_TRACK_ID = 1028,
  PAGE_MEDIA_TYPE = 1029,
  PAGE_SAMPLE_COUNT = 1030,
  PAGE_DURATION = 1031,
  PAGE_TIME_SCALE = 1034,
  PAGE_MOVIE_TIME_SCALE = 1035,
};

/// What the page calls a track of a `ReaderTrackType`. It reads the list in its own way, which people know:
/// captions are "BIFS", scene descriptions "Object Descriptor", object descriptors "Hint" and hints
/// "Unknown".
const char* TrackTypeWord(u32 type);

/// The property page that shows the facts of a file: what its labels say.
class TrackPage {
 public:
  struct Label {
    TrackPageLabel label;
    std::string text;

    bool operator==(const Label&) const = default;
  };
  using Labels = std::vector<Label>;

  /// Borrowed.
  explicit TrackPage(const FileFacts& facts) : m_facts(facts) {}

  /// Reads what concerns the whole file and selects the first track. Returns the labels to write, in order.
  Labels Activate();
  /// Selects a track, counted from 1; the labels to write, none in a file without tracks. A number beyond the
  /// last one shows 0 and an empty word; labels of what can not be told are left out and keep their text.
  Labels SelectTrack(i32 track);
  /// The last track that can be selected.
  i32 TrackCount() const { return m_trackCount; }

 private:
  Labels Refresh() const;

  const FileFacts& m_facts;
  i32 m_selectedTrack = 0;
  i32 m_trackCount = 0;
  u32 m_movieTimeScale = 0;
};

}  // namespace kt

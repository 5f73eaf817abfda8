#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include <ktmp4/types.h>
#include "tools/files/file_boxes.h"
#include "tools/files/input_file.h"

namespace kt {

/// What stands in the boxes of a track and is not asked for through the library: a copy has to know what it
/// loses. ISO/IEC 14496-12, 8.3.2, 8.4.2, 8.4.3, 8.5.2, 8.6.2.
struct TrackDetails {
  /// Three letters as a rule; empty when it is not told.
  std::string language;
  /// The matrix of the track, where it turns, moves or scales the picture.
  std::optional<std::array<i32, 9>> matrix;
  std::string handlerName;
  u32 sampleEntries = 0;
  /// The object type of a sample entry "mp4a", when there is one (ISO/IEC 14496-1, 7.2.6.6).
  std::optional<u8> objectType;
  /// The sync samples in rising order; without a table all samples are such.
  std::optional<std::vector<u32>> syncSamples;
  /// How many samples the times are told of, and how long the last of them lasts in media ticks.
  u64 timedSamples = 0;
  u32 lastDuration = 0;
  /// What the edit list says that a strict reader passes over; empty when there is nothing.
  std::string edits;
  /// The samples are others than the boxes tell of: of an adapted file, whose sync samples the library tells.
  bool isAdapted = false;

  /// Of a track that is not adapted.
  bool IsSync(u32 sampleNumber) const;
};

/// The boxes of a file that the library has opened, read a second time for what it does not tell. Of an
/// adapted file that is what stands in any file alike; what its boxes do not give is left empty.
class MovieDetails {
 public:
  /// Throws a `Failure` when the file cannot be read any more. The input is borrowed.
  explicit MovieDetails(InputFile& input);

  /// Of a track that is not there, and for boxes that are missing, the details are empty.
  TrackDetails Track(u32 index) const;
  /// What the movie says of all its tracks and a copy does not keep, in words.
  std::vector<std::string> Losses() const;

 private:
  // What its boxes say.
  TrackDetails DetailsOf(u32 index) const;

  InputFile& m_input;
  bool m_isAdapted;
  ByteSpan m_movie;  // the payload of "moov", which the input holds
  std::vector<ByteSpan> m_tracks;
};

}  // namespace kt

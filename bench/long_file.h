#pragma once

#include <string>
#include <vector>

#include <ktmp4/types.h>

namespace kt {

/// What a generated file holds. The samples carry bytes of no meaning: reading a file does not look into
/// them.
struct LongFile {
  u32 seconds = 7200;
  /// MPEG-4 visual at 25 pictures a second, two B-frames between references, a key frame every 12 pictures;
  /// otherwise a second AAC track stands in its place.
  bool withVideo = true;
  /// Chunks of this many samples; 0 lays out half a second of each track in turn.
  u32 samplesPerChunk = 0;
  /// Samples of a few bytes, so that many hours take little room.
  bool small = false;
  /// A fragment from each key frame to the next, and no sample in "moov".
  bool fragmented = false;

  static constexpr u32 kPictureRate = 25;
  static constexpr u32 kTicksPerPicture = 512;
  static constexpr u32 kSoundRate = 44100;
  static constexpr u32 kTicksPerSoundSample = 1024;
  static constexpr u32 kPicturesPerKeyFrame = 12;
};

/// Writes the file with libavformat's muxer, or takes the one that an earlier run has left in `folder`.
/// Answers its path; ends the program with a message when it cannot be written.
std::string MakeLongFile(const LongFile& wanted, const std::string& folder);

/// Times in ticks at which a viewer may seek, the same on every run.
std::vector<u64> RandomTimes(u32 count, u64 end);

}  // namespace kt

#pragma once

#include <memory>
#include <string>
#include <vector>

#include <ktmp4/adapting_file.h>
#include "bench/check.h"

namespace kt {

/// What a pass over samples has seen; both sides have to see the same.
struct Tally {
  u64 samples = 0;
  u64 bytes = 0;
  /// Times and first bytes, so that nothing of the work can be left out.
  u64 checksum = 0;

  void Add(u64 size, u64 decodingTime, u64 compositionTime, u8 firstByte) {
    ++samples;
    bytes += size;
    checksum += decodingTime + 3 * compositionTime + firstByte;
  }
  bool operator==(const Tally&) const = default;
};

/// A file with all its tracks bound. A failing call ends the program: the generated files are sound.
class COurReader {
 public:
  explicit COurReader(const std::string& path) : COurReader(path, CreateMp4File) {}
  COurReader(const COurReader&) = delete;
  COurReader& operator=(const COurReader&) = delete;
  ~COurReader();

  u32 TrackCount() const { return static_cast<u32>(m_tracks.size()); }
  u32 SampleCount(u32 track) const { return m_tracks[track].samples; }
  std::vector<u32> Sizes(u32 track);
  /// Whether a sample is decoded before the end of the `turn`-th half second.
  bool IsInTurn(u32 track, u32 sample, u64 turn);
  /// Composition time of the last sample in ticks.
  u64 LastTime(u32 track);

  /// Every sample in the order of the bytes in the file, which is half a second of each track in turn.
  Tally ReadInFileOrder();
  /// Every sample, always the one with the earliest decoding time of all tracks.
  Tally ReadByTime();
  /// One track after the other.
  Tally ReadByTrack();
  /// The same with one call for each sample.
  Tally ReadAtOnceByTrack();
  /// Size and both times of every sample, one track after the other; the bytes are not read.
  Tally ListByTrack();
  Tally ListAtOnceByTrack();
  /// What the delivery to a pin asks for each of `count` samples from `first` on: size, bytes, its time and
  /// the next one's, and whether it is a sync sample.
  Tally DeliverRange(u32 track, u32 first, u32 count);
  /// The bytes alone of `samples` by number, in that order.
  Tally ReadThese(u32 track, const std::vector<u32>& samples);
  /// The sync samples at `times`, summed up.
  u64 FindSyncSamples(u32 track, const std::vector<u64>& times);

 protected:
  COurReader(const std::string& path, Mp4Result (*create)(CMp4File**));

 private:
  struct Track {
    CMp4Track* face;
    u32 samples;
    u32 timeScale;
  };

  void Read(const Track& track, u32 sample, Tally* tally) {
    u32 size = 0;
    u64 decodingTime = 0;
    u64 compositionTime = 0;
    Check(track.face->ReadSample(sample, static_cast<u32>(m_buffer.size()), &size, m_buffer.data()),
          "ReadSample");
    Check(track.face->GetSampleDecodingTime(sample, &decodingTime), "GetSampleDecodingTime");
    Check(track.face->GetSampleCompositionTime(sample, &compositionTime), "GetSampleCompositionTime");
    tally->Add(size, decodingTime, compositionTime, m_buffer[0]);
  }

  std::unique_ptr<CMp4File> m_file;
  std::vector<Track> m_tracks;
  std::vector<u8> m_buffer = std::vector<u8>(1 << 16);
};

/// The same through the door for files of other writers.
class CAdaptingReader : public COurReader {
 public:
  explicit CAdaptingReader(const std::string& path) : COurReader(path, CreateAdaptingMp4File) {}
};

}  // namespace kt

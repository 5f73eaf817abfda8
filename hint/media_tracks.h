#pragma once

#include <memory>

#include "hint/media_track.h"

namespace kt {

/// The media tracks that a hint track packetises, open while this lives, and how far each has been gone
/// through.
class CMediaTracks {
 public:
  /// The sample whose turn it is.
  struct Turn {
    u32 slot = 0;  // of its track
    u32 trackNumber = 0;
    CMp4Track* track = nullptr;  // borrowed
    u32 sample = 0;
    u64 time = 0;       // decoding time in media ticks
    u32 timeScale = 0;  // media ticks per second, not 0
  };

  /// Once. `file` is borrowed. MP4_BAD_ARGUMENT for no track, MP4_NO_MEMORY; what `CMp4File::OpenTrack`
  /// answers.
  Mp4Result Open(CMp4File* file, u32 trackCount, const u32* trackNumbers);
  /// The next sample by decoding time; of equal times that of the earlier track. The times of all are asked
  /// of one track, the last one opened and then that of the last turn: with one track, as is meant, they are
  /// its own. MP4_NOT_FOUND when all are at their end, MP4_BAD_TIMING for a time scale of 0.
  Mp4Result PickNext(Turn* turn);
  /// There is one once `Open` has succeeded.
  const CMediaTrack& First() const { return m_tracks[0].track; }
  void Advance(const Turn& turn) { ++m_tracks[turn.slot].nextSample; }

 private:
  struct Slot {
    CMediaTrack track;
    u32 nextSample = 1;
  };

  std::unique_ptr<Slot[]> m_tracks;
  u32 m_count = 0;
  CMp4Track* m_current = nullptr;
};

}  // namespace kt

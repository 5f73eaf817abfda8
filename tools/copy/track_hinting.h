#pragma once

#include <optional>
#include <string>

#include "tools/copy/track_copy.h"

namespace kt {

/// How somebody wants tracks to be hinted.
struct HintWishes {
  /// Sound goes in LATM framing, not in AAC-hbr.
  bool latm = false;
  /// Bytes of payload in a packet.
  u16 packetSize = 500;
  /// Frames of sound in a packet; what the payload format has by itself unless given.
  std::optional<u32> samplesPerPacket;
};

/// How a track of a new file gets a hint track.
class TrackHinting {
 public:
  /// `media` has been examined; `trackIndex` is its place in the new file.
  TrackHinting(const TrackCopy& media, u32 trackIndex, const HintWishes& wishes);

  /// Why the track cannot be hinted; empty when it can.
  const std::string& Obstacle() const { return m_obstacle; }
  /// What a receiver will not be able to make of the hints; empty when there is nothing.
  std::string Loss() const;
  /// For messages: "the hints of track 1 of "x.mp4"".
  std::string Name() const { return "the hints of " + m_media.Name(); }
  /// Adds the hint track and answers what the writer answers. All tracks of `output` are complete.
  Mp4Result Add(CMp4File& output) const;

 private:
  void Choose();
  std::string GatheringObstacle() const;
  std::string LatmObstacle() const;
  std::string CutObstacle() const;
  std::string AacLoss() const;

  const TrackCopy& m_media;
  u32 m_trackIndex;
  HintWishes m_wishes;
  u32 m_hintType = 0;
  std::string m_obstacle;
};

}  // namespace kt

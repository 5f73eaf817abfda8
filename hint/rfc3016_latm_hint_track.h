#pragma once

#include "hint/rtp_hint_track.h"

namespace kt {

/// The hinter of MPEG-4 audio in LATM framing: three samples to a packet, none cut. RFC 3016, 4.
class CRfc3016LatmHintTrackImpl final : public CMp4RtpHintTrackImpl {
 public:
  CRfc3016LatmHintTrackImpl(CHintTrackHost* file) : CMp4RtpHintTrackImpl(file, kLatmPayload, 3) {}

 protected:
  /// As the other hinters', but with groups that are full however large they are, and that have the time of
  /// the sample behind them: readers rely on it. MP4_BAD_ARGUMENT unless there is one track, of sound.
  Mp4Result BuildPackets(u32 trackCount, const u32* trackNumbers) override;
  Mp4Result AddTrackSdp(u32 trackNumber, CTrackHintInformationBox* hnti) override;
};

}  // namespace kt

#pragma once

#include "hint/rtp_hint_track.h"

namespace kt {

/// The hinter of MPEG-4 visual: one sample to a packet, or a sample cut into several. It does not look into
/// the samples. RFC 3016, 3.
class CRfc3016VideoHintTrackImpl final : public CMp4RtpHintTrackImpl {
 public:
  CRfc3016VideoHintTrackImpl(CHintTrackHost* file) : CMp4RtpHintTrackImpl(file, kVideoPayload, 1) {}

 protected:
  Mp4Result AddTrackSdp(u32 trackNumber, CTrackHintInformationBox* hnti) override;
};

}  // namespace kt

#pragma once

#include "hint/rtp_hint_track.h"

namespace kt {

/// The hinter of Line 21 captions: two samples to a packet of "608B", which is a format of this system's own.
class CcHintTrackImpl final : public CMp4RtpHintTrackImpl {
 public:
  CcHintTrackImpl(CHintTrackHost* file) : CMp4RtpHintTrackImpl(file, kCaptionPayload, 2) {}

 protected:
  Mp4Result AddTrackSdp(u32 trackNumber, CTrackHintInformationBox* hnti) override;
};

}  // namespace kt

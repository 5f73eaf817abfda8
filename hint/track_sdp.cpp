// What each kind of hint track says of itself in the session description.

#include "hint/cc_hint_track.h"
#include "hint/rfc3016_latm_hint_track.h"
#include "hint/rfc3016_video_hint_track.h"

namespace kt {

Mp4Result CMp4RtpHintTrackImpl::AddTrackSdp(u32 /*trackNumber*/, CTrackHintInformationBox* /*hnti*/) {
  return MP4_NOT_READY;
}

Mp4Result CRfc3016VideoHintTrackImpl::AddTrackSdp(u32 /*trackNumber*/, CTrackHintInformationBox* /*hnti*/) {
  return MP4_NOT_READY;
}

Mp4Result CRfc3016LatmHintTrackImpl::AddTrackSdp(u32 /*trackNumber*/, CTrackHintInformationBox* /*hnti*/) {
  return MP4_NOT_READY;
}

Mp4Result CcHintTrackImpl::AddTrackSdp(u32 /*trackNumber*/, CTrackHintInformationBox* /*hnti*/) {
  return MP4_NOT_READY;
}

}  // namespace kt

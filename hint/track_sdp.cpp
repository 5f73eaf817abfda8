// What each kind of hint track says of itself in the session description.

#include "boxes/hint/hint_information_box.h"
#include "hint/cc_hint_track.h"
#include "hint/media_track.h"
#include "hint/rfc3016_latm_hint_track.h"
#include "hint/rfc3016_video_hint_track.h"
#include "hint/session_text.h"

namespace kt {

Mp4Result CMp4RtpHintTrackImpl::GetFacts(u32 trackNumber, StreamFacts* facts) {
  facts->payloadType = PayloadType();
  facts->maxBitrate = MaxBitrate();
  facts->rtpTimeScale = RtpTimeScale();
  facts->trackNumber = trackNumber;
  return GetHintTrackId(&facts->hintTrackId);
}

Mp4Result CMp4RtpHintTrackImpl::AddTrackSdp(u32 trackNumber, CTrackHintInformationBox* hnti) {
  CMediaTrack track;
  KT_TRY(track.Open(&File(), trackNumber));
  KT_TRY(track.RequireKind(MP4_KIND_AUDIO, MP4_NOT_READY));
  StreamFacts facts;
  DecoderInfo info;
  SessionText text;
  KT_TRY(track.ReadDecoderInfo(&info));
  KT_TRY(GetFacts(trackNumber, &facts));
  KT_TRY(FormatAacBlock(facts, info, &text));
  return hnti->AppendSdp(text.get());
}

Mp4Result CRfc3016LatmHintTrackImpl::AddTrackSdp(u32 trackNumber, CTrackHintInformationBox* hnti) {
  CMediaTrack track;
  KT_TRY(track.Open(&File(), trackNumber));
  KT_TRY(track.RequireKind(MP4_KIND_AUDIO, MP4_BAD_ARGUMENT));
  StreamFacts facts;
  DecoderInfo info;
  SessionText text;
  KT_TRY(track.GetSeconds(&facts.durationSeconds));
  KT_TRY(track.ReadDecoderInfo(&info));
  KT_TRY(GetFacts(trackNumber, &facts));
  KT_TRY(FormatLatmBlock(facts, MaxSamplesPerPacket(), info, &text));
  return hnti->AppendSdp(text.get());
}

Mp4Result CRfc3016VideoHintTrackImpl::AddTrackSdp(u32 trackNumber, CTrackHintInformationBox* hnti) {
  CMediaTrack track;
  KT_TRY(track.Open(&File(), trackNumber));
  KT_TRY(track.RequireKind(MP4_KIND_VIDEO, MP4_NOT_READY));
  StreamFacts facts;
  DecoderInfo info;
  SessionText text;
  KT_TRY(track.GetSeconds(&facts.durationSeconds));
  KT_TRY(track.ReadDecoderInfo(&info));
  u16 width = 0;
  u16 height = 0;
  if (track.Track()->GetVideoSize(&width, &height) != MP4_OK) {
    width = 352;
    height = 288;
  }
  KT_TRY(GetFacts(trackNumber, &facts));
  KT_TRY(FormatVideoBlock(facts, static_cast<i16>(width), static_cast<i16>(height), info, &text));
  return hnti->AppendSdp(text.get());
}

Mp4Result CcHintTrackImpl::AddTrackSdp(u32 trackNumber, CTrackHintInformationBox* hnti) {
  CMediaTrack track;
  KT_TRY(track.Open(&File(), trackNumber));
  KT_TRY(track.RequireKind(MP4_KIND_TEXT, MP4_NOT_READY));
  StreamFacts facts;
  SessionText text;
  KT_TRY(GetFacts(trackNumber, &facts));
  KT_TRY(FormatCaptionBlock(facts, &text));
  return hnti->AppendSdp(text.get());
}

}  // namespace kt

// What each kind of hint track says of itself in the session description.

#include <new>

#include "boxes/hint/hint_information_box.h"
#include "hint/cc_hint_track.h"
#include "hint/rfc3016_latm_hint_track.h"
#include "hint/rfc3016_video_hint_track.h"
#include "hint/session_text.h"

namespace kt {
namespace {

/// The media track that a hint track speaks of.
class CDescribedTrack {
 public:
  explicit CDescribedTrack(CMp4File* file) : m_file(file) {}

  /// `otherKind` is the answer for a track that is not of `kind`.
  Mp4Result Open(u32 trackNumber, u32 kind, Mp4Result otherKind) {
    CMp4Track* opened = nullptr;
    KT_TRY(m_file->OpenTrack(trackNumber, &opened));
    m_track.reset(opened);
    u32 found = MP4_KIND_UNKNOWN;
    KT_TRY(m_track->GetTrackType(&found));
    return found == kind ? MP4_OK : otherKind;
  }
  CMp4Track* operator->() { return m_track.get(); }

  /// MP4_BAD_VALUE for a movie without a time scale.
  Mp4Result GetSeconds(double* seconds) {
    u64 duration = 0;
    u32 timeScale = 0;
    KT_TRY(m_track->GetDuration(&duration));
    KT_TRY(m_file->GetMovieTimeScale(&timeScale));
    if (timeScale == 0) return MP4_BAD_VALUE;
    *seconds = static_cast<double>(duration) / timeScale;
    return MP4_OK;
  }

  /// Nothing when the track has none. The bytes are this object's.
  Mp4Result ReadDecoderInfo(DecoderInfo* info) {
    info->reset();
    u32 size = 0;
    const Mp4Result result = m_track->GetDecoderSpecificInfoSize(1, &size);
    if (result == MP4_NOT_FOUND) return MP4_OK;
    KT_TRY(result);
    m_decoderInfo.reset(new (std::nothrow) u8[size]);
    if (!m_decoderInfo) return MP4_NO_MEMORY;
    KT_TRY(m_track->GetDecoderSpecificInfo(1, size, &size, m_decoderInfo.get()));
    *info = std::span<const u8>(m_decoderInfo.get(), size);
    return MP4_OK;
  }

 private:
  CMp4File* m_file;
  std::unique_ptr<CMp4Track> m_track;
  std::unique_ptr<u8[]> m_decoderInfo;
};

}  // namespace

Mp4Result CMp4RtpHintTrackImpl::GetFacts(u32 trackNumber, StreamFacts* facts) {
  facts->payloadType = PayloadType();
  facts->maxBitrate = MaxBitrate();
  facts->rtpTimeScale = RtpTimeScale();
  facts->trackNumber = trackNumber;
  return GetHintTrackId(&facts->hintTrackId);
}

Mp4Result CMp4RtpHintTrackImpl::AddTrackSdp(u32 trackNumber, CTrackHintInformationBox* hnti) {
  CDescribedTrack track(File());
  KT_TRY(track.Open(trackNumber, MP4_KIND_AUDIO, MP4_NOT_READY));
  StreamFacts facts;
  DecoderInfo info;
  SessionText text;
  KT_TRY(track.ReadDecoderInfo(&info));
  KT_TRY(GetFacts(trackNumber, &facts));
  KT_TRY(FormatAacBlock(facts, info, &text));
  return hnti->AppendSdp(text.get());
}

Mp4Result CRfc3016LatmHintTrackImpl::AddTrackSdp(u32 trackNumber, CTrackHintInformationBox* hnti) {
  CDescribedTrack track(File());
  KT_TRY(track.Open(trackNumber, MP4_KIND_AUDIO, MP4_BAD_ARGUMENT));
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
  CDescribedTrack track(File());
  KT_TRY(track.Open(trackNumber, MP4_KIND_VIDEO, MP4_NOT_READY));
  StreamFacts facts;
  DecoderInfo info;
  SessionText text;
  KT_TRY(track.GetSeconds(&facts.durationSeconds));
  KT_TRY(track.ReadDecoderInfo(&info));
  u16 width = 0;
  u16 height = 0;
  if (track->GetVideoSize(&width, &height) != MP4_OK) {
    width = 352;
    height = 288;
  }
  KT_TRY(GetFacts(trackNumber, &facts));
  KT_TRY(FormatVideoBlock(facts, static_cast<i16>(width), static_cast<i16>(height), info, &text));
  return hnti->AppendSdp(text.get());
}

Mp4Result CcHintTrackImpl::AddTrackSdp(u32 trackNumber, CTrackHintInformationBox* hnti) {
  CDescribedTrack track(File());
  KT_TRY(track.Open(trackNumber, MP4_KIND_TEXT, MP4_NOT_READY));
  StreamFacts facts;
  SessionText text;
  KT_TRY(GetFacts(trackNumber, &facts));
  KT_TRY(FormatCaptionBlock(facts, &text));
  return hnti->AppendSdp(text.get());
}

}  // namespace kt

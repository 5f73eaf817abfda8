// The hint tracks of the file object.

#include <iterator>
#include <memory>
#include <new>

#include "engine/file/mp4_file_impl.h"
#include "hint/cc_hint_track.h"
#include "hint/rfc3016_latm_hint_track.h"
#include "hint/rfc3016_video_hint_track.h"

namespace kt {
namespace {

using HintTrack = std::unique_ptr<CMp4RtpHintTrackImpl>;

template <class Hinter>
HintTrack MakeHinter(CMp4FileImpl* file) {
  return HintTrack(new (std::nothrow) Hinter(file));
}

// By `Mp4HintType`.
constexpr HintTrack (*kHinters[])(CMp4FileImpl* file) = {
    MakeHinter<CRfc3016VideoHintTrackImpl>, MakeHinter<CRfc3016LatmHintTrackImpl>,
    MakeHinter<CMp4RtpHintTrackImpl>, MakeHinter<CcHintTrackImpl>};

}  // namespace

Mp4Result CMp4FileImpl::OpenHintTrack(u32 trackIndex, CMp4HintTrack** track) {
  *track = nullptr;
  if (!m_boxes || trackIndex == 0 || trackIndex > m_trackCount) return MP4_BAD_ARGUMENT;
  HintTrack opened = MakeHinter<CMp4RtpHintTrackImpl>(this);
  if (!opened) return MP4_NO_MEMORY;
  KT_TRY(opened->Bind(trackIndex));
  *track = opened.release();
  return MP4_OK;
}

Mp4Result CMp4FileImpl::AddHintTrack(CMp4HintTrack** track, u32 hintType) {
  *track = nullptr;
  if (!m_isOpen || m_mode == MP4_MODE_READ) return MP4_NOT_FOUND;
  if (hintType >= std::size(kHinters)) return MP4_BAD_ARGUMENT;
  HintTrack added = kHinters[hintType](this);
  if (!added) return MP4_NO_MEMORY;
  KT_TRY(added->SetUp());
  *track = added.release();
  return MP4_OK;
}

// The payload number is used up also when the track cannot be closed: callers rely on the numbers.
Mp4Result CMp4FileImpl::CloseHintTrack(CMp4HintTrack* track) {
  if (track == nullptr) return MP4_BAD_ARGUMENT;
  CMp4RtpHintTrackImpl* const closed = static_cast<CMp4RtpHintTrackImpl*>(track);
  KT_TRY(closed->SetPayloadType(m_nextPayloadNumber++));
  KT_TRY(closed->Finish());
  m_hintTrackClosed = 1;
  delete closed;
  return MP4_OK;
}

}  // namespace kt

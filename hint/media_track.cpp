#include "hint/media_track.h"

#include <new>

namespace kt {

// Closing a track that was opened to read does not fail.
CMediaTrack::~CMediaTrack() {
  if (m_track != nullptr) static_cast<void>(m_file->CloseTrack(m_track));
}

Mp4Result CMediaTrack::Open(CMp4File* file, u32 number) {
  m_file = file;
  m_number = number;
  return file->OpenTrack(number, &m_track);
}

Mp4Result CMediaTrack::RequireKind(u32 kind, Mp4Result otherKind) const {
  u32 found = MP4_KIND_UNKNOWN;
  KT_TRY(m_track->GetTrackType(&found));
  return found == kind ? MP4_OK : otherKind;
}

Mp4Result CMediaTrack::GetSeconds(double* seconds) const {
  u64 duration = 0;
  u32 timeScale = 0;
  KT_TRY(m_track->GetDuration(&duration));
  KT_TRY(m_file->GetMovieTimeScale(&timeScale));
  if (timeScale == 0) return MP4_BAD_VALUE;
  *seconds = static_cast<double>(duration) / timeScale;
  return MP4_OK;
}

Mp4Result CMediaTrack::ReadDecoderInfo(DecoderInfo* info) {
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

}  // namespace kt

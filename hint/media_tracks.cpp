#include "hint/media_tracks.h"

#include <new>

namespace kt {

// Closing a track that was opened to read does not fail.
CMediaTracks::~CMediaTracks() {
  for (u32 i = 0; i < m_count; ++i) static_cast<void>(m_file->CloseTrack(m_tracks[i].track));
}

Mp4Result CMediaTracks::Open(u32 trackCount, const u32* trackNumbers) {
  if (trackCount == 0) return MP4_BAD_ARGUMENT;
  m_tracks.reset(new (std::nothrow) OpenedTrack[trackCount]);
  if (!m_tracks) return MP4_NO_MEMORY;
  for (; m_count < trackCount; ++m_count) {
    OpenedTrack& opened = m_tracks[m_count];
    opened.number = trackNumbers[m_count];
    KT_TRY(m_file->OpenTrack(opened.number, &opened.track));
    m_current = opened.track;
  }
  return MP4_OK;
}

Mp4Result CMediaTracks::PickNext(Turn* turn) {
  bool found = false;
  for (u32 i = 0; i < m_count; ++i) {
    u64 time = 0;
    const Mp4Result result = m_current->GetSampleDecodingTime(m_tracks[i].nextSample, &time);
    if (result == MP4_NOT_FOUND) continue;
    KT_TRY(result);
    if (found && time >= turn->time) continue;
    found = true;
    turn->slot = i;
    turn->time = time;
  }
  if (!found) return MP4_NOT_FOUND;
  const OpenedTrack& winner = m_tracks[turn->slot];
  m_current = winner.track;
  turn->trackNumber = winner.number;
  turn->track = winner.track;
  turn->sample = winner.nextSample;
  KT_TRY(winner.track->GetTimeScale(&turn->timeScale));
  return turn->timeScale != 0 ? MP4_OK : MP4_BAD_TIMING;
}

}  // namespace kt

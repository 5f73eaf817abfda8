#include "hint/media_tracks.h"

#include <new>

namespace kt {

Mp4Result CMediaTracks::Open(CMp4File* file, u32 trackCount, const u32* trackNumbers) {
  if (trackCount == 0) return MP4_BAD_ARGUMENT;
  m_tracks.reset(new (std::nothrow) Slot[trackCount]);
  if (!m_tracks) return MP4_NO_MEMORY;
  for (; m_count < trackCount; ++m_count) {
    CMediaTrack& opened = m_tracks[m_count].track;
    KT_TRY(opened.Open(file, trackNumbers[m_count]));
    m_current = opened.Track();
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
  const Slot& winner = m_tracks[turn->slot];
  m_current = winner.track.Track();
  turn->trackNumber = winner.track.Number();
  turn->track = m_current;
  turn->sample = winner.nextSample;
  KT_TRY(m_current->GetTimeScale(&turn->timeScale));
  return turn->timeScale != 0 ? MP4_OK : MP4_BAD_TIMING;
}

}  // namespace kt

#include "filter/logic/track_facts.h"

namespace kt {

template <class T>
FilterResult LoadedFileFacts::Look(const T (&table)[kMaxTracks], i32 index, T* entry) const {
  if (index < 0) return FilterResult::InvalidArgument;
  if (static_cast<u32>(index) >= m_source.Tables().m_trackCount) return FilterResult::NoMoreItems;
  *entry = table[index];
  return FilterResult::Ok;
}

FilterResult LoadedFileFacts::GetTrackCount(u32* count) const {
  *count = m_source.Tables().m_trackCount;
  return FilterResult::Ok;
}

FilterResult LoadedFileFacts::GetMovieTimeScale(u32* timeScale) const {
  *timeScale = m_source.Tables().m_movieTimeScale;
  return FilterResult::Ok;
}

FilterResult LoadedFileFacts::GetTrackId(i32 index, u32* id) const {
  return Look(m_source.Tables().m_trackId, index, id);
}

FilterResult LoadedFileFacts::GetTrackType(i32 index, u32* type) const {
  return Look(m_source.Tables().m_trackType, index, type);
}

FilterResult LoadedFileFacts::GetSampleCount(i32 index, u32* count) const {
  return Look(m_source.Tables().m_sampleCount, index, count);
}

FilterResult LoadedFileFacts::GetTimeScale(i32 index, u32* timeScale) const {
  return Look(m_source.Tables().m_timeScale, index, timeScale);
}

FilterResult LoadedFileFacts::GetDuration(i32 index, u64* duration) const {
  return Look(m_source.Tables().m_duration, index, duration);
}

}  // namespace kt

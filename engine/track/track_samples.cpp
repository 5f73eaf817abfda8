// Samples by number and by time.

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include "boxes/tables/chunk_large_offset_box.h"
#include "boxes/tables/chunk_offset_box.h"
#include "boxes/tables/sample_size_box.h"
#include "boxes/tables/sample_to_chunk_box.h"
#include "boxes/tables/sync_sample_box.h"
#include "engine/track/track_impl.h"

namespace kt {

// The next sample, most often, and bytes that are at hand: nothing else is to cost anything here.
Mp4Result CTrackImpl::ReadSample(u32 sample, u32 bufferSize, u32* size, u8* buffer) {
  if (!m_sizes.Holds(sample) || !IsNext(sample)) return ReadElsewhere(sample, bufferSize, size, buffer);
  const u32 count = m_sizes.SizeOf(sample);
  *size = count;
  if (count > bufferSize) return MP4_BUFFER_TOO_SMALL;
  const u8* const bytes = m_file->TakeData(m_next.Position(), count);
  if (bytes == nullptr) return FetchSample(count, buffer, true);
  m_next.Pass(count);
  if (count > 0) std::memcpy(buffer, bytes, count);
  return MP4_OK;
}

Mp4Result CTrackImpl::ReadElsewhere(u32 sample, u32 bufferSize, u32* size, u8* buffer) {
  if (!m_bound) return MP4_NOT_READY;
  if (sample == 0) return MP4_ZERO_INDEX;
  KT_TRY(FindSampleSize(sample, size));
  if (*size > bufferSize) return MP4_BUFFER_TOO_SMALL;
  const bool follows = sample == m_next.sample;
  if (!IsNext(sample)) KT_TRY(FindPlace(sample));
  const u8* const bytes = m_file->TakeData(m_next.Position(), *size);
  if (bytes == nullptr) return FetchSample(*size, buffer, follows);
  m_next.Pass(*size);
  if (*size > 0) std::memcpy(buffer, bytes, *size);
  return MP4_OK;
}

// The bytes of the sample at `m_next`. Whoever asks for samples here and there is to have no more than these
// fetched.
Mp4Result CTrackImpl::FetchSample(u32 size, u8* buffer, bool follows) {
  const u64 position = m_next.Position();
  const u64 ahead = follows ? CountBytesAhead(position, m_next.sample) : size;
  m_next.Pass(size);
  return m_file->ReadData(buffer, position, size, ahead);
}

bool CTrackImpl::IsNext(u32 sample) const {
  return sample == m_next.sample && sample <= m_next.lastSample &&
         m_next.question == m_boxes.sampleToChunk->GetQuestionCount();
}

Mp4Result CTrackImpl::FindPlace(u32 sample) {
  m_next = {};
  CChunkOfSample found;
  KT_TRY(m_boxes.sampleToChunk->FindChunk(sample, &found));
  SamplePlace place{.sample = sample, .chunk = found.chunk};
  // Chunks out of order can put the first sample behind the wanted one: the sum is 0 then, for each of them.
  if (found.firstSample <= sample) place.lastSample = found.lastSample;
  KT_TRY(m_boxes.sampleSize->SumSampleSizes(found.firstSample, sample, &place.offsetInChunk));
  KT_TRY(GetChunkOffset(found.chunk, &place.chunkOffset));
  place.question = m_boxes.sampleToChunk->GetQuestionCount();
  m_next = place;
  return MP4_OK;
}

// Bytes from a sample on that are worth a fetch of their own: to the end of its chunk, when the next one lies
// well behind that.
u64 CTrackImpl::CountBytesAhead(u64 position, u32 sample) {
  constexpr u64 kWorthSkipping = 2048;
  const u32 last = std::max(m_next.lastSample, sample);
  u32 bytes = 0;
  u64 nextChunk = 0;
  if (m_boxes.sampleSize->SumSampleSizes(sample, last + 1, &bytes) != MP4_OK ||
      GetChunkOffset(m_next.chunk + 1, &nextChunk) != MP4_OK ||
      nextChunk < position + bytes + kWorthSkipping) {
    return std::numeric_limits<u64>::max();
  }
  return bytes;
}

Mp4Result CTrackImpl::GetChunkOffset(u32 chunk, u64* offset) {
  if (m_boxes.chunkOffset != nullptr) {
    u32 narrow = 0;
    KT_TRY(m_boxes.chunkOffset->GetChunkOffset(chunk, &narrow));
    *offset = narrow;
    return MP4_OK;
  }
  if (m_boxes.chunkLargeOffset == nullptr) return MP4_NOT_READY;
  return m_boxes.chunkLargeOffset->GetChunkOffset(chunk, offset);
}

Mp4Result CTrackImpl::GetSampleSize(u32 sample, u32* size) {
  if (!m_sizes.Holds(sample)) return FindSampleSize(sample, size);
  *size = m_sizes.SizeOf(sample);
  return MP4_OK;
}

Mp4Result CTrackImpl::FindSampleSize(u32 sample, u32* size) {
  if (!m_bound) return MP4_NOT_READY;
  KT_TRY(m_boxes.sampleSize->GetSampleSize(sample, size));
  if (sample > 0 && !m_writing) m_sizes = m_boxes.sampleSize->FindRun(sample);
  return MP4_OK;
}

Mp4Result CTrackImpl::GetSampleDecodingTime(u32 sample, u64* time) {
  const CSampleTimeRun& run = m_times.LastRun();
  if (!run.Holds(sample)) return FindSampleTimes(sample, time, nullptr);
  *time = run.DecodingTimeOf(sample);
  return MP4_OK;
}

Mp4Result CTrackImpl::GetSampleCompositionTime(u32 sample, u64* time) {
  const CSampleTimeRun& run = m_times.LastRun();
  if (!run.Holds(sample)) return FindSampleTimes(sample, nullptr, time);
  *time = run.CompositionTimeOf(sample);
  return MP4_OK;
}

Mp4Result CTrackImpl::FindSampleTimes(u32 sample, u64* decodingTime, u64* compositionTime) {
  return m_bound ? m_times.GetSampleTimes(sample, decodingTime, compositionTime) : MP4_NOT_READY;
}

Mp4Result CTrackImpl::GetSampleInfo(u32 sample, SampleInfo* info) {
  KT_TRY(CTrackImpl::GetSampleSize(sample, &info->size));
  return GetBothTimes(sample, info);
}

Mp4Result CTrackImpl::ReadSampleAndInfo(u32 sample, u32 bufferSize, u8* buffer, SampleInfo* info) {
  KT_TRY(ReadSample(sample, bufferSize, &info->size, buffer));
  return GetBothTimes(sample, info);
}

inline Mp4Result CTrackImpl::GetBothTimes(u32 sample, SampleInfo* info) {
  const CSampleTimeRun& run = m_times.LastRun();
  if (!run.Holds(sample)) return FindSampleTimes(sample, &info->decodingTime, &info->compositionTime);
  info->decodingTime = run.DecodingTimeOf(sample);
  info->compositionTime = run.CompositionTimeOf(sample);
  return MP4_OK;
}

// The tracks of a file are all of this class.
Mp4Result GetSampleInfo(CMp4Track* track, u32 sample, SampleInfo* info) {
  if (track == nullptr || info == nullptr) return MP4_BAD_ARGUMENT;
  return static_cast<CTrackImpl*>(track)->GetSampleInfo(sample, info);
}

Mp4Result ReadSampleAndInfo(CMp4Track* track, u32 sample, u32 bufferSize, u8* buffer, SampleInfo* info) {
  if (track == nullptr || info == nullptr) return MP4_BAD_ARGUMENT;
  return static_cast<CTrackImpl*>(track)->ReadSampleAndInfo(sample, bufferSize, buffer, info);
}

Mp4Result CTrackImpl::FindSampleByCompositionTime(u64 time, u32* sample) {
  return m_bound ? m_times.FindByCompositionTime(time, sample) : MP4_NOT_READY;
}

Mp4Result CTrackImpl::FindSampleByDecodingTime(u64 time, u32* sample) {
  return m_bound ? m_times.FindByDecodingTime(time, sample) : MP4_NOT_READY;
}

// Composition order is not decoding order: the sample found can be a B-frame in front of the sync sample that
// it is shown before, so the search starts one sample later, and a sync sample shown after `time` is stepped
// over.
Mp4Result CTrackImpl::FindSyncSample(u64 time, u32* sample) {
  u32 found = 0;
  KT_TRY(FindSampleByCompositionTime(time, &found));
  if (m_boxes.syncSample == nullptr) {
    *sample = found;
    return MP4_OK;
  }
  for (u32 probe = found + 1;; probe = m_sync.range.syncSample - 1) {
    if (!m_sync.range.Holds(probe)) KT_TRY(FindSyncPoint(probe));
    if (m_sync.time <= time) {
      *sample = m_sync.range.syncSample;
      return MP4_OK;
    }
    if (m_sync.range.syncSample == 1) return MP4_NOT_FOUND;
  }
}

Mp4Result CTrackImpl::FindSyncPoint(u32 sample) {
  std::swap(m_sync, m_syncBefore);
  if (m_sync.range.Holds(sample)) return MP4_OK;
  SyncPoint point;
  KT_TRY(m_boxes.syncSample->FindSyncRange(sample, &point.range));
  if (!m_hasSoughtSync) FindSyncTimes();
  m_hasSoughtSync = true;
  if (m_syncTimes.GetCount() > 0) {
    point.time = m_syncTimes.At(point.range.entry);
  } else {
    KT_TRY(GetSampleCompositionTime(point.range.syncSample, &point.time));
  }
  m_sync = point;
  return MP4_OK;
}

// All at once, or none when one has no time.
void CTrackImpl::FindSyncTimes() {
  const auto& list = m_boxes.syncSample->GetList();
  for (u32 entry = 1; entry <= list.GetCount(); ++entry) {
    u64 time = 0;
    if (GetSampleCompositionTime(list.At(entry).sampleNumber, &time) != MP4_OK ||
        m_syncTimes.Append(&time) != MP4_OK) {
      m_syncTimes.Clear();
      return;
    }
  }
}

}  // namespace kt

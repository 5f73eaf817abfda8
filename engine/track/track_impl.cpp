#include "engine/track/track_impl.h"

#include <new>

#include "boxes/containers/edit_box.h"
#include "boxes/containers/media_box.h"
#include "boxes/containers/media_information_box.h"
#include "boxes/containers/sample_table_box.h"
#include "boxes/containers/track_box.h"
#include "boxes/entries/sample_description_box.h"
#include "boxes/headers/handler_reference_box.h"
#include "boxes/headers/media_header_box.h"
#include "boxes/headers/sound_media_header_box.h"
#include "boxes/headers/track_header_box.h"
#include "boxes/headers/video_media_header_box.h"
#include "boxes/hint/hint_media_header_box.h"
#include "boxes/tables/chunk_large_offset_box.h"
#include "boxes/tables/chunk_offset_box.h"
#include "boxes/tables/sample_size_box.h"
#include "boxes/tables/sample_to_chunk_box.h"
#include "boxes/tables/sync_sample_box.h"
#include "engine/box/child_boxes.h"
#include "engine/track/copyright_notices.h"

namespace kt {
namespace {

u32 KindOfHandler(u32 handlerType) {
  switch (handlerType) {
    case FourCc("odsm"):
      return MP4_KIND_OBJECT_DESCRIPTOR;
    case FourCc("sdsm"):
      return MP4_KIND_SCENE_DESCRIPTION;
    case FourCc("text"):
      return MP4_KIND_TEXT;
    default:
      return MP4_KIND_UNKNOWN;
  }
}

}  // namespace

Mp4Result CTrackImpl::Bind(u32 trackIndex) {
  if (m_file == nullptr) return MP4_NOT_READY;
  m_sizes = {};
  m_next = {};
  m_sync = m_syncBefore = {};
  m_syncTimes.Clear();
  m_hasSoughtSync = false;
  CTrackBox* track = nullptr;
  KT_TRY(m_file->GetTrackBox(trackIndex, &track));
  m_boxes.track = track;
  KT_TRY(RequireChild(m_boxes.track, &m_boxes.trackHeader));
  KT_TRY(RequireChild(m_boxes.track, &m_boxes.media));
  KT_TRY(RequireChild(m_boxes.media, &m_boxes.mediaInformation));
  KT_TRY(RequireChild(m_boxes.media, &m_boxes.mediaHeader));
  KT_TRY(m_boxes.trackHeader->GetTrackId(&m_trackId));
  KT_TRY(FindKind());
  CSampleTableBox* sampleTable = nullptr;
  CCompositionOffsetBox* compositionOffset = nullptr;
  KT_TRY(RequireChild(m_boxes.mediaInformation, &sampleTable));
  KT_TRY(RequireChild(sampleTable, &m_boxes.timeToSample));
  KT_TRY(AcceptChild(sampleTable, &compositionOffset));
  u64 startOffset = 0;
  KT_TRY(FindStartOffset(&startOffset));
  // Ahead of the times: a track that is still being written has no chunk offsets in its tree, and its time
  // tables are not to be walked.
  KT_TRY(FindChunkOffsets(sampleTable));
  KT_TRY(BuildTimes(compositionOffset, startOffset));
  KT_TRY(RequireChild(sampleTable, &m_boxes.sampleSize));
  KT_TRY(RequireChild(sampleTable, &m_boxes.sampleToChunk));
  KT_TRY(AcceptChild(sampleTable, &m_boxes.syncSample));
  KT_TRY(RequireChild(sampleTable, &m_boxes.sampleDescription));
  m_bound = 1;
  return MP4_OK;
}

// A media header decides, whatever the handler says.
Mp4Result CTrackImpl::FindKind() {
  constexpr struct {
    u32 mediaHeader;
    u32 kind;
  } kRows[] = {{CVideoMediaHeaderBox::kType, MP4_KIND_VIDEO},
               {CSoundMediaHeaderBox::kType, MP4_KIND_AUDIO},
               {CHintMediaHeaderBox::kType, MP4_KIND_HINT}};
  for (const auto& row : kRows) {
    CBox* found = nullptr;
    const Mp4Result result = m_boxes.mediaInformation->GetChild(row.mediaHeader, &found);
    if (result == MP4_NOT_FOUND) continue;
    KT_TRY(result);
    m_kind = row.kind;
    return MP4_OK;
  }
  CHandlerReferenceBox* handler = nullptr;
  KT_TRY(AcceptChild(m_boxes.media, &handler));
  if (handler == nullptr) return MP4_OK;
  u32 handlerType = 0;
  KT_TRY(handler->GetHandlerType(&handlerType));
  m_kind = KindOfHandler(handlerType);
  return MP4_OK;
}

Mp4Result CTrackImpl::FindStartOffset(u64* offsetTicks) {
  *offsetTicks = 0;
  CEditBox* edits = nullptr;
  KT_TRY(AcceptChild(m_boxes.track, &edits));
  if (edits == nullptr) return MP4_OK;
  u64 delay = 0;
  u32 mediaScale = 0;
  u32 movieScale = 0;
  KT_TRY(edits->GetStartDelay(&delay));
  KT_TRY(m_boxes.mediaHeader->GetTimeScale(&mediaScale));
  KT_TRY(m_file->GetMovieTimeScale(&movieScale));
  if (movieScale == 0) return delay == 0 ? MP4_OK : MP4_BAD_TIMING;
  *offsetTicks = delay * mediaScale / movieScale;
  return MP4_OK;
}

Mp4Result CTrackImpl::FindChunkOffsets(CSampleTableBox* sampleTable) {
  m_boxes.chunkLargeOffset = nullptr;
  KT_TRY(AcceptChild(sampleTable, &m_boxes.chunkOffset));
  if (m_boxes.chunkOffset != nullptr) return MP4_OK;
  return RequireChild(sampleTable, &m_boxes.chunkLargeOffset);
}

Mp4Result CTrackImpl::BuildTimes(CCompositionOffsetBox* compositionOffset, u64 startOffsetTicks) {
  m_times = {};
  return m_times.Build(m_boxes.timeToSample, compositionOffset, startOffsetTicks);
}

void CTrackImpl::OnDetached() {
  m_bound = 0;
  m_writing.reset();
  m_boxes = {};
  m_sizes = {};
  m_next = {};
  m_times = {};
}

Mp4Result CTrackImpl::GetSampleCount(u32* count) {
  return m_bound ? m_times.GetSampleCount(count) : MP4_NOT_READY;
}

Mp4Result CTrackImpl::GetTrackType(u32* kind) {
  if (!m_bound) return MP4_NOT_READY;
  *kind = m_kind;
  return MP4_OK;
}

Mp4Result CTrackImpl::GetTrackId(u32* id) {
  if (!m_bound) return MP4_NOT_READY;
  *id = m_trackId;
  return MP4_OK;
}

Mp4Result CTrackImpl::GetTimeScale(u32* scale) {
  return m_bound && m_boxes.mediaHeader != nullptr ? m_boxes.mediaHeader->GetTimeScale(scale) : MP4_NOT_READY;
}

Mp4Result CTrackImpl::GetDuration(u64* duration) {
  return m_bound && m_boxes.trackHeader != nullptr ? m_boxes.trackHeader->GetDuration(duration)
                                                   : MP4_NOT_READY;
}

Mp4Result CTrackImpl::GetDimensions(u32* width, u32* height) {
  if (m_writing) return MP4_NOT_FOUND;
  return m_boxes.trackHeader != nullptr ? m_boxes.trackHeader->GetDimensions(width, height) : MP4_NOT_READY;
}

Mp4Result CTrackImpl::GetCopyright(char language[3], char* notice, u32* noticeSize, u32 index) {
  if (m_boxes.track == nullptr) return MP4_NOT_READY;
  return GetCopyrightBelow(m_boxes.track, language, notice, noticeSize, index);
}

Mp4Result CTrackImpl::SetCopyright(const char* language, const char* notice, u32 index) {
  if (m_boxes.track == nullptr) return MP4_NOT_READY;
  return SetCopyrightBelow(m_boxes.track, language, notice, index);
}

Mp4Result CTrackImpl::GetCreationDate(u32* year, u32* month, u32* day, u32* hour, u32* minute, u32* second) {
  if (m_boxes.mediaHeader == nullptr) return MP4_NOT_READY;
  return m_boxes.mediaHeader->GetCreationDate(year, month, day, hour, minute, second);
}

Mp4Result CTrackImpl::SetCreationDate(u32 year, u32 month, u32 day, u32 hour, u32 minute, u32 second) {
  if (m_boxes.mediaHeader == nullptr) return MP4_NOT_READY;
  return m_boxes.mediaHeader->SetCreationDate(year, month, day, hour, minute, second);
}

}  // namespace kt

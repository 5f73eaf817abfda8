// Samples of a track that is being written: into the chunk, from there to the file, and the tables that tell
// where they are.

#include "engine/track/track_writing.h"

#include <algorithm>
#include <limits>
#include <new>

#include "boxes/containers/media_information_box.h"
#include "boxes/containers/sample_table_box.h"
#include "boxes/containers/track_box.h"
#include "boxes/entries/mp4_sample_entry.h"
#include "boxes/headers/media_header_box.h"
#include "boxes/headers/track_header_box.h"
#include "boxes/media_data_box.h"
#include "boxes/tables/sample_size_box.h"
#include "boxes/tables/sample_to_chunk_box.h"
#include "engine/box/child_boxes.h"
#include "engine/track/track_impl.h"

namespace kt {
namespace {

// Gives a box to the table that owns it from then on, or leaves it where it is. Null is a box that the track
// does not have, or that the table has got already.
template <class Given>
Mp4Result GiveTo(CSampleTableBox* sampleTable, std::unique_ptr<Given>* box) {
  if (!*box) return MP4_OK;
  std::unique_ptr<CBoxList::Node> node(new (std::nothrow) CBoxList::Node);
  if (!node) return MP4_NO_MEMORY;
  node->item = std::move(*box);
  return sampleTable->AddChildNode(std::move(node));
}

}  // namespace

// Step by step, without a way back: after a failure the tables disagree, and the next sample is refused.
Mp4Result CTrackImpl::WriteSample(const void* data, u32 size, u64 decodingTime, u64 compositionTime,
                                  u32 isSync) {
  KT_TRY(RequireWriting());
  CTrackWriting& writing = *m_writing;
  if (writing.finishing) return MP4_NOT_FOUND;
  if (data == nullptr && size > 0) return MP4_BAD_ARGUMENT;
  KT_TRY(m_boxes.sampleSize->AddSampleSize(writing.nextSample, size));
  KT_TRY(m_times.AddSample(writing.nextSample, decodingTime, compositionTime));
  KT_TRY(NoteSync(isSync != 0));
  KT_TRY(writing.chunk.Append(data, size));
  if (writing.chunk.IsFull()) KT_TRY(WriteChunk());
  u32 timeScale = 0;
  KT_TRY(m_boxes.mediaHeader->GetTimeScale(&timeScale));
  // The time that the caller gave, also where the table has raised it.
  KT_TRY(writing.bitRates.AddSample(size, decodingTime, timeScale));
  ++writing.nextSample;
  return MP4_OK;
}

// A track whose samples are all sync samples has no "stss". The first one that is not makes the box, with all
// samples before it.
Mp4Result CTrackImpl::NoteSync(bool isSync) {
  CTrackWriting& writing = *m_writing;
  if (isSync) {
    return m_boxes.syncSample != nullptr ? m_boxes.syncSample->AddSyncSample(writing.nextSample) : MP4_OK;
  }
  if (m_boxes.syncSample != nullptr) return MP4_OK;
  writing.syncSample.reset(new (std::nothrow) CSyncSampleBox);
  if (!writing.syncSample) return MP4_NO_MEMORY;
  m_boxes.syncSample = writing.syncSample.get();
  for (u32 sample = 1; sample < writing.nextSample; ++sample) {
    KT_TRY(m_boxes.syncSample->AddSyncSample(sample));
  }
  return MP4_OK;
}

// The chunk stays as it is until all of it is in the file and in the tables, so that `Finish` can try again.
Mp4Result CTrackImpl::WriteChunk() {
  CTrackWriting& writing = *m_writing;
  if (writing.chunkStep == CTrackWriting::kGathered) {
    KT_TRY(AppendChunk(&writing.chunkPosition));
    writing.chunkStep = CTrackWriting::kInFile;
  }
  if (writing.chunkStep == CTrackWriting::kInFile) {
    KT_TRY(AddChunkOffset(writing.chunkPosition));
    writing.chunkStep = CTrackWriting::kPlaced;
  }
  KT_TRY(m_boxes.sampleToChunk->AddChunk(writing.currentChunk, writing.chunk.GetCount(), 1));
  writing.chunk.Clear();
  writing.chunkStep = CTrackWriting::kGathered;
  ++writing.currentChunk;
  return MP4_OK;
}

// From its first byte, also when an earlier try has left a part: others may have written since.
Mp4Result CTrackImpl::AppendChunk(u64* chunkPosition) {
  constexpr u64 kMostAtOnce = 1U << 30;
  const CChunkBuffer& chunk = m_writing->chunk;
  CMediaDataBox* mediaData = nullptr;
  KT_TRY(m_file->GetMediaData(&mediaData));
  for (u64 done = 0; done < chunk.GetSize();) {
    const u32 size = static_cast<u32>(std::min(chunk.GetSize() - done, kMostAtOnce));
    u64 position = 0;
    KT_TRY(mediaData->AppendData(chunk.GetBytes() + done, size, &position));
    if (done == 0) *chunkPosition = position;
    done += size;
  }
  return MP4_OK;
}

Mp4Result CTrackImpl::AddChunkOffset(u64 position) {
  const u32 chunk = m_writing->currentChunk;
  if (m_boxes.chunkOffset != nullptr) {
    if (position <= std::numeric_limits<u32>::max()) {
      return m_boxes.chunkOffset->AddChunkOffset(chunk, static_cast<u32>(position));
    }
    KT_TRY(WidenChunkOffsets());
  }
  if (m_boxes.chunkLargeOffset == nullptr) return MP4_NOT_READY;
  return m_boxes.chunkLargeOffset->AddChunkOffset(chunk, position);
}

// From the first chunk behind 4 GiB on the whole track has 64-bit offsets, the chunks before included.
Mp4Result CTrackImpl::WidenChunkOffsets() {
  CTrackWriting& writing = *m_writing;
  std::unique_ptr<CChunkLargeOffsetBox> wide(new (std::nothrow) CChunkLargeOffsetBox);
  if (!wide) return MP4_NO_MEMORY;
  KT_TRY(wide->CopyFrom(m_boxes.chunkOffset));
  m_boxes.chunkOffset = nullptr;
  writing.chunkOffset.reset();
  writing.chunkLargeOffset = std::move(wide);
  m_boxes.chunkLargeOffset = writing.chunkLargeOffset.get();
  return MP4_OK;
}

// Can be repeated after a failure: what has been done is not done twice.
Mp4Result CTrackImpl::Finish() {
  if (!m_writing) return MP4_NOT_FOUND;
  m_writing->finishing = true;
  if (m_writing->chunk.GetCount() > 0) KT_TRY(WriteChunk());
  m_writing->bitRates.Clear();
  KT_TRY(FinishTimes());
  KT_TRY(FinishSampleTable());
  u64 mediaDuration = 0;
  KT_TRY(FinishDurations(&mediaDuration));
  KT_TRY(FinishBitRates(mediaDuration));
  KT_TRY(m_boxes.track->CalculateSize());
  m_writing.reset();
  return MP4_OK;
}

Mp4Result CTrackImpl::FinishTimes() {
  if (m_writing->timesFinished) return MP4_OK;
  u64 startOffset = 0;  // stays 0: a track that is written starts with the movie
  KT_TRY(m_times.FinishWriting(&startOffset));
  m_writing->timesFinished = true;
  return MP4_OK;
}

Mp4Result CTrackImpl::FinishSampleTable() {
  CTrackWriting& writing = *m_writing;
  CSampleTableBox* table = nullptr;
  KT_TRY(RequireChild(m_boxes.mediaInformation, &table));
  KT_TRY(GiveTo(table, m_times.WrittenOffsets()));
  KT_TRY(GiveTo(table, &writing.syncSample));
  KT_TRY(GiveTo(table, &writing.chunkOffset));
  KT_TRY(GiveTo(table, &writing.chunkLargeOffset));
  return m_boxes.chunkOffset != nullptr || m_boxes.chunkLargeOffset != nullptr ? MP4_OK : MP4_NOT_READY;
}

Mp4Result CTrackImpl::FinishDurations(u64* mediaDuration) {
  u32 movieScale = 0;
  u32 mediaScale = 0;
  KT_TRY(m_file->GetMovieTimeScale(&movieScale));
  KT_TRY(m_boxes.mediaHeader->GetTimeScale(&mediaScale));
  if (mediaScale == 0) return MP4_BAD_TIMING;
  u64 lastTime = 0;
  u32 lastDuration = 0;
  u64 duration = 0;
  KT_TRY(m_times.GetLastSampleTime(&lastTime, &lastDuration));
  KT_TRY(m_boxes.trackHeader->GetDuration(&duration));
  *mediaDuration = lastTime + std::min<u64>(lastDuration, std::numeric_limits<u64>::max() - lastTime);
  if (duration == 0) {  // otherwise somebody has set it, and it stays
    KT_TRY(m_boxes.trackHeader->SetDuration(*mediaDuration * movieScale / mediaScale));
  }
  return m_boxes.mediaHeader->SetDuration(*mediaDuration);
}

Mp4Result CTrackImpl::FinishBitRates(u64 mediaDuration) {
  u32 mediaScale = 0;
  KT_TRY(m_boxes.mediaHeader->GetTimeScale(&mediaScale));
  Entry first;
  KT_TRY(GetEntry(1, &first));
  if (first.mpeg4 == nullptr) return MP4_OK;  // no other entry says a bit rate
  const CBitRateWindow& bitRates = m_writing->bitRates;
  return first.mpeg4->SetBitrates(bitRates.GetPeak(), bitRates.GetAverage(mediaDuration, mediaScale));
}

}  // namespace kt

#include "boxes/tables/sample_to_chunk_box.h"

#include <limits>

namespace kt {

Mp4Result CSampleToChunkBox::GetCursorRun(Run* run) const {
  CSampleToChunkTableEntry entry{};
  KT_TRY(m_List.GetAt(m_ui32CursorEntry, &entry));
  *run = {entry.firstChunk, entry.samplesPerChunk, m_ui32CursorSample};
  return MP4_OK;
}

void CSampleToChunkBox::StepTo(const CSampleToChunkTableEntry& next, Run* run) {
  const u32 samples = (next.firstChunk - run->firstChunk) * run->samplesPerChunk;
  *run = {next.firstChunk, next.samplesPerChunk, run->firstSample + samples};
}

Mp4Result CSampleToChunkBox::GetChunkOfSample(u32 sample, u32* chunk) {
  m_Found = {};
  *chunk = 1;
  if (m_ui32CursorSample > sample) {
    m_ui32CursorEntry = 1;
    m_ui32CursorSample = 1;
  }
  Run run{};
  KT_TRY(GetCursorRun(&run));
  u32 index = m_ui32CursorEntry;
  while (index < m_ui32EntryCount) {
    CSampleToChunkTableEntry entry{};
    KT_TRY(m_List.GetAt(index + 1, &entry));
    Run next = run;
    StepTo(entry, &next);
    // The first sample of the next run still passes; the division then finds the next run's first chunk.
    if (sample <= next.firstSample) break;
    run = next;
    ++index;
  }
  if (run.samplesPerChunk == 0) return MP4_CORRUPT;
  *chunk = (sample - run.firstSample) / run.samplesPerChunk + run.firstChunk;
  m_ui32CursorEntry = index;
  m_ui32CursorChunk = run.firstChunk;
  m_ui32CursorSample = run.firstSample;
  return MP4_OK;
}

Mp4Result CSampleToChunkBox::GetFirstSampleOfChunk(u32 chunk, u32* sample) {
  m_Found = {};
  *sample = 1;
  if (m_ui32CursorChunk > chunk) {
    // The chunk stays, so that the next call starts over as well if it asks for one below it.
    m_ui32CursorEntry = 1;
    m_ui32CursorSample = 1;
  }
  Run run{};
  KT_TRY(GetCursorRun(&run));
  for (u32 index = m_ui32CursorEntry; index <= m_ui32EntryCount; ++index) {
    CSampleToChunkTableEntry entry{};
    KT_TRY(m_List.GetAt(index, &entry));
    if (chunk < entry.firstChunk) break;
    StepTo(entry, &run);
  }
  *sample = (chunk - run.firstChunk) * run.samplesPerChunk + run.firstSample;
  return MP4_OK;
}

Mp4Result CSampleToChunkBox::SearchChunk(u32 sample) {
  Found found{sample, 0, 0, 0};
  KT_TRY(GetChunkOfSample(sample, &found.chunk));
  // A chunk ahead of its run, as wrapped numbers give it, sends the cursor back.
  if (found.chunk >= m_ui32CursorChunk) KT_TRY(CountSamplesLeft(sample, &found.samples));
  KT_TRY(GetFirstSampleOfChunk(found.chunk, &found.firstSample));
  m_Found = found;
  return MP4_OK;
}

// The samples from this one on that `GetChunkOfSample`, which has just found it, finds in the same chunk with
// the cursor where it is.
Mp4Result CSampleToChunkBox::CountSamplesLeft(u32 sample, u32* count) const {
  *count = 0;
  Run run{};
  KT_TRY(GetCursorRun(&run));
  if (sample < run.firstSample) return MP4_OK;
  u32 last =
      run.samplesPerChunk - 1 - (sample - run.firstSample) % run.samplesPerChunk;  // from the sample on
  if (m_ui32CursorEntry < m_ui32EntryCount) {
    CSampleToChunkTableEntry entry{};
    KT_TRY(m_List.GetAt(m_ui32CursorEntry + 1, &entry));
    StepTo(entry, &run);
    last = std::min(last, run.firstSample - sample);
  }
  *count = std::min(last, std::numeric_limits<u32>::max() - sample) + 1;
  return MP4_OK;
}

Mp4Result CSampleToChunkBox::AddChunk(u32 chunk, u32 samplesPerChunk, u32 sampleDescriptionIndex) {
  if (chunk != m_ui32NextChunk) return MP4_BAD_ARGUMENT;
  m_Found = {};
  CSampleToChunkTableEntry last{};
  const bool extends = m_List.GetAt(m_ui32EntryCount, &last) == MP4_OK &&
                       last.samplesPerChunk == samplesPerChunk &&
                       last.sampleDescriptionIndex == sampleDescriptionIndex;
  if (!extends) KT_TRY(AppendEntry({chunk, samplesPerChunk, sampleDescriptionIndex}));
  ++m_ui32NextChunk;
  return MP4_OK;
}

}  // namespace kt

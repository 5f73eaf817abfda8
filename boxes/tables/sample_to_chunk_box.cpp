#include "boxes/tables/sample_to_chunk_box.h"

#include <algorithm>
#include <limits>

#include "engine/storage/last_reached.h"

namespace kt {

CSampleToChunkBox::Run CSampleToChunkBox::RunAt(u32 index, u32 firstSample) const {
  const CSampleToChunkTableEntry& entry = m_List.At(index);
  return {index, entry.firstChunk, entry.samplesPerChunk, firstSample};
}

CSampleToChunkBox::Run CSampleToChunkBox::RunBehind(const Run& run) const {
  const u32 chunks = m_List.At(run.index + 1).firstChunk - run.firstChunk;
  return RunAt(run.index + 1, run.firstSample + chunks * run.samplesPerChunk);
}

Mp4Result CSampleToChunkBox::IndexBlocks() {
  const u32 count = m_List.GetCount();
  if (m_ui32IndexedEntries == count) return MP4_OK;
  const u32 blocks = (count - 1) / kBlockSize + 1;
  KT_TRY(m_Samples.Reset(blocks));
  KT_TRY(m_Chunks.Reset(blocks));
  m_LastSamples.Clear();
  for (Run run = RunAt(1, 1);; run = RunBehind(run)) {
    m_Samples.Offer((run.index - 1) / kBlockSize, run.firstSample);
    m_Chunks.Offer((run.index - 1) / kBlockSize, run.firstChunk);
    if (run.index % kBlockSize == 0 || run.index == count) KT_TRY(m_LastSamples.Append(&run.firstSample));
    if (run.index == count) break;
  }
  m_Samples.Combine();
  m_Chunks.Combine();
  m_ui32IndexedEntries = count;
  return MP4_OK;
}

// From the last run of a block over the blocks behind it that hold no number of at least `bound`, to the last
// run ahead of the one that does. False when that is the last run of all.
bool CSampleToChunkBox::SkipBlocks(const CBlockMaxima& maxima, u64 bound, Run* run) const {
  const u32 blocks = m_LastSamples.GetCount();
  const u32 block = std::min(maxima.FirstReaching(run->index / kBlockSize, bound), blocks);
  const u64 last = std::min<u64>(u64{block} * kBlockSize, m_List.GetCount());
  *run = RunAt(static_cast<u32>(last), m_LastSamples.At(block));
  return block < blocks;
}

// Goes on to the run ahead of the first one, behind this one, whose number is not below the bound.
Mp4Result CSampleToChunkBox::PassBelow(const CBlockMaxima& maxima, RunNumber number, u64 bound, Run* run) {
  while (run->index < m_List.GetCount()) {
    if (run->index % kBlockSize == 0) {
      KT_TRY(IndexBlocks());
      if (!SkipBlocks(maxima, bound, run)) break;
    }
    const Run next = RunBehind(*run);
    if (next.*number >= bound) break;
    *run = next;
  }
  return MP4_OK;
}

// The same for the first samples of numbers that rise: the block is looked for where it would be if they rose
// evenly.
Mp4Result CSampleToChunkBox::PassRising(u32 sample, Run* run) {
  const u32 block = (run->index - 1) / kBlockSize + 1;
  if (u64{block} * kBlockSize < m_List.GetCount()) KT_TRY(SkipRisingBlocks(block, sample, run));
  while (run->index < m_List.GetCount()) {
    const Run next = RunBehind(*run);
    if (next.firstSample >= sample) break;
    *run = next;
  }
  return MP4_OK;
}

// From a run of a block, counted from 1, to the last run of the last block that begins its last run ahead of
// the sample, if that is this block or one behind it.
Mp4Result CSampleToChunkBox::SkipRisingBlocks(u32 block, u32 sample, Run* run) {
  KT_TRY(IndexBlocks());
  const u32 blocks = m_LastSamples.GetCount();
  const auto isPassed = [=, this](u32 passed) { return m_LastSamples.At(passed) < sample; };
  if (!isPassed(block)) return MP4_OK;
  u32 guess = block;
  if (isPassed(block + 1)) {
    const u64 even = u64{sample} * blocks / m_LastSamples.At(blocks);
    guess = static_cast<u32>(std::clamp<u64>(even, block, blocks));
  }
  const u32 last = FindLastReached(block, guess, blocks, isPassed);
  *run = RunAt(static_cast<u32>(std::min<u64>(u64{last} * kBlockSize, m_List.GetCount())),
               m_LastSamples.At(last));
  return MP4_OK;
}

Mp4Result CSampleToChunkBox::GetChunkOfSample(u32 sample, u32* chunk) {
  ForgetFound();
  *chunk = 1;
  if (m_ui32CursorSample > sample) {
    m_ui32CursorEntry = 1;
    m_ui32CursorSample = 1;
  }
  if (m_List.GetCount() == 0) return MP4_NOT_FOUND;
  Run run = RunAt(m_ui32CursorEntry, m_ui32CursorSample);
  // The first sample of the next run still passes; the division then finds the next run's first chunk.
  KT_TRY(Rises() ? PassRising(sample, &run) : PassBelow(m_Samples, &Run::firstSample, sample, &run));
  if (run.samplesPerChunk == 0) return MP4_CORRUPT;
  *chunk = (sample - run.firstSample) / run.samplesPerChunk + run.firstChunk;
  m_ui32CursorEntry = run.index;
  m_ui32CursorChunk = run.firstChunk;
  m_ui32CursorSample = run.firstSample;
  return MP4_OK;
}

Mp4Result CSampleToChunkBox::GetFirstSampleOfChunk(u32 chunk, u32* sample) {
  ForgetFound();
  *sample = 1;
  if (m_ui32CursorChunk > chunk) {
    // The chunk stays, so that the next call starts over as well if it asks for one below it.
    m_ui32CursorEntry = 1;
    m_ui32CursorSample = 1;
  }
  if (m_List.GetCount() == 0) return MP4_NOT_FOUND;
  Run run = RunAt(m_ui32CursorEntry, m_ui32CursorSample);
  if (run.firstChunk <= chunk) KT_TRY(PassBelow(m_Chunks, &Run::firstChunk, u64{chunk} + 1, &run));
  *sample = (chunk - run.firstChunk) * run.samplesPerChunk + run.firstSample;
  return MP4_OK;
}

Mp4Result CSampleToChunkBox::SearchChunk(u32 sample) {
  CChunkOfSample found;
  KT_TRY(GetChunkOfSample(sample, &found.chunk));
  // A chunk ahead of its run, as wrapped numbers give it, sends the cursor back.
  const bool isInRun = found.chunk >= m_ui32CursorChunk;
  if (isInRun && sample > 0 && Rises()) {
    FindEndsOfChunk(&found);
    m_ui32FoundSample = found.firstSample;
  } else {
    if (isInRun) found.lastSample = LastSampleAlike(sample);
    KT_TRY(GetFirstSampleOfChunk(found.chunk, &found.firstSample));
    m_ui32FoundSample = std::max(sample, 1U);
  }
  m_Found = found;
  return MP4_OK;
}

// Whether runs of chunks with samples follow one another, as they have to: no answer then depends on the
// place in the table from which a question goes on.
bool CSampleToChunkBox::Rises() {
  const u32 count = m_List.GetCount();
  if (m_ui32ComparedEntries == count) return m_rises;
  m_ui32ComparedEntries = count;
  u64 firstSample = 1;
  m_rises = m_List.At(count).samplesPerChunk > 0;
  for (u32 i = 1; m_rises && i < count; ++i) {
    const CSampleToChunkTableEntry& run = m_List.At(i);
    const u32 end = m_List.At(i + 1).firstChunk;
    m_rises = run.samplesPerChunk > 0 && run.firstChunk < end;
    if (m_rises) firstSample += u64{end - run.firstChunk} * run.samplesPerChunk;
    m_rises = m_rises && firstSample <= std::numeric_limits<u32>::max();
  }
  return m_rises;
}

// The first and the last sample of the chunk that `GetChunkOfSample` has just found in numbers that rise. It
// leaves the first sample of a run in the run before.
void CSampleToChunkBox::FindEndsOfChunk(CChunkOfSample* found) {
  Run run = RunAt(m_ui32CursorEntry, m_ui32CursorSample);
  if (run.index < m_List.GetCount() && m_List.At(run.index + 1).firstChunk == found->chunk) {
    run = RunBehind(run);
    m_ui32CursorEntry = run.index;
    m_ui32CursorChunk = run.firstChunk;
    m_ui32CursorSample = run.firstSample;
  }
  found->firstSample = run.firstSample + (found->chunk - run.firstChunk) * run.samplesPerChunk;
  const u32 behind = run.samplesPerChunk - 1;
  found->lastSample =
      found->firstSample + std::min(behind, std::numeric_limits<u32>::max() - found->firstSample);
}

// The last sample from this one on that `GetChunkOfSample`, which has just found it, finds in the same chunk
// with the cursor where it is; 0 when not even this one.
u32 CSampleToChunkBox::LastSampleAlike(u32 sample) const {
  const Run run = RunAt(m_ui32CursorEntry, m_ui32CursorSample);
  if (sample < run.firstSample) return 0;
  u32 behind = run.samplesPerChunk - 1 - (sample - run.firstSample) % run.samplesPerChunk;
  if (run.index < m_List.GetCount()) behind = std::min(behind, RunBehind(run).firstSample - sample);
  return sample + std::min(behind, std::numeric_limits<u32>::max() - sample);
}

void CSampleToChunkBox::ForgetFound() {
  m_Found = {};
  m_ui32FoundSample = 1;
  ++m_ui64Questions;
}

Mp4Result CSampleToChunkBox::AddChunk(u32 chunk, u32 samplesPerChunk, u32 sampleDescriptionIndex) {
  if (chunk != m_ui32NextChunk) return MP4_BAD_ARGUMENT;
  ForgetFound();
  CSampleToChunkTableEntry last{};
  const bool extends = m_List.GetAt(m_ui32EntryCount, &last) == MP4_OK &&
                       last.samplesPerChunk == samplesPerChunk &&
                       last.sampleDescriptionIndex == sampleDescriptionIndex;
  if (!extends) KT_TRY(AppendEntry({chunk, samplesPerChunk, sampleDescriptionIndex}));
  ++m_ui32NextChunk;
  return MP4_OK;
}

}  // namespace kt

#pragma once

#include "boxes/tables/block_maxima.h"
#include "boxes/tables/table_box.h"

namespace kt {

struct CSampleToChunkTableEntry {
  u32 firstChunk;
  u32 samplesPerChunk;
  u32 sampleDescriptionIndex;
};

/// "stsc": which chunk holds a sample, as runs of chunks with the same number of samples. All numbers count
/// from 1. ISO/IEC 14496-12, 8.7.4.
///
/// The runs are taken as they stand: where first chunks do not rise, the 32-bit arithmetic wraps and gives
/// numbers that other tables refuse. Questions go on from the place in the table that the last one has left,
/// which can show in such tables. None costs more than the logarithm of the table's length.
class CSampleToChunkBox : public CTableBox<CSampleToChunkBox, CSampleToChunkTableEntry> {
 public:
  static constexpr u32 kType = FourCc("stsc");
  CSampleToChunkBox() : CTableBox(kType) {}
  explicit CSampleToChunkBox(CBox&& header) : CTableBox(std::move(header)) {}

  template <class Fields>
  Mp4Result VisitEntry(Fields& fields, CSampleToChunkTableEntry& entry) {
    return fields(entry.firstChunk, entry.samplesPerChunk, entry.sampleDescriptionIndex);
  }

  /// The chunk that holds the sample. The last run has no end: a sample behind the last chunk gets a number
  /// too. MP4_NOT_FOUND and chunk 1 for an empty table, MP4_CORRUPT and chunk 1 for a run with 0 samples per
  /// chunk; MP4_NO_MEMORY.
  Mp4Result GetChunkOfSample(u32 sample, u32* chunk);
  /// The first sample of the chunk; to be asked behind `GetChunkOfSample`, whose place in the table it starts
  /// from. MP4_NOT_FOUND and sample 1 for an empty table; MP4_NO_MEMORY.
  Mp4Result GetFirstSampleOfChunk(u32 chunk, u32* sample);
  /// Both questions in their order, at once for a sample that follows in the chunk found last.
  Mp4Result FindChunk(u32 sample, u32* chunk, u32* firstSample) {
    if (sample - m_Found.sample >= m_Found.samples) KT_TRY(SearchChunk(sample));
    *chunk = m_Found.chunk;
    *firstSample = m_Found.firstSample;
    return MP4_OK;
  }

  /// Records the next chunk; like chunks share a record. MP4_BAD_ARGUMENT for a number out of turn,
  /// MP4_NO_MEMORY.
  Mp4Result AddChunk(u32 chunk, u32 samplesPerChunk, u32 sampleDescriptionIndex);

 private:
  // Chunks with the same number of samples: those of a record.
  struct Run {
    u32 index;  // of the record, counted from 1
    u32 firstChunk;
    u32 samplesPerChunk;
    u32 firstSample;
  };
  using RunNumber = decltype(&Run::firstChunk);
  // What `FindChunk` has found, and for how many samples from that one on both questions have this answer as
  // long as the cursor stays; none once another question has been asked.
  struct Found {
    u32 sample = 0;
    u32 samples = 0;
    u32 chunk = 0;
    u32 firstSample = 0;
  };
  // Records to a block of `m_Samples` and `m_Chunks`.
  static constexpr u32 kBlockSize = 16;

  Run RunAt(u32 index, u32 firstSample) const;
  Run RunBehind(const Run& run) const;
  Mp4Result PassBelow(const CBlockMaxima& maxima, RunNumber number, u64 bound, Run* run);
  Mp4Result IndexBlocks();
  bool SkipBlocks(const CBlockMaxima& maxima, u64 bound, Run* run) const;
  Mp4Result SearchChunk(u32 sample);
  u32 CountSamplesLeft(u32 sample) const;

  // Reading: the record that `GetChunkOfSample` found last, the first chunk and the first sample of its run.
  u32 m_ui32CursorEntry = 1;
  u32 m_ui32CursorChunk = 1;
  u32 m_ui32CursorSample = 1;
  Found m_Found;
  // For searches that leave a block of records: the largest first sample and first chunk of the runs of each,
  // and the first sample of its last run. Made when the first search does.
  CBlockMaxima m_Samples;
  CBlockMaxima m_Chunks;
  CDataList<u32> m_LastSamples;
  u32 m_ui32IndexedEntries = 0;
  // Writing: the chunk expected next.
  u32 m_ui32NextChunk = 1;
};

}  // namespace kt

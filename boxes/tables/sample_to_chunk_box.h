#pragma once

#include "boxes/tables/block_maxima.h"
#include "boxes/tables/table_box.h"

namespace kt {

struct CSampleToChunkTableEntry {
  u32 firstChunk;
  u32 samplesPerChunk;
  u32 sampleDescriptionIndex;
};

/// Where a sample lies, and up to which one both questions about it have the same answer as long as nobody
/// asks the table again.
struct CChunkOfSample {
  u32 chunk = 0;
  u32 firstSample = 0;  // of the chunk
  u32 lastSample = 0;
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
  Mp4Result FindChunk(u32 sample, CChunkOfSample* found) {
    if (sample < m_ui32FoundSample || sample > m_Found.lastSample) KT_TRY(SearchChunk(sample));
    *found = m_Found;
    return MP4_OK;
  }
  /// How often the place in the table may have changed: what `FindChunk` has found holds while this does.
  u64 GetQuestionCount() const { return m_ui64Questions; }

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
  // Records to a block of `m_Samples` and `m_Chunks`.
  static constexpr u32 kBlockSize = 8;

  Run RunAt(u32 index, u32 firstSample) const;
  Run RunBehind(const Run& run) const;
  Mp4Result PassBelow(const CBlockMaxima& maxima, RunNumber number, u64 bound, Run* run);
  Mp4Result IndexBlocks();
  bool SkipBlocks(const CBlockMaxima& maxima, u64 bound, Run* run) const;
  Mp4Result SearchChunk(u32 sample);
  Mp4Result PassRising(u32 sample, Run* run);
  Mp4Result SkipRisingBlocks(u32 block, u32 sample, Run* run);
  bool Rises();
  void FindEndsOfChunk(CChunkOfSample* found);
  u32 LastSampleAlike(u32 sample) const;
  void ForgetFound();

  // Reading: the record that `GetChunkOfSample` found last, the first chunk and the first sample of its run.
  u32 m_ui32CursorEntry = 1;
  u32 m_ui32CursorChunk = 1;
  u32 m_ui32CursorSample = 1;
  // What `FindChunk` has found for which sample; nothing once another question has been asked.
  CChunkOfSample m_Found;
  u32 m_ui32FoundSample = 1;
  u64 m_ui64Questions = 0;
  // For searches that leave a block of records: the largest first sample and first chunk of the runs of each,
  // and the first sample of its last run. Made when the first search does.
  CBlockMaxima m_Samples;
  CBlockMaxima m_Chunks;
  CDataList<u32> m_LastSamples;
  u32 m_ui32IndexedEntries = 0;
  // Whether the numbers of that many entries rise.
  bool m_rises = true;
  u32 m_ui32ComparedEntries = 0;
  // Writing: the chunk expected next.
  u32 m_ui32NextChunk = 1;
};

}  // namespace kt

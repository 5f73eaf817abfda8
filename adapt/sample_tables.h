#pragma once

#include <ktmp4/types.h>
#include "adapt/bytes.h"
#include "engine/storage/data_list.h"

namespace kt::adapt {

/// Runs of samples that have something in common; numbers count from 1.
struct TimeRun {
  u32 count;
  u32 delta;  // media ticks to the sample behind it
};
struct OffsetRun {
  u32 count;
  i32 offset;  // media ticks from decoding to composition
};
struct SyncRun {
  u32 first;
  u32 count;
};
/// Samples that lie one behind the other in the file.
struct SampleChunk {
  u64 position;
  u32 samples;
  u32 entry;  // number of the sample entry
};

/// The samples of a track while they are gathered, from the tables of "stbl" and from fragments. What comes
/// as runs stays runs, so that a few bytes that claim a thousand million samples cost as little as they are.
class CSampleTables {
 public:
  /// No track has more samples than this.
  static constexpr u32 kMostSamples = 0xFFFFFFFE;
  /// No time of a track lies further from 0 than this, so that sums of a few of them fit into 64 bits.
  static constexpr i64 kLatestTime = i64{1} << 61;

  // Each adds to one of the tables, and the caller sees to it that all of them end with the same sample.
  // MP4_NO_MEMORY; MP4_BAD_TIMING for times beyond kLatestTime and MP4_OUT_OF_RANGE for too many samples,
  // with nothing added.
  Mp4Result AddTimes(u32 count, u32 delta);
  Mp4Result AddOffsets(u32 count, i32 offset);
  Mp4Result AddSizes(u32 count, u32 size);
  Mp4Result AddSync(u32 first, u32 count);
  Mp4Result AddChunk(const SampleChunk& chunk);

  /// The track has "stss", although it may name all samples.
  void NameSyncSamples() { m_namesSync = true; }
  bool NamesSyncSamples() const { return m_namesSync; }
  bool AllAreSync() const;

  /// Decoding time of sample 1 and of the end of the last sample, in media ticks.
  i64 StartTime() const { return m_startTime; }
  i64 EndTime() const { return m_endTime; }
  /// While there are no samples.
  void StartAt(i64 time) { m_startTime = m_endTime = time; }
  /// How long the last sample lasts, 0 without samples; and makes it last until `time`.
  u32 LastDelta() const;
  Mp4Result EndLastAt(i64 time);

  u32 Count() const { return m_sizeCount; }
  /// The most that a composition time lies ahead of its decoding time, 0 when none does.
  u32 LargestLead() const { return m_lowestOffset < 0 ? static_cast<u32>(-i64{m_lowestOffset}) : 0; }
  bool HasOffsets() const { return m_hasOffsets; }
  /// Takes the runs of "ctts" as they stand in the file; the bytes are borrowed. False, with nothing taken,
  /// when they are not of just the samples that there are.
  bool ListOffsets(CBytes runs);
  CBytes ListedOffsets() const { return m_listedOffsets; }
  u32 OffsetRunCount() const { return ListedOffsetCount() + m_offsets.GetCount(); }
  OffsetRun OffsetRunAt(u32 index) const {
    if (index > ListedOffsetCount()) return m_offsets.At(index - ListedOffsetCount());
    const u64 place = u64{index - 1} * 8;
    return {m_listedOffsets.U32(place), static_cast<i32>(m_listedOffsets.U32(place + 4))};
  }

  /// Takes the sizes of the first samples as they are listed in the file, 32 bits each; the bytes are
  /// borrowed.
  void ListSizes(CBytes sizes) {
    m_listed = sizes;
    m_sizeCount = ListedCount();
  }
  CBytes ListedSizes() const { return m_listed; }
  u32 ListedCount() const { return static_cast<u32>(m_listed.Size() / 4); }
  /// The size of all samples while they are alike (0 also when there is a list of them).
  u32 ConstantSize() const { return m_constantSize; }
  bool SizesAreConstant() const { return m_sizes.GetCount() == 0 && m_listed.Size() == 0; }
  u32 SizeOf(u32 sample) const {
    if (SizesAreConstant()) return m_constantSize;
    return sample <= ListedCount() ? m_listed.U32(u64{sample - 1} * 4) : m_sizes.At(sample - ListedCount());
  }

  const CDataList<TimeRun>& Times() const { return m_times; }
  const CDataList<SyncRun>& Sync() const { return m_sync; }
  const CDataList<SampleChunk>& Chunks() const { return m_chunks; }

  /// How many sizes and sync samples would have to be listed one by one that only runs have named so far:
  /// when these sizes are added, and when the tables are written. A few bytes can claim any number of them.
  u64 ClaimsListedBy(u32 count, u32 size) const;
  u64 ClaimsListedByWriting() const;

 private:
  u32 ListedOffsetCount() const { return static_cast<u32>(m_listedOffsets.Size() / 8); }

  CDataList<TimeRun> m_times;
  CBytes m_listedOffsets;  // runs as they stand in the file
  CDataList<OffsetRun> m_offsets;
  CBytes m_listed;         // sizes as they stand in the file
  CDataList<u32> m_sizes;  // those behind them; empty while all are alike
  CDataList<SyncRun> m_sync;
  CDataList<SampleChunk> m_chunks;
  i64 m_startTime = 0;
  i64 m_endTime = 0;
  u64 m_claimedSizes = 0;
  u32 m_sizeCount = 0;
  u32 m_constantSize = 0;
  i32 m_lowestOffset = 0;
  bool m_hasOffsets = false;
  bool m_namesSync = false;
};

/// Samples whose times rise evenly and have one offset.
struct Stretch {
  u32 first;
  u32 count;
  u32 delta;
  i32 offset;
  i64 decodingTime;  // of the first

  i64 DecodingTimeOf(u32 sample) const { return decodingTime + i64{sample - first} * delta; }
  i64 CompositionTimeOf(u32 sample) const { return DecodingTimeOf(sample) + offset; }
  u32 Last() const { return first + count - 1; }
};

/// Goes through the stretches of a track in decoding order.
class CStretches {
 public:
  explicit CStretches(const CSampleTables& tables) : m_tables(tables), m_time(tables.StartTime()) {}
  bool Next(Stretch* stretch);

 private:
  const CSampleTables& m_tables;
  TimeRun m_timeRun{};
  OffsetRun m_offsetRun{};
  u32 m_timeIndex = 0;
  u32 m_offsetIndex = 0;
  u32 m_nextSample = 1;
  i64 m_time;
};

}  // namespace kt::adapt

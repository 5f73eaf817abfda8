#pragma once

#include "boxes/tables/block_totals.h"
#include "boxes/tables/table_box.h"

namespace kt {

struct CSyncSampleTableEntry {
  u32 sampleNumber;
};

/// Samples with the same last sync sample at or before them.
struct CSyncRange {
  bool Holds(u32 sample) const { return first <= sample && sample <= last; }

  u32 syncSample = 0;
  u32 first = 1;
  u32 last = 0;
  u32 entry = 0;  // of the table that names the sync sample, counted from 1
};

/// "stss": the samples at which decoding can start, numbered from 1. A track without this box has sync
/// samples only. ISO/IEC 14496-12, 8.6.2.
class CSyncSampleBox : public CTableBox<CSyncSampleBox, CSyncSampleTableEntry> {
 public:
  static constexpr u32 kType = FourCc("stss");
  CSyncSampleBox() : CTableBox(kType) {}
  explicit CSyncSampleBox(CBox&& header) : CTableBox(std::move(header)) {}

  template <class Fields>
  Mp4Result VisitEntry(Fields& fields, CSyncSampleTableEntry& entry) {
    return fields(entry.sampleNumber);
  }

  /// The last sync sample at or before `sample`. MP4_NOT_FOUND when the first one lies behind it or there is
  /// none; MP4_NO_MEMORY. In a table that does not rise it is the entry before the first one above `sample`,
  /// from the second entry on. Costs the same wherever the sample lies.
  Mp4Result FindPrecedingSyncSample(u32 sample, u32* syncSample);
  /// The same, and the samples around that one which have the same answer. Nothing is stored on a failure.
  Mp4Result FindSyncRange(u32 sample, CSyncRange* range);

  /// Appends, without looking at order or range. MP4_NO_MEMORY.
  Mp4Result AddSyncSample(u32 sample);

 private:
  struct Larger {
    u32 operator()(u32 largest, const CSyncSampleTableEntry& entry) const {
      return largest > entry.sampleNumber ? largest : entry.sampleNumber;
    }
  };

  CBlockTotals<CSyncSampleTableEntry, Larger, 8> m_Largest;
};

}  // namespace kt

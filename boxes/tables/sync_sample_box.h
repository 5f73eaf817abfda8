#pragma once

#include "boxes/tables/block_totals.h"
#include "boxes/tables/table_box.h"

namespace kt {

struct CSyncSampleTableEntry {
  u32 sampleNumber;
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

  /// Appends, without looking at order or range. MP4_NO_MEMORY.
  Mp4Result AddSyncSample(u32 sample);

 private:
  struct Larger {
    u32 operator()(u32 largest, const CSyncSampleTableEntry& entry) const {
      return largest > entry.sampleNumber ? largest : entry.sampleNumber;
    }
  };

  CBlockTotals<CSyncSampleTableEntry, Larger> m_Largest;
};

}  // namespace kt

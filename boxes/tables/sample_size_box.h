#pragma once

#include "boxes/tables/block_totals.h"
#include "boxes/tables/table_box.h"

namespace kt {

struct CSampleSizeTableEntry {
  u32 sampleSize;
};

/// The sizes of neighbouring samples.
struct CSampleSizeRun {
  bool Holds(u32 sample) const { return sample - first < count; }
  /// Of a sample that it holds.
  u32 SizeOf(u32 sample) const { return entries[std::size_t{sample - first} * step].sampleSize; }

  u32 first = 1;
  u32 count = 0;
  u32 step = 1;  // 0 where one entry stands for all
  const CSampleSizeTableEntry* entries = nullptr;
};

/// "stsz": the size of each sample in bytes, as one constant or as a table. ISO/IEC 14496-12, 8.7.3.2.
///
/// Samples are numbered from 1. A written table begins as a constant and becomes a table at the first size
/// that differs.
class CSampleSizeBox : public CTableBox<CSampleSizeBox, CSampleSizeTableEntry> {
 public:
  static constexpr u32 kType = FourCc("stsz");
  CSampleSizeBox() : CTableBox(kType) { m_size += 8; }
  explicit CSampleSizeBox(CBox&& header) : CTableBox(std::move(header)) {}

  Mp4Result Deserialize(CStorage* storage) override;
  Mp4Result Serialize(CStorage* storage) override;
  Mp4Result Dump(int indent) override;
  Mp4Result CalculateSize() override;

  template <class Fields>
  Mp4Result VisitEntry(Fields& fields, CSampleSizeTableEntry& entry) {
    return fields(entry.sampleSize);
  }

  /// MP4_NOT_FOUND beyond the count. A constant size holds for sample 0 as well; in a table that is
  /// MP4_ZERO_INDEX.
  Mp4Result GetSampleSize(u32 sample, u32* size) const {
    if (sample > m_ui32EntryCount) return MP4_NOT_FOUND;
    if (m_Constant.sampleSize == 0) {
      CSampleSizeTableEntry entry{};
      KT_TRY(m_List.GetAt(sample, &entry));
      *size = entry.sampleSize;
      return MP4_OK;
    }
    *size = m_Constant.sampleSize;  // also of sample 0: readers rely on it
    return MP4_OK;
  }
  /// The sizes around a sample that the box has, which is not 0. Good until a size is added.
  CSampleSizeRun FindRun(u32 sample) const {
    if (m_Constant.sampleSize != 0) return {1, m_ui32EntryCount, 0, &m_Constant};
    const u32 first = (sample - 1) / m_List.kBlockSize * m_List.kBlockSize + 1;
    return {first, std::min(m_List.GetCount() - first + 1, m_List.kBlockSize), 1, &m_List.At(first)};
  }
  /// The sum of the sizes of samples `first` to `end` - 1, modulo 2^32; 0 when there is none. Results as
  /// `GetSampleSize` of each of them, and MP4_NO_MEMORY. Costs the same wherever the samples lie.
  Mp4Result SumSampleSizes(u32 first, u32 end, u32* sum);

  /// Records the size of the next sample. MP4_BAD_ARGUMENT for a number out of turn and for size 0,
  /// MP4_NO_MEMORY.
  Mp4Result AddSampleSize(u32 sample, u32 size);

 private:
  struct AddSize {
    u32 operator()(u32 sum, const CSampleSizeTableEntry& entry) const { return sum + entry.sampleSize; }
  };

  u32 SumUpTo(u32 sample) const;
  u32 AddUp(u32 first, u32 end) const;

  CSampleSizeTableEntry m_Constant{0};  // the size of all samples; 0 when the sizes stand in the list
  CBlockTotals<CSampleSizeTableEntry, AddSize, 64> m_Sums;
};

}  // namespace kt

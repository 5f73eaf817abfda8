#pragma once

#include "engine/storage/data_list.h"

namespace kt {

/// For every full block of `BlockSize` records of a table one number: what `Fold` makes of all records up to
/// the end of that block. It lets a question about a long stretch of the table be answered from one number
/// and the records of one block. Full blocks never change, so numbers once made stay right while the table
/// grows.
template <class T, class Fold, u32 BlockSize>
class CBlockTotals {
 public:
  static constexpr u32 kBlockSize = BlockSize;
  static_assert(CDataList<T>::kBlockSize % kBlockSize == 0,
                "the records of a block lie one behind the other");

  /// Makes the numbers of the blocks that have filled since the last call. MP4_NO_MEMORY.
  Mp4Result Update(const CDataList<T>& list) {
    const u32 fullBlocks = list.GetCount() / kBlockSize;
    for (u32 block = m_Totals.GetCount(); block < fullBlocks; ++block) {
      u32 total = UpTo(block);
      const T* const records = &list.At(block * kBlockSize + 1);
      for (u32 i = 0; i < kBlockSize; ++i) total = Fold()(total, records[i]);
      KT_TRY(m_Totals.Append(&total));
    }
    return MP4_OK;
  }

  /// What the first `blocks` blocks come to; 0 for none of them.
  u32 UpTo(u32 blocks) const { return blocks == 0 ? 0 : m_Totals.At(blocks); }

  u32 GetCount() const { return m_Totals.GetCount(); }

 private:
  CDataList<u32> m_Totals;
};

}  // namespace kt

#pragma once

#include <limits>
#include <memory>
#include <new>
#include <utility>

#include "engine/result.h"

namespace kt {

/// One block of a `CDataList`.
template <class T>
struct CDataListNode {
  u32 m_ui32FirstIndex = 0;         // number of the block's first record, counted from 1
  std::unique_ptr<T[]> m_pEntries;  // CDataList<T>::kBlockSize records; those not yet appended are unset
};

/// The records of a table, numbered from 1, which are only ever added at the end.
///
/// They lie in blocks of 100, so that a table grows as its records arrive, no record is moved and 100 of them
/// cost one allocation. The blocks are reached through a directory rather than a chain with a cursor: looking
/// a record up then costs the same wherever it lies, and changes nothing in the list.
template <class T>
class CDataList {
 public:
  static constexpr u32 kBlockSize = 100;

  /// Copies the record to the end. MP4_NO_MEMORY, with the list as it was.
  Mp4Result Append(const T* record) {
    if (m_ui32Count == std::numeric_limits<u32>::max()) return MP4_NO_MEMORY;
    const u32 position = m_ui32Count % kBlockSize;
    if (position == 0) KT_TRY(AddBlock());
    m_pTail[position] = *record;
    ++m_ui32Count;
    return MP4_OK;
  }

  /// Copies record `index` out. MP4_ZERO_INDEX for 0, MP4_NOT_FOUND beyond the count.
  Mp4Result GetAt(u32 index, T* record) const {
    if (index == 0) return MP4_ZERO_INDEX;
    if (index > m_ui32Count) return MP4_NOT_FOUND;
    *record = At(index);
    return MP4_OK;
  }

  /// As `GetAt`, but answers where the record lies, to change it in place; the list owns it.
  Mp4Result GetPointerAt(u32 index, T** record) {
    if (index == 0) return MP4_ZERO_INDEX;
    if (index > m_ui32Count) return MP4_NOT_FOUND;
    *record = &m_pBlocks[(index - 1) / kBlockSize].m_pEntries[(index - 1) % kBlockSize];
    return MP4_OK;
  }

  /// Record `index`, which has to be one of 1 to the count.
  const T& At(u32 index) const {
    return m_pBlocks[(index - 1) / kBlockSize].m_pEntries[(index - 1) % kBlockSize];
  }

  /// Block `block`, counted from 0, which has to exist.
  const CDataListNode<T>& Block(u32 block) const { return m_pBlocks[block]; }

  u32 GetCount() const { return m_ui32Count; }

  /// Frees all blocks; the list is empty and usable again.
  void Clear() {
    m_pBlocks.reset();
    m_pTail = nullptr;
    m_ui32BlockCount = 0;
    m_ui32BlockCapacity = 0;
    m_ui32Count = 0;
  }

 private:
  Mp4Result AddBlock() {
    std::unique_ptr<T[]> entries(new (std::nothrow) T[kBlockSize]);
    if (!entries) return MP4_NO_MEMORY;
    if (m_ui32BlockCount == m_ui32BlockCapacity) KT_TRY(GrowDirectory());
    m_pTail = entries.get();
    m_pBlocks[m_ui32BlockCount++] = {m_ui32Count + 1, std::move(entries)};
    return MP4_OK;
  }

  Mp4Result GrowDirectory() {
    const u32 capacity = m_ui32BlockCapacity == 0 ? 1 : 2 * m_ui32BlockCapacity;
    std::unique_ptr<CDataListNode<T>[]> blocks(new (std::nothrow) CDataListNode<T>[capacity]);
    if (!blocks) return MP4_NO_MEMORY;
    for (u32 i = 0; i < m_ui32BlockCount; ++i) blocks[i] = std::move(m_pBlocks[i]);
    m_pBlocks = std::move(blocks);
    m_ui32BlockCapacity = capacity;
    return MP4_OK;
  }

  u32 m_ui32Count = 0;
  u32 m_ui32BlockCount = 0;
  u32 m_ui32BlockCapacity = 0;
  std::unique_ptr<CDataListNode<T>[]> m_pBlocks;
  T* m_pTail = nullptr;  // the records of the last block
};

}  // namespace kt

#pragma once

#include <algorithm>
#include <limits>
#include <memory>
#include <new>
#include <utility>

#include <ktmp4/result.h>

namespace kt {

/// One block of a `CDataList`.
template <class T>
struct CDataListNode {
  std::unique_ptr<T[]> m_pEntries;  // room for a block's records; those not yet appended are unset
};

/// The records of a table, numbered from 1, which are only ever added at the end.
///
/// They lie in blocks of 512, so that a table grows as its records arrive and that many of them cost one
/// allocation. The blocks are reached through a directory rather than a chain with a cursor: looking a record
/// up then costs the same wherever it lies, and changes nothing in the list. The first block starts small,
/// since a file can hold a great many tables of one record each.
template <class T>
class CDataList {
 public:
  static constexpr u32 kBlockSize = 512;

  /// Copies the record to the end. MP4_NO_MEMORY, with the list as it was.
  Mp4Result Append(const T* record) {
    KT_TRY(MakeRoom(1));
    m_pTail[m_ui32Count++ % kBlockSize] = *record;
    return MP4_OK;
  }

  /// Adds some of `wanted` further records, at least one, which lie one behind the other and are the caller's
  /// to fill; `*added` takes how many. MP4_NO_MEMORY, with the list as it was.
  Mp4Result Extend(u32 wanted, T** records, u32* added) {
    KT_TRY(MakeRoom(wanted));
    const u32 position = m_ui32Count % kBlockSize;
    const u32 room = m_ui32Count < kBlockSize ? m_ui32FirstBlockRoom : kBlockSize;
    *records = m_pTail + position;
    *added = std::min(wanted, room - position);
    m_ui32Count += *added;
    return MP4_OK;
  }

  /// Copies record `index` out. MP4_ZERO_INDEX for 0, MP4_NOT_FOUND beyond the count.
  Mp4Result GetAt(u32 index, T* record) const {
    if (index == 0) return MP4_ZERO_INDEX;
    if (index > m_ui32Count) return MP4_NOT_FOUND;
    *record = At(index);
    return MP4_OK;
  }

  /// As `GetAt`, but answers where the record lies until the next `Append`, to change it in place.
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

  u32 GetCount() const { return m_ui32Count; }

  /// Frees all blocks; the list is empty and usable again.
  void Clear() {
    m_pBlocks.reset();
    m_pTail = nullptr;
    m_ui32BlockCount = 0;
    m_ui32BlockCapacity = 0;
    m_ui32FirstBlockRoom = 0;
    m_ui32Count = 0;
  }

 private:
  static constexpr u32 kFirstRoom = 4;

  // For one record; as long as there is one block, for as many as that can hold.
  Mp4Result MakeRoom(u32 wanted) {
    if (m_ui32Count > std::numeric_limits<u32>::max() - wanted) return MP4_NO_MEMORY;
    if (m_ui32Count % kBlockSize == 0) KT_TRY(AddBlock(wanted));
    if (m_ui32Count == m_ui32FirstBlockRoom) KT_TRY(GrowFirstBlock(wanted));
    return MP4_OK;
  }

  Mp4Result AddBlock(u32 wanted) {
    const u32 room = m_ui32Count == 0 ? std::clamp(wanted, kFirstRoom, kBlockSize) : kBlockSize;
    std::unique_ptr<T[]> entries(new (std::nothrow) T[room]);
    if (!entries) return MP4_NO_MEMORY;
    if (m_ui32BlockCount == m_ui32BlockCapacity) KT_TRY(GrowDirectory());
    m_pTail = entries.get();
    m_pBlocks[m_ui32BlockCount++] = {std::move(entries)};
    if (m_ui32Count == 0) m_ui32FirstBlockRoom = room;
    return MP4_OK;
  }

  Mp4Result GrowFirstBlock(u32 wanted) {
    if (m_ui32FirstBlockRoom == kBlockSize) return MP4_OK;
    const u32 room = std::min(m_ui32FirstBlockRoom + std::max(3 * m_ui32FirstBlockRoom, wanted), kBlockSize);
    std::unique_ptr<T[]> entries(new (std::nothrow) T[room]);
    if (!entries) return MP4_NO_MEMORY;
    std::copy_n(m_pTail, m_ui32Count, entries.get());
    m_pTail = entries.get();
    m_pBlocks[0].m_pEntries = std::move(entries);
    m_ui32FirstBlockRoom = room;
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
  u32 m_ui32FirstBlockRoom = 0;
  std::unique_ptr<CDataListNode<T>[]> m_pBlocks;
  T* m_pTail = nullptr;  // the records of the last block
};

}  // namespace kt

#pragma once

#include "boxes/tables/table_box.h"

namespace kt {

/// What "stco" and "co64" share: the position of each chunk in the file, 32 or 64 bits wide by the field of
/// `Entry`. Chunks are numbered from 1. ISO/IEC 14496-12, 8.7.5.
template <class Derived, class Entry>
class CChunkOffsetTable : public CTableBox<Derived, Entry> {
 public:
  using Offset = decltype(Entry::chunkOffset);
  using CTableBox<Derived, Entry>::CTableBox;

  template <class Fields>
  Mp4Result VisitEntry(Fields& fields, Entry& entry) {
    return fields(entry.chunkOffset);
  }

  /// MP4_ZERO_INDEX for chunk 0, MP4_NOT_FOUND beyond the last.
  Mp4Result GetChunkOffset(u32 chunk, Offset* offset) const {
    Entry entry{};
    KT_TRY(this->m_List.GetAt(chunk, &entry));
    *offset = entry.chunkOffset;
    return MP4_OK;
  }

  /// Records the offset of the next chunk. MP4_BAD_ARGUMENT for a number out of turn, MP4_NO_MEMORY.
  Mp4Result AddChunkOffset(u32 chunk, Offset offset) {
    if (chunk != this->m_ui32EntryCount + 1) return MP4_BAD_ARGUMENT;
    KT_TRY(this->AppendEntry(Entry{offset}));
    this->m_size += sizeof(Offset);
    return MP4_OK;
  }
};

}  // namespace kt

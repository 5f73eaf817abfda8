#pragma once

#include "boxes/tables/chunk_offset_table.h"

namespace kt {

struct CChunkOffsetTableEntry {
  u32 chunkOffset;
};

/// "stco": chunk offsets below 4 GiB.
class CChunkOffsetBox : public CChunkOffsetTable<CChunkOffsetBox, CChunkOffsetTableEntry> {
 public:
  static constexpr u32 kType = FourCc("stco");
  CChunkOffsetBox() : CChunkOffsetTable(kType) { m_size += 4; }
  explicit CChunkOffsetBox(CBox&& header) : CChunkOffsetTable(std::move(header)) {}
};

}  // namespace kt

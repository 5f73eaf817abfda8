#pragma once

#include "boxes/tables/chunk_offset_table.h"

namespace kt {

class CChunkOffsetBox;

struct CChunkLargeOffsetTableEntry {
  u64 chunkOffset;
};

/// "co64": chunk offsets of 64 bits.
class CChunkLargeOffsetBox : public CChunkOffsetTable<CChunkLargeOffsetBox, CChunkLargeOffsetTableEntry> {
 public:
  static constexpr u32 kType = FourCc("co64");
  CChunkLargeOffsetBox() : CChunkOffsetTable(kType) {}
  explicit CChunkLargeOffsetBox(CBox&& header) : CChunkOffsetTable(std::move(header)) {}

  /// Takes over the chunks of an "stco", which a writer does when an offset no longer fits there. The new box
  /// has to be empty: MP4_BAD_ARGUMENT otherwise. MP4_NO_MEMORY.
  Mp4Result CopyFrom(CChunkOffsetBox* box);
};

}  // namespace kt

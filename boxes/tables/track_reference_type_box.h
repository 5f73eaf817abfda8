#pragma once

#include "engine/box/box.h"
#include "engine/storage/data_list.h"

namespace kt {

struct CTrackReferenceTableEntry {
  u32 trackId;
};

/// A child of "tref": the ids of the tracks that are referred to in the way that the box's code says. The ids
/// fill the box, there is no count in the file. ISO/IEC 14496-12, 8.3.3.
class CTrackReferenceTypeBox : public CBox {
 public:
  /// The codes that the library reads and writes; the class serves both.
  static constexpr u32 kHintType = FourCc("hint");
  static constexpr u32 kOdType = FourCc("mpod");
  explicit CTrackReferenceTypeBox(u32 type) : CBox(type) {}
  explicit CTrackReferenceTypeBox(CBox&& header) : CBox(std::move(header)) {}

  /// MP4_FILE_IO at once for a payload that is no multiple of 4; what the storage reports; MP4_NO_MEMORY.
  Mp4Result Deserialize(CStorage* storage) override;
  Mp4Result Serialize(CStorage* storage) override;
  Mp4Result Dump(int indent) override;
  Mp4Result CalculateSize() override;

  /// Appends an id; `*index` takes its number, counted from 1. MP4_BAD_ARGUMENT for a null `index`,
  /// MP4_NO_MEMORY.
  Mp4Result AddTrackId(u32 trackId, u32* index);
  /// MP4_BAD_ARGUMENT for index 0, MP4_NOT_FOUND beyond the count.
  Mp4Result GetTrackId(u32 index, u32* trackId) const;
  Mp4Result GetEntryCount(u32* count) const;

 private:
  u32 m_ui32EntryCount = 0;
  CDataList<CTrackReferenceTableEntry> m_List;
};

}  // namespace kt

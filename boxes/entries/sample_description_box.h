#pragma once

#include "boxes/containers/container_box.h"
#include "boxes/tables/entry_count_box.h"

namespace kt {

/// The count of "stsd", which is printed in front of the entries.
class CSampleEntryCountBox : public CEntryCountBox {
 public:
  using CEntryCountBox::CEntryCountBox;

  Mp4Result Dump(int indent) override;
};

/// "stsd": the sample entries of a track, which say how its samples are coded. ISO/IEC 14496-12, 8.5.2.
class CSampleDescriptionBox final
    : public CContainerBox<CSampleEntryCountBox, ContainerRules{.lookup = ChildLookup::kNone}> {
 public:
  static constexpr u32 kType = FourCc("stsd");
  CSampleDescriptionBox() : CContainerBox(kType) {}
  explicit CSampleDescriptionBox(CBox&& header) : CContainerBox(std::move(header)) {}

  /// The entry with this number, counted from 1; borrowed. MP4_ZERO_INDEX for 0, MP4_NOT_FOUND beyond the
  /// last or when the box has no list yet.
  Mp4Result GetSampleEntry(u32 index, CBox** entry);
  /// Appends and owns `entry`. MP4_BAD_ARGUMENT for null, MP4_NO_MEMORY.
  Mp4Result AddEntry(std::unique_ptr<CBox> entry);
};

}  // namespace kt

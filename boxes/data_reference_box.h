#pragma once

#include "boxes/containers/container_box.h"
#include "boxes/tables/entry_count_box.h"
#include "engine/box/box_text.h"

namespace kt {

/// "url ": where the media data of a track are. Flag 1 means in this same file, and then no location follows.
/// ISO/IEC 14496-12, 8.7.2.
class CDataEntryURLBox final : public CFullBox {
 public:
  static constexpr u32 kType = FourCc("url ");
  CDataEntryURLBox() : CFullBox(kType, 0, 1) {}
  explicit CDataEntryURLBox(CBox&& header) : CFullBox(std::move(header)) {}

  /// Reads the location when the flags are 0. Behind other flags nothing is read, so that the next box is
  /// taken from there.
  Mp4Result Deserialize(CStorage* storage) override;
  /// A location is written with its terminator, which `CalculateSize` leaves out.
  Mp4Result Serialize(CStorage* storage) override;
  Mp4Result Dump(int indent) override;
  Mp4Result CalculateSize() override;
  /// Null sets flag 1 and stores nothing; a text is copied and leaves the flags as they are. MP4_NO_MEMORY.
  Mp4Result SetLocation(const char* location);

 private:
  CBoxText m_pLocation;
};

/// "urn ": a name in place of a location. Both its texts stay unread, and its payload with them, so that the
/// next box is taken from there: readers rely on it. ISO/IEC 14496-12, 8.7.2.
class CDataEntryURNBox final : public CFullBox {
 public:
  static constexpr u32 kType = FourCc("urn ");
  explicit CDataEntryURNBox(CBox&& header) : CFullBox(std::move(header)) {}

  Mp4Result Dump(int indent) override;
};

/// "dref": the data entries of a track. ISO/IEC 14496-12, 8.7.2.
class CDataReferenceBox final
    : public CContainerBox<CEntryCountBox, ContainerRules{.serializesWithoutList = true,
                                                          .dumpsWithoutList = true,
                                                          .sizesWithoutList = true,
                                                          .lookup = ChildLookup::kNone}> {
 public:
  static constexpr u32 kType = FourCc("dref");
  CDataReferenceBox() : CContainerBox(kType) {}
  explicit CDataReferenceBox(CBox&& header) : CContainerBox(std::move(header)) {}

  /// Appends a "url " entry; a null location means this same file. MP4_NO_MEMORY.
  Mp4Result AddUrlEntry(const char* location);
};

}  // namespace kt

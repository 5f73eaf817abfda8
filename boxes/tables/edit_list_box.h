#pragma once

#include "boxes/tables/table_box.h"

namespace kt {

/// An edit, as wide as version 1 has it whatever the version of the box.
struct CEditListTableEntry {
  u64 segmentDuration;  // movie ticks
  i64 mediaTime;        // media ticks; -1 for an empty edit
  i16 mediaRateInteger;
  i16 mediaRateFraction;
};

/// "elst": the edit list of a track. It is read, kept and written back whole; playback uses nothing but an
/// empty edit at the start. ISO/IEC 14496-12, 8.6.6.
class CEditListBox : public CTableBox<CEditListBox, CEditListTableEntry> {
 public:
  static constexpr u32 kType = FourCc("elst");
  CEditListBox() : CTableBox(kType) {}
  explicit CEditListBox(CBox&& header) : CTableBox(std::move(header)) {}

  template <class Fields>
  Mp4Result VisitEntry(Fields& fields, CEditListTableEntry& entry) {
    const bool wide = m_version == 1;
    KT_TRY(fields.Sized(entry.segmentDuration, wide));
    KT_TRY(fields.Sized(entry.mediaTime, wide));
    return fields(entry.mediaRateInteger, entry.mediaRateFraction);
  }

  /// The edit that covers `time` of the movie, in movie ticks: where it starts, how long it lasts, its media
  /// time and its rate as fixed 16.16. MP4_OK with all of them 0 when no edit covers it, and MP4_NOT_FOUND
  /// with all of them valid when the edit is the last one of the list: readers rely on both.
  Mp4Result FindEdit(u64 time, u64* start, u64* duration, u64* mediaTime, u32* rate) const;

  /// Appends an edit; `rate` is in whole numbers. MP4_NO_MEMORY.
  Mp4Result AddEdit(u64 duration, u64 mediaTime, u16 rate);
};

}  // namespace kt

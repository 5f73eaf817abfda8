#include "boxes/tables/edit_list_box.h"

namespace kt {

Mp4Result CEditListBox::FindEdit(u64 time, u64* start, u64* duration, u64* mediaTime, u32* rate) const {
  *start = 0;
  *duration = 0;
  *mediaTime = 0;
  *rate = 0;
  u64 sum = 0;
  for (u32 index = 1; index <= m_ui32EntryCount; ++index) {
    CEditListTableEntry entry{};
    KT_TRY(m_List.GetAt(index, &entry));
    const u64 end = sum + entry.segmentDuration;
    if (end > time) {
      *start = sum;
      *duration = entry.segmentDuration;
      *mediaTime = static_cast<u64>(entry.mediaTime);
      *rate = u32{static_cast<u16>(entry.mediaRateInteger)} << 16 | static_cast<u16>(entry.mediaRateFraction);
      return index == m_ui32EntryCount ? MP4_NOT_FOUND : MP4_OK;
    }
    sum = end;
  }
  return MP4_OK;
}

Mp4Result CEditListBox::AddEdit(u64 duration, u64 mediaTime, u16 rate) {
  return AppendEntry({duration, static_cast<i64>(mediaTime), static_cast<i16>(rate), 0});
}

}  // namespace kt

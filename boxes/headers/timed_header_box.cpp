#include "boxes/headers/timed_header_box.h"

#include <cinttypes>
#include <cstdio>

#include "engine/storage/dates.h"

namespace kt {
namespace {

void DumpTime(int indent, const char* name, u64 seconds) {
  u32 year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
  PrintIndent(indent);
  if (SecondsToDate(seconds, &year, &month, &day, &hour, &minute, &second) == MP4_OK) {
    std::printf("%s = %04u/%02u/%02u %02u:%02u:%02u (%" PRIu64 ")\n", name, year, month, day, hour, minute,
                second, seconds);
  } else {
    std::printf("%s = %" PRIu64 " (invalid data)\n", name, seconds);
  }
}

}  // namespace

Mp4Result CTimedHeaderBox::GetDuration(u64* duration) const {
  *duration = m_ui64Duration;
  return MP4_OK;
}

Mp4Result CTimedHeaderBox::SetDuration(u64 duration) {
  m_ui64Duration = duration;
  return MP4_OK;
}

void CTimedHeaderBox::DumpTimes(int indent) const {
  DumpTime(indent, "Creation Time", m_ui64CreationTime);
  DumpTime(indent, "Modification Time", m_ui64ModificationTime);
}

Mp4Result CScaledHeaderBox::GetTimeScale(u32* timeScale) const {
  *timeScale = m_ui32TimeScale;
  return MP4_OK;
}

Mp4Result CScaledHeaderBox::SetTimeScale(u32 timeScale) {
  m_ui32TimeScale = timeScale;
  return MP4_OK;
}

Mp4Result CScaledHeaderBox::GetCreationDate(u32* year, u32* month, u32* day, u32* hour, u32* minute,
                                            u32* second) const {
  return SecondsToDate(m_ui64CreationTime, year, month, day, hour, minute, second);
}

Mp4Result CScaledHeaderBox::SetCreationDate(u32 year, u32 month, u32 day, u32 hour, u32 minute, u32 second) {
  return DateToSeconds(&m_ui64CreationTime, year, month, day, hour, minute, second);
}

}  // namespace kt

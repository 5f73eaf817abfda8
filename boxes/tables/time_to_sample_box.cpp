#include "boxes/tables/time_to_sample_box.h"

namespace kt {

Mp4Result CTimeToSampleBox::GetSampleTime(u32 sample, u64* time) {
  // Asking for the very first sample of the run at the cursor starts from the top again: that sample is found
  // at the end of the run before.
  const bool resume = m_ui32CursorSample < sample;
  u32 run = resume ? m_ui32CursorRun : 1;
  u64 first = resume ? m_ui32CursorSample : 1;
  u64 base = resume ? m_ui64CursorTime : 0;
  CTimeToSampleTableEntry entry{};
  for (; run <= m_ui32EntryCount; ++run) {
    KT_TRY(m_List.GetAt(run, &entry));
    // A run also answers for the number behind its last sample, where the next run begins.
    const u64 end = first + entry.sampleCount;
    if (sample <= end) break;
    base += u64{entry.sampleCount} * entry.sampleDelta;
    first = end;
  }
  if (run > m_ui32EntryCount) return MP4_NOT_FOUND;
  const u32 offset = sample - static_cast<u32>(first);
  *time = base + u64{offset} * entry.sampleDelta;
  m_ui32CursorRun = run;
  m_ui32CursorSample = static_cast<u32>(first);
  m_ui64CursorTime = base;
  return run == m_ui32EntryCount && offset == entry.sampleCount ? MP4_NOT_FOUND : MP4_OK;
}

Mp4Result CTimeToSampleBox::AddSampleTime(u32 sample, u64 time) {
  if (sample != m_ui32NextSample) return MP4_BAD_ARGUMENT;
  if (sample >= 2) {
    // The low halves decide: a step of 2^31 to 2^32 ticks counts as one backwards.
    const i32 step = static_cast<i32>(static_cast<u32>(time) - static_cast<u32>(m_ui64LastTime));
    if (step <= 0) {
      time = m_ui64LastTime + 2;
    } else if ((time - m_ui64LastTime) >> 32 != 0) {
      return MP4_BAD_TIMING;
    }
    KT_TRY(AddToRuns(static_cast<u32>(time) - static_cast<u32>(m_ui64LastTime)));
  }
  ++m_ui32NextSample;
  m_ui64LastTime = time;
  return MP4_OK;
}

Mp4Result CTimeToSampleBox::FinishTimes() {
  if (m_ui32EntryCount == 0) return AddToRuns(1);
  CTimeToSampleTableEntry* last = nullptr;
  KT_TRY(m_List.GetPointerAt(m_ui32EntryCount, &last));
  ++last->sampleCount;
  return MP4_OK;
}

}  // namespace kt

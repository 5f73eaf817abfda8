#include "boxes/tables/composition_offset_box.h"

namespace kt {

Mp4Result CCompositionOffsetBox::GetSampleOffset(u32 sample, u32* offset) {
  if (sample >= m_ui64EndSample) return MP4_NOT_FOUND;
  const bool resume = m_ui32CursorSample <= sample;
  u32 run = resume ? m_ui32CursorRun : 1;
  u64 first = resume ? m_ui32CursorSample : 1;
  for (; run <= m_ui32EntryCount; ++run) {
    CCompositionOffsetTableEntry entry{};
    KT_TRY(m_List.GetAt(run, &entry));
    const u64 end = first + entry.sampleCount;
    if (sample < end) {
      *offset = entry.sampleOffset;
      m_ui32CursorRun = run;
      m_ui32CursorSample = static_cast<u32>(first);
      return MP4_OK;
    }
    first = end;
  }
  m_ui64EndSample = first;
  return MP4_NOT_FOUND;
}

Mp4Result CCompositionOffsetBox::AddSampleOffset(u32 sample, u32 offset) {
  if (sample != m_ui32NextSample) return MP4_BAD_ARGUMENT;
  KT_TRY(AddToRuns(offset));
  m_ui64EndSample = kEndUnknown;
  ++m_ui32NextSample;
  return MP4_OK;
}

}  // namespace kt

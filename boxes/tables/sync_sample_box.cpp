#include "boxes/tables/sync_sample_box.h"

#include <algorithm>
#include <limits>

#include "engine/storage/last_reached.h"

namespace kt {

Mp4Result CSyncSampleBox::FindPrecedingSyncSample(u32 sample, u32* syncSample) {
  *syncSample = 1;
  CSyncRange range;
  KT_TRY(FindSyncRange(sample, &range));
  *syncSample = range.syncSample;
  return MP4_OK;
}

Mp4Result CSyncSampleBox::FindSyncRange(u32 sample, CSyncRange* range) {
  CSyncSampleTableEntry entry{};
  KT_TRY(m_List.GetAt(1, &entry));
  if (entry.sampleNumber > sample) return MP4_NOT_FOUND;

  // The blocks whose entries all stay at or below the sample can be passed over, rising or not. The first
  // entry counts among them without harm: it is not above the sample.
  KT_TRY(m_Largest.Update(m_List));
  const u32 blocks = m_Largest.GetCount();
  const u64 guess = u64{sample} * blocks / std::max(m_Largest.UpTo(blocks), 1U);
  const u32 passed = FindLastReached(0, static_cast<u32>(std::min<u64>(guess, blocks)), blocks,
                                     [=, this](u32 block) { return m_Largest.UpTo(block) <= sample; });
  u32 largest = m_Largest.UpTo(passed);
  u32 index = passed * m_Largest.kBlockSize + 1;
  for (; index <= m_List.GetCount() && m_List.At(index).sampleNumber <= sample; ++index) {
    largest = std::max(largest, m_List.At(index).sampleNumber);
  }
  const bool isLast = index > m_List.GetCount();
  *range = {m_List.At(index - 1).sampleNumber, largest,
            isLast ? std::numeric_limits<u32>::max() : m_List.At(index).sampleNumber - 1, index - 1};
  return MP4_OK;
}

Mp4Result CSyncSampleBox::AddSyncSample(u32 sample) {
  return AppendEntry({sample});
}

}  // namespace kt

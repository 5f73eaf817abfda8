#include "adapt/sample_tables.h"

#include <algorithm>

namespace kt::adapt {

Mp4Result CSampleTables::AddTimes(u32 count, u32 delta) {
  if (count == 0) return MP4_OK;
  const u64 added = u64{count} * delta;
  if (added > static_cast<u64>(kLatestTime - std::max<i64>(m_endTime, 0))) return MP4_BAD_TIMING;
  TimeRun* last = nullptr;
  if (m_times.GetPointerAt(m_times.GetCount(), &last) == MP4_OK && last->delta == delta &&
      last->count <= kMostSamples - std::min(count, kMostSamples)) {
    last->count += count;
  } else {
    const TimeRun run{count, delta};
    KT_TRY(m_times.Append(&run));
  }
  m_endTime += static_cast<i64>(added);
  return MP4_OK;
}

Mp4Result CSampleTables::AddOffsets(u32 count, i32 offset) {
  if (count == 0) return MP4_OK;
  OffsetRun* last = nullptr;
  if (m_offsets.GetPointerAt(m_offsets.GetCount(), &last) == MP4_OK && last->offset == offset &&
      last->count <= kMostSamples - std::min(count, kMostSamples)) {
    last->count += count;
  } else {
    const OffsetRun run{count, offset};
    KT_TRY(m_offsets.Append(&run));
  }
  m_lowestOffset = std::min(m_lowestOffset, offset);
  m_hasOffsets = m_hasOffsets || offset != 0;
  return MP4_OK;
}

bool CSampleTables::ListOffsets(CBytes runs) {
  u64 samples = 0;
  i32 lowest = 0;
  u32 any = 0;
  for (u64 place = 0; place + 8 <= runs.Size(); place += 8) {
    const u32 offset = runs.U32(place + 4);
    samples += runs.U32(place);
    lowest = std::min(lowest, static_cast<i32>(offset));
    any |= offset;
  }
  if (samples != m_sizeCount) return false;
  m_listedOffsets = runs;
  m_lowestOffset = lowest;
  m_hasOffsets = any != 0;
  return true;
}

Mp4Result CSampleTables::AddSizes(u32 count, u32 size) {
  if (count == 0) return MP4_OK;
  if (count > kMostSamples - m_sizeCount) return MP4_OUT_OF_RANGE;
  if (m_sizeCount == 0) m_constantSize = size;
  if (SizesAreConstant() && size == m_constantSize) {
    m_sizeCount += count;
    m_claimedSizes += count - 1;
    return MP4_OK;
  }
  if (SizesAreConstant()) {
    for (u32 i = 0; i < m_sizeCount; ++i) KT_TRY(m_sizes.Append(&m_constantSize));
    m_constantSize = 0;
  }
  for (u32 i = 0; i < count; ++i) KT_TRY(m_sizes.Append(&size));
  m_sizeCount += count;
  return MP4_OK;
}

Mp4Result CSampleTables::AddSync(u32 first, u32 count) {
  if (count == 0) return MP4_OK;
  SyncRun* last = nullptr;
  if (m_sync.GetPointerAt(m_sync.GetCount(), &last) == MP4_OK && last->first + last->count == first) {
    last->count += count;
    return MP4_OK;
  }
  const SyncRun run{first, count};
  return m_sync.Append(&run);
}

Mp4Result CSampleTables::AddChunk(const SampleChunk& chunk) {
  return chunk.samples == 0 ? MP4_OK : m_chunks.Append(&chunk);
}

u64 CSampleTables::ClaimsListedBy(u32 count, u32 size) const {
  if (count == 0) return 0;
  // A size of 0 for all samples is written as a list, since it stands for one.
  const bool staysConstant = SizesAreConstant() && (m_sizeCount == 0 || size == m_constantSize);
  if (staysConstant) return size == 0 ? count - 1 : 0;
  return count - 1 + (SizesAreConstant() ? m_claimedSizes : 0);
}

u64 CSampleTables::ClaimsListedByWriting() const {
  if (!m_namesSync && AllAreSync()) return 0;
  u64 claims = 0;
  for (u32 index = 1; index <= m_sync.GetCount(); ++index) claims += m_sync.At(index).count - 1;
  return claims;
}

bool CSampleTables::AllAreSync() const {
  return Count() == 0 || (m_sync.GetCount() == 1 && m_sync.At(1).first == 1 && m_sync.At(1).count == Count());
}

u32 CSampleTables::LastDelta() const {
  return m_times.GetCount() == 0 ? 0 : m_times.At(m_times.GetCount()).delta;
}

Mp4Result CSampleTables::EndLastAt(i64 time) {
  TimeRun* last = nullptr;
  KT_TRY(m_times.GetPointerAt(m_times.GetCount(), &last));
  const i64 delta = time - (m_endTime - last->delta);
  if (delta < 0 || delta > i64{0xFFFFFFFF} || time > kLatestTime) return MP4_BAD_TIMING;
  if (delta == last->delta) return MP4_OK;
  m_endTime = time;
  if (last->count == 1) {
    last->delta = static_cast<u32>(delta);
    return MP4_OK;
  }
  --last->count;
  const TimeRun run{1, static_cast<u32>(delta)};
  return m_times.Append(&run);
}

bool CStretches::Next(Stretch* stretch) {
  while (m_timeRun.count == 0) {
    if (m_timeIndex == m_tables.Times().GetCount()) return false;
    m_timeRun = m_tables.Times().At(++m_timeIndex);
  }
  while (m_offsetRun.count == 0) {
    // Behind the last offset, and without any, the offset is 0.
    const bool more = m_offsetIndex < m_tables.OffsetRunCount();
    m_offsetRun = more ? m_tables.OffsetRunAt(++m_offsetIndex) : OffsetRun{CSampleTables::kMostSamples, 0};
  }
  const u32 count = std::min(m_timeRun.count, m_offsetRun.count);
  *stretch = {m_nextSample, count, m_timeRun.delta, m_offsetRun.offset, m_time};
  m_timeRun.count -= count;
  m_offsetRun.count -= count;
  m_nextSample += count;
  m_time += i64{count} * m_timeRun.delta;
  return true;
}

}  // namespace kt::adapt

#include "boxes/tables/sample_size_box.h"

namespace kt {

Mp4Result CSampleSizeBox::Deserialize(CStorage* storage) {
  KT_TRY(CFullBox::Deserialize(storage));
  CFieldReader<u64> reader(storage, &m_remaining);
  KT_TRY(reader(m_Constant.sampleSize, m_ui32EntryCount));
  return m_Constant.sampleSize == 0 ? ReadEntries(storage) : MP4_OK;
}

Mp4Result CSampleSizeBox::Serialize(CStorage* storage) {
  KT_TRY(CFullBox::Serialize(storage));
  CFieldWriter writer(storage);
  KT_TRY(writer(m_Constant.sampleSize, m_ui32EntryCount));
  return m_Constant.sampleSize == 0 ? WriteEntries(storage) : MP4_OK;
}

Mp4Result CSampleSizeBox::CalculateSize() {
  KT_TRY(CFullBox::CalculateSize());
  m_size += 8;
  if (m_Constant.sampleSize == 0) m_size += GetEntryBytes();
  return MP4_OK;
}

Mp4Result CSampleSizeBox::Dump(int indent) {
  KT_TRY(CFullBox::Dump(indent));
  PrintIndent(indent);
  std::printf("Sample Size = %u\n", m_Constant.sampleSize);
  PrintIndent(indent);
  // "Count" with a capital, unlike in the other tables: readers of dumps rely on it.
  std::printf("Entry Count = %u\n", m_ui32EntryCount);
  return MP4_OK;
}

Mp4Result CSampleSizeBox::SumSampleSizes(u32 first, u32 end, u32* sum) {
  *sum = 0;
  if (first >= end) return MP4_OK;
  if (first == 0 && m_Constant.sampleSize == 0) return MP4_ZERO_INDEX;
  if (end - 1 > m_ui32EntryCount) return MP4_NOT_FOUND;
  if (m_Constant.sampleSize != 0) {
    *sum = (end - first) * m_Constant.sampleSize;
    return MP4_OK;
  }
  if (end - 1 > m_List.GetCount()) return MP4_NOT_FOUND;
  if (end - first <= m_Sums.kBlockSize) {
    // Most chunks are short: fewer numbers to add than the sums of whole blocks leave over.
    *sum = AddUp(first, end);
    return MP4_OK;
  }
  KT_TRY(m_Sums.Update(m_List));
  *sum = SumUpTo(end - 1) - SumUpTo(first - 1);
  return MP4_OK;
}

u32 CSampleSizeBox::SumUpTo(u32 sample) const {
  const u32 blocks = sample / m_Sums.kBlockSize;
  return m_Sums.UpTo(blocks) + AddUp(blocks * m_Sums.kBlockSize + 1, sample + 1);
}

// Of samples in the list.
u32 CSampleSizeBox::AddUp(u32 first, u32 end) const {
  u32 sum = 0;
  while (first < end) {
    const CSampleSizeRun run = FindRun(first);
    const u32 begin = first - run.first;
    const u32 count = std::min(end - first, run.count - begin);
    for (u32 i = begin; i < begin + count; ++i) sum += run.entries[i].sampleSize;
    first += count;
  }
  return sum;
}

Mp4Result CSampleSizeBox::AddSampleSize(u32 sample, u32 size) {
  if (sample != m_ui32EntryCount + 1 || size == 0) return MP4_BAD_ARGUMENT;
  if (size == m_Constant.sampleSize) {
    ++m_ui32EntryCount;
    return MP4_OK;
  }
  if (m_ui32EntryCount == 0) {
    m_Constant.sampleSize = size;
    m_ui32EntryCount = 1;
    return MP4_OK;
  }
  if (m_Constant.sampleSize != 0) {
    const CSampleSizeTableEntry entry{m_Constant.sampleSize};
    while (m_List.GetCount() < m_ui32EntryCount) KT_TRY(m_List.Append(&entry));
    m_Constant.sampleSize = 0;
  }
  return AppendEntry(CSampleSizeTableEntry{size});
}

}  // namespace kt

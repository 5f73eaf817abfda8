#include "boxes/entries/sample_description_box.h"

#include <cstdio>

namespace kt {

Mp4Result CSampleEntryCountBox::Dump(int indent) {
  KT_TRY(CEntryCountBox::Dump(indent));
  PrintIndent(indent);
  std::printf("Entry count = %u\n", m_ui32EntryCount);
  return MP4_OK;
}

Mp4Result CSampleDescriptionBox::GetSampleEntry(u32 index, CBox** entry) {
  if (m_children) return m_children->GetByIndex(index, entry);
  return m_hasList && index == 0 ? MP4_ZERO_INDEX : MP4_NOT_FOUND;
}

Mp4Result CSampleDescriptionBox::AddEntry(std::unique_ptr<CBox> entry) {
  KT_TRY(Append(std::move(entry)));
  ++m_ui32EntryCount;
  return MP4_OK;
}

}  // namespace kt

#include "boxes/sample_description_box.h"

#include <cstdio>

namespace kt {

Mp4Result CSampleEntryCountBox::Dump(int indent) {
  KT_TRY(CEntryCountBox::Dump(indent));
  PrintIndent(indent);
  std::printf("Entry count = %u\n", m_ui32EntryCount);
  return MP4_OK;
}

Mp4Result CSampleDescriptionBox::GetSampleEntry(u32 index, CBox** entry) {
  return m_children ? m_children->GetByIndex(index, entry) : MP4_NOT_FOUND;
}

Mp4Result CSampleDescriptionBox::AddEntry(std::unique_ptr<CBox> entry) {
  KT_TRY(Append(std::move(entry)));
  ++m_ui32EntryCount;
  return MP4_OK;
}

}  // namespace kt

#include "boxes/entries/sample_entry.h"

#include <cstdio>

namespace kt {

Mp4Result CSampleEntry::Dump(int indent) {
  KT_TRY(CBox::Dump(indent));
  PrintIndent(indent);
  std::printf("m_ui16DataReferenceIndex: %d\n", m_ui16DataReferenceIndex);
  return MP4_OK;
}

}  // namespace kt

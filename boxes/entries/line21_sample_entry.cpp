#include "boxes/entries/line21_sample_entry.h"

#include <cstdio>

namespace kt {

Mp4Result CLine21SampleEntry::Dump(int indent) {
  KT_TRY(CSampleEntry::Dump(indent));
  PrintIndent(indent);
  std::printf("Config=%d\n", m_ui8Config);
  return MP4_OK;
}

Mp4Result CLine21SampleEntry::SetConfig(const void* /*data*/, u32 /*size*/) {
  m_ui8Config = 0;
  return MP4_OK;
}

}  // namespace kt

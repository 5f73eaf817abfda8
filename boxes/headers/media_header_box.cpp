#include "boxes/headers/media_header_box.h"

#include <cinttypes>
#include <cstdio>

namespace kt {

Mp4Result CMediaHeaderBox::Dump(int indent) {
  KT_TRY(CFullBox::Dump(indent));
  DumpTimes(indent);
  PrintIndent(indent);
  std::printf("Time Scale=%u, Duration=%" PRIu64 "\n", m_ui32TimeScale, m_ui64Duration);
  return MP4_OK;
}

}  // namespace kt

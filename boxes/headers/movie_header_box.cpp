#include "boxes/headers/movie_header_box.h"

#include <cinttypes>
#include <cstdio>

namespace kt {

Mp4Result CMovieHeaderBox::Dump(int indent) {
  KT_TRY(CFullBox::Dump(indent));
  DumpTimes(indent);
  PrintIndent(indent);
  std::printf("TimeScale = %u Duration = %" PRIu64 "\n", m_ui32TimeScale, m_ui64Duration);
  // The duration stands in two lines; readers of dumps rely on both.
  PrintIndent(indent);
  std::printf("Duration=%" PRIu64 ", Rate=%d, Volume=%d, NextTrackId=%d\n", m_ui64Duration, m_i32Rate,
              m_i16Volume, static_cast<i32>(m_ui32NextTrackId));
  return MP4_OK;
}

Mp4Result CMovieHeaderBox::SetNextTrackId(u32 id) {
  if (id == 0 || id == 0xFFFFFFFF) return MP4_BAD_ARGUMENT;
  m_ui32NextTrackId = id;
  return MP4_OK;
}

}  // namespace kt

#include "boxes/headers/sound_media_header_box.h"

#include <cstdio>

namespace kt {

Mp4Result CSoundMediaHeaderBox::Dump(int indent) {
  KT_TRY(CFullBox::Dump(indent));
  PrintIndent(indent);
  std::printf("Balance=%d\n", m_i16Balance);
  return MP4_OK;
}

Mp4Result CSoundMediaHeaderBox::SetBalance(u16 balance) {
  m_i16Balance = static_cast<i16>(balance);
  return MP4_OK;
}

}  // namespace kt

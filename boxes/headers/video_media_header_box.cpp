#include "boxes/headers/video_media_header_box.h"

#include <cstdio>

namespace kt {

Mp4Result CVideoMediaHeaderBox::Dump(int indent) {
  KT_TRY(CFullBox::Dump(indent));
  PrintIndent(indent);
  std::printf("Graphics mode=%d, OP color=%d %d %d\n", m_i16GraphicsMode, m_i16OpColor[0], m_i16OpColor[1],
              m_i16OpColor[2]);
  return MP4_OK;
}

}  // namespace kt

#include "boxes/entries/visual_sample_entry.h"

#include <cstdio>

namespace kt {

Mp4Result CVisualSampleEntry::Dump(int indent) {
  KT_TRY(CSampleEntry::Dump(indent));
  PrintIndent(indent);
  std::printf("Width=%d Height=%d,  Compressor Name=%.*s\n", m_i16Width, m_i16Height,
              static_cast<int>(sizeof(m_CompressorName) - 1),
              reinterpret_cast<const char*>(m_CompressorName + 1));
  return MP4_OK;
}

Mp4Result CVisualSampleEntry::GetVideoSize(u16* width, u16* height) const {
  *width = static_cast<u16>(m_i16Width);
  *height = static_cast<u16>(m_i16Height);
  return MP4_OK;
}

Mp4Result CVisualSampleEntry::SetVideoSize(i16 width, i16 height) {
  if (width < 0 || height < 0) return MP4_BAD_ARGUMENT;
  m_i16Width = width;
  m_i16Height = height;
  return MP4_OK;
}

}  // namespace kt

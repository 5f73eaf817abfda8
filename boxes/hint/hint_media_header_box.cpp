#include "boxes/hint/hint_media_header_box.h"
#include "engine/storage/printing.h"

#include <cstdio>

namespace kt {

// The line has no end: readers of dumps rely on it.
Mp4Result CHintMediaHeaderBox::Dump(int indent) {
  KT_TRY(CFullBox::Dump(indent));
  PrintIndent(indent);
  std::printf("Max PDUs=%u, Avg. PDUs=%u, Max. Bitrate=%u, Avg. Bitrate=%u", m_maxPDUSize, m_avgPDUSize,
              m_maxBitrate, m_avgBitrate);
  return MP4_OK;
}

Mp4Result CHintMediaHeaderBox::SetPduSizes(u16 maximum, u16 average) {
  m_maxPDUSize = maximum;
  m_avgPDUSize = average;
  return MP4_OK;
}

Mp4Result CHintMediaHeaderBox::GetPduSizes(u16* size, u32 /*other*/) {
  *size = m_avgPDUSize;
  return MP4_OK;
}

Mp4Result CHintMediaHeaderBox::SetBitrates(u32 maximum, u32 average) {
  m_maxBitrate = maximum;
  m_avgBitrate = average;
  return MP4_OK;
}

Mp4Result CHintMediaHeaderBox::GetBitrates(u32* maximum, u32* average) {
  *maximum = m_maxBitrate;
  *average = m_avgBitrate;
  return MP4_OK;
}

}  // namespace kt

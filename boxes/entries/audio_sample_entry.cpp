#include "boxes/entries/audio_sample_entry.h"

#include <cstdio>

namespace kt {

Mp4Result CAudioSampleEntry::Dump(int indent) {
  KT_TRY(CSampleEntry::Dump(indent));
  PrintIndent(indent);
  std::printf("Channel Count=%d, Sample Size=%d, Sample Rate=%d\n", m_ui16ChannelCount, m_ui16SampleSize,
              m_ui16SampleRate);
  return MP4_OK;
}

Mp4Result CAudioSampleEntry::GetChannelCount(u16* channels) const {
  *channels = m_ui16ChannelCount;
  return MP4_OK;
}

Mp4Result CAudioSampleEntry::GetSampleRate(u32* rate) const {
  *rate = m_ui16SampleRate;
  return MP4_OK;
}

Mp4Result CAudioSampleEntry::SetSampleRate(u16 rate) {
  m_ui16SampleRate = rate;
  return MP4_OK;
}

}  // namespace kt

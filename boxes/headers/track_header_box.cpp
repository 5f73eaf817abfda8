#include "boxes/headers/track_header_box.h"

#include <cinttypes>
#include <cstdio>

namespace kt {
namespace {

constexpr u32 kTrackEnabled = 1;

u32 WholePixels(i32 fixed) {
  return static_cast<u32>(fixed >> 16);
}

// Eight of the sixteen bits; readers of dumps rely on it.
u32 PrintedFraction(i32 fixed) {
  return static_cast<u32>(fixed) & 0xFF;
}

}  // namespace

Mp4Result CTrackHeaderBox::Dump(int indent) {
  KT_TRY(CFullBox::Dump(indent));
  DumpTimes(indent);
  PrintIndent(indent);
  std::printf("Track ID=%u, Duration=%" PRIu64 "\n", m_ui32TrackId, m_ui64Duration);
  PrintIndent(indent);
  std::printf("Layer = %d, Volume = 0x%04x, Width = 0x%04x.0x%04x, Height = 0x%04x.0x%04x\n", m_i16Layer,
              static_cast<u32>(i32{m_i16Volume}), WholePixels(m_i32Width), PrintedFraction(m_i32Width),
              WholePixels(m_i32Height), PrintedFraction(m_i32Height));
  return MP4_OK;
}

Mp4Result CTrackHeaderBox::GetTrackId(u32* id) const {
  *id = m_ui32TrackId;
  return m_ui32TrackId == 0 ? MP4_BAD_VALUE : MP4_OK;
}

Mp4Result CTrackHeaderBox::SetTrackId(u32 id) {
  if (id == 0) return MP4_BAD_ARGUMENT;
  m_flags = kTrackEnabled;
  m_ui32TrackId = id;
  return MP4_OK;
}

Mp4Result CTrackHeaderBox::GetDimensions(u32* width, u32* height) const {
  *width = WholePixels(m_i32Width);
  *height = WholePixels(m_i32Height);
  return MP4_OK;
}

Mp4Result CTrackHeaderBox::SetDimensions(u32 width, u32 height) {
  if (static_cast<i32>(width) < 0 || static_cast<i32>(height) < 0) return MP4_BAD_ARGUMENT;
  m_i32Width = static_cast<i32>(width << 16);
  m_i32Height = static_cast<i32>(height << 16);
  return MP4_OK;
}

Mp4Result CTrackHeaderBox::SetVolume(i16 volume) {
  if (volume < 0) return MP4_BAD_ARGUMENT;
  m_i16Volume = volume;
  return MP4_OK;
}

}  // namespace kt

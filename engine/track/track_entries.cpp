// What a track takes from its sample entries, by the code of the entry.

#include "boxes/entries/amr_sample_entry.h"
#include "boxes/entries/h263_sample_entry.h"
#include "boxes/entries/mp4_sample_entry.h"
#include "boxes/entries/sample_description_box.h"
#include "engine/track/track_impl.h"

namespace kt {

// The factory makes each of these codes into one class, so the code vouches for the cast.
Mp4Result CTrackImpl::GetEntry(u32 entryIndex, Entry* entry) {
  *entry = {};
  if (m_boxes.sampleDescription == nullptr) return MP4_NOT_READY;
  CBox* box = nullptr;
  KT_TRY(m_boxes.sampleDescription->GetSampleEntry(entryIndex, &box));
  KT_TRY(box->GetType(&entry->code));
  switch (entry->code) {
    case FourCc("mp4v"): {
      auto* const visual = static_cast<CMP4VisualSampleEntry*>(box);
      entry->visual = visual;
      entry->mpeg4 = visual;
      break;
    }
    case FourCc("mp4a"): {
      auto* const audio = static_cast<CMP4AudioSampleEntry*>(box);
      entry->audio = audio;
      entry->mpeg4 = audio;
      break;
    }
    case FourCc("mp4s"):
      entry->mpeg4 = static_cast<CMP4MpegSampleEntry*>(box);
      break;
    case FourCc("s263"):
      entry->h263 = static_cast<CH263SampleEntry*>(box);
      entry->visual = entry->h263;
      break;
    case FourCc("samr"):
    case FourCc("sawb"):
      entry->amr = static_cast<CAMRSampleEntry*>(box);
      entry->audio = entry->amr;
      break;
    default:
      break;
  }
  return MP4_OK;
}

Mp4Result CTrackImpl::GetBoundEntry(u32 entryIndex, Entry* entry) {
  return m_bound ? GetEntry(entryIndex, entry) : MP4_NOT_READY;
}

Mp4Result CTrackImpl::GetSampleFormat(u32* format) {
  constexpr struct {
    u32 code;
    u32 format;
  } kRows[] = {{FourCc("mp4v"), MP4_FORMAT_MP4V}, {FourCc("mp4a"), MP4_FORMAT_MP4A},
               {FourCc("mp4s"), MP4_FORMAT_MP4S}, {FourCc("s263"), MP4_FORMAT_S263},
               {FourCc("sawb"), MP4_FORMAT_SAWB}, {FourCc("samr"), MP4_FORMAT_SAMR}};
  *format = MP4_FORMAT_UNKNOWN;
  Entry entry;
  KT_TRY(GetEntry(1, &entry));
  for (const auto& row : kRows) {
    if (row.code != entry.code) continue;
    *format = row.format;
    return MP4_OK;
  }
  return MP4_NOT_FOUND;
}

Mp4Result CTrackImpl::GetVideoSize(u16* width, u16* height) {
  *width = 0;
  *height = 0;
  Entry entry;
  KT_TRY(GetEntry(1, &entry));
  return entry.visual != nullptr ? entry.visual->GetVideoSize(width, height) : MP4_NOT_FOUND;
}

Mp4Result CTrackImpl::GetChannelCount(u16* channels) {
  Entry entry;
  KT_TRY(GetEntry(1, &entry));
  if (entry.amr != nullptr) return entry.amr->GetChannelCount(channels);
  return entry.audio != nullptr ? entry.audio->GetChannelCount(channels) : MP4_NOT_FOUND;
}

Mp4Result CTrackImpl::GetSampleRate(u32* rate) {
  Entry entry;
  KT_TRY(GetEntry(1, &entry));
  return entry.audio != nullptr ? entry.audio->GetSampleRate(rate) : MP4_NOT_FOUND;
}

Mp4Result CTrackImpl::GetDecoderSpecificInfo(u32 entryIndex, u32 bufferSize, u32* size, void* buffer) {
  Entry entry;
  KT_TRY(GetBoundEntry(entryIndex, &entry));
  if (entry.mpeg4 != nullptr) return entry.mpeg4->GetDecoderSpecificInfo(bufferSize, size, buffer);
  if (entry.h263 != nullptr) return entry.h263->GetSpecificData(bufferSize, size, buffer);
  if (entry.amr != nullptr) return entry.amr->GetSpecificData(bufferSize, size, buffer);
  *size = 0;
  return MP4_NOT_FOUND;
}

Mp4Result CTrackImpl::GetDecoderSpecificInfoSize(u32 entryIndex, u32* size) {
  Entry entry;
  KT_TRY(GetBoundEntry(entryIndex, &entry));
  if (entry.mpeg4 != nullptr) return entry.mpeg4->GetDecoderSpecificInfoSize(size);
  if (entry.h263 != nullptr) return entry.h263->GetSpecificDataSize(size);
  if (entry.amr != nullptr) return entry.amr->GetSpecificDataSize(size);
  *size = 0;
  return MP4_NOT_FOUND;
}

Mp4Result CTrackImpl::GetEsDescriptor(u32 entryIndex, CESDescriptor** descriptor) {
  Entry entry;
  KT_TRY(GetBoundEntry(entryIndex, &entry));
  return entry.mpeg4 != nullptr ? entry.mpeg4->GetEsDescriptor(descriptor) : MP4_NOT_FOUND;
}

}  // namespace kt

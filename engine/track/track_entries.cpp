// What a track takes from its sample entries, by the code of the entry.

#include "boxes/entries/amr_sample_entry.h"
#include "boxes/entries/h263_sample_entry.h"
#include "boxes/entries/mp4_sample_entry.h"
#include "boxes/entries/sample_description_box.h"
#include "engine/box/child_boxes.h"
#include "engine/track/sample_formats.h"
#include "engine/track/track_impl.h"

namespace kt {

Mp4Result CTrackImpl::GetEntry(u32 entryIndex, Entry* entry) {
  *entry = {};
  if (m_boxes.sampleDescription == nullptr) return MP4_NOT_READY;
  CBox* box = nullptr;
  KT_TRY(m_boxes.sampleDescription->GetSampleEntry(entryIndex, &box));
  KT_TRY(box->GetType(&entry->code));
  if (auto* const mp4v = BoxAs<CMP4VisualSampleEntry>(box)) {
    entry->visual = mp4v;
    entry->mpeg4 = mp4v;
  } else if (auto* const mp4a = BoxAs<CMP4AudioSampleEntry>(box)) {
    entry->audio = mp4a;
    entry->mpeg4 = mp4a;
  } else if (auto* const mp4s = BoxAs<CMP4MpegSampleEntry>(box)) {
    entry->mpeg4 = mp4s;
  } else if (auto* const s263 = BoxAs<CH263SampleEntry>(box)) {
    entry->visual = s263;
    entry->h263 = s263;
  } else if (auto* const samr = BoxAs<CAMRNBSampleEntry>(box)) {
    entry->audio = samr;
    entry->amr = samr;
  } else if (auto* const sawb = BoxAs<CAMRWBSampleEntry>(box)) {
    entry->audio = sawb;
    entry->amr = sawb;
  }
  return MP4_OK;
}

Mp4Result CTrackImpl::GetBoundEntry(u32 entryIndex, Entry* entry) {
  return m_bound ? GetEntry(entryIndex, entry) : MP4_NOT_READY;
}

Mp4Result CTrackImpl::GetSampleFormat(u32* format) {
  *format = MP4_FORMAT_UNKNOWN;
  Entry entry;
  KT_TRY(GetEntry(1, &entry));
  *format = FormatOfEntry(entry.code);
  return *format != MP4_FORMAT_UNKNOWN ? MP4_OK : MP4_NOT_FOUND;
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

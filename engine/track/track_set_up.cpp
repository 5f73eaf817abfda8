// A new track: its boxes, its kind and its sample entries.

#include <limits>

#include "boxes/containers/data_information_box.h"
#include "boxes/containers/media_box.h"
#include "boxes/containers/media_information_box.h"
#include "boxes/containers/sample_table_box.h"
#include "boxes/containers/track_box.h"
#include "boxes/data_reference_box.h"
#include "boxes/entries/amr_sample_entry.h"
#include "boxes/entries/h263_sample_entry.h"
#include "boxes/entries/line21_sample_entry.h"
#include "boxes/entries/mp4_sample_entry.h"
#include "boxes/entries/sample_description_box.h"
#include "boxes/headers/handler_reference_box.h"
#include "boxes/headers/media_header_box.h"
#include "boxes/headers/mpeg4_media_header_box.h"
#include "boxes/headers/sound_media_header_box.h"
#include "boxes/headers/track_header_box.h"
#include "boxes/headers/video_media_header_box.h"
#include "boxes/tables/sample_size_box.h"
#include "boxes/tables/sample_to_chunk_box.h"
#include "engine/box/child_boxes.h"
#include "engine/track/sample_formats.h"
#include "engine/track/track_impl.h"

namespace kt {
namespace {

// ISO/IEC 14496-1, 7.2.6.6, tables 5 and 6.
constexpr u8 kObjectTypeSystems = 0x02;
constexpr u8 kObjectTypeVisual = 0x20;
constexpr u8 kObjectTypeAudio = 0x40;
constexpr u8 kStreamTypeObjectDescriptor = 1;
constexpr u8 kStreamTypeScene = 3;
constexpr u8 kStreamTypeVisual = 4;
constexpr u8 kStreamTypeAudio = 5;

template <class Entry>
std::unique_ptr<Entry> NewEntry() {
  return std::unique_ptr<Entry>(new (std::nothrow) Entry);
}

template <class Header>
Mp4Result AddMediaHeader(CMediaInformationBox* mediaInformation) {
  Header* header = nullptr;
  return AddNewChild(mediaInformation, &header);
}

}  // namespace

Mp4Result CTrackImpl::SetUp(u32 trackIndex) {
  if (m_file == nullptr) return MP4_NOT_READY;
  if (m_writing) return MP4_ALREADY_SET_UP;
  CTrackBox* track = nullptr;
  KT_TRY(m_file->AddTrackBox(&track));
  m_boxes.track = track;
  KT_TRY(AddNewChild(m_boxes.track, &m_boxes.trackHeader));
  m_trackId = trackIndex;
  KT_TRY(m_boxes.trackHeader->SetTrackId(m_trackId));
  KT_TRY(AddMediaBoxes());
  std::unique_ptr<CTrackWriting> writing(new (std::nothrow) CTrackWriting);
  if (!writing) return MP4_NO_MEMORY;
  KT_TRY(AddSampleTableBoxes(writing.get()));
  m_writing = std::move(writing);
  m_bound = 1;
  return MP4_OK;
}

Mp4Result CTrackImpl::AddMediaBoxes() {
  CHandlerReferenceBox* handler = nullptr;
  CDataInformationBox* dataInformation = nullptr;
  CDataReferenceBox* dataReference = nullptr;
  KT_TRY(AddNewChild(m_boxes.track, &m_boxes.media));
  KT_TRY(AddNewChild(m_boxes.media, &m_boxes.mediaHeader));
  KT_TRY(AddNewChild(m_boxes.media, &handler));
  KT_TRY(AddNewChild(m_boxes.media, &m_boxes.mediaInformation));
  KT_TRY(AddNewChild(m_boxes.mediaInformation, &dataInformation));
  KT_TRY(AddNewChild(dataInformation, &dataReference));
  return dataReference->AddUrlEntry(nullptr);  // the samples lie in this same file
}

// What is not known before the end of the track stays out of the tree until then: "stss" and which of the two
// boxes of chunk offsets it is with `writing`, "ctts" with the time table.
Mp4Result CTrackImpl::AddSampleTableBoxes(CTrackWriting* writing) {
  CSampleTableBox* sampleTable = nullptr;
  KT_TRY(AddNewChild(m_boxes.mediaInformation, &sampleTable));
  KT_TRY(AddNewChild(sampleTable, &m_boxes.timeToSample));
  m_sizes = {};
  m_next = {};
  m_times = {};
  KT_TRY(m_times.BeginWriting(m_boxes.timeToSample));
  KT_TRY(AddNewChild(sampleTable, &m_boxes.sampleSize));
  KT_TRY(AddNewChild(sampleTable, &m_boxes.sampleToChunk));
  writing->chunkOffset.reset(new (std::nothrow) CChunkOffsetBox);
  if (!writing->chunkOffset) return MP4_NO_MEMORY;
  m_boxes.chunkOffset = writing->chunkOffset.get();
  m_boxes.chunkLargeOffset = nullptr;
  return AddNewChild(sampleTable, &m_boxes.sampleDescription);
}

Mp4Result CTrackImpl::SetTrackType(u32 kind) {
  if (!m_bound) return MP4_NOT_READY;
  m_kind = kind;  // ahead of all that can fail: callers rely on it
  if (m_boxes.mediaInformation == nullptr || m_boxes.media == nullptr) return MP4_NOT_READY;
  CHandlerReferenceBox* handler = nullptr;
  KT_TRY(RequireChild(m_boxes.media, &handler));
  // A second call adds a second media header, and readers take the first one that they look for.
  switch (kind) {
    case MP4_KIND_VIDEO:
      KT_TRY(AddMediaHeader<CVideoMediaHeaderBox>(m_boxes.mediaInformation));
      return handler->SetHandlerType(FourCc("vide"));
    case MP4_KIND_AUDIO:
      KT_TRY(AddMediaHeader<CSoundMediaHeaderBox>(m_boxes.mediaInformation));
      return handler->SetHandlerType(FourCc("soun"));
    default:
      break;
  }
  KT_TRY(AddMediaHeader<CMpeg4MediaHeaderBox>(m_boxes.mediaInformation));
  switch (kind) {
    case MP4_KIND_OBJECT_DESCRIPTOR:
      return handler->SetHandlerType(FourCc("odsm"));
    case MP4_KIND_SCENE_DESCRIPTION:
      return handler->SetHandlerType(FourCc("sdsm"));
    case MP4_KIND_TEXT:
      return handler->SetHandlerType(FourCc("text"));
    default:
      return MP4_OK;
  }
}

Mp4Result CTrackImpl::RequireWriting() const {
  if (m_writing) return MP4_OK;
  return m_bound ? MP4_NOT_FOUND : MP4_NOT_READY;
}

Mp4Result CTrackImpl::SetTimeScale(u32 scale) {
  KT_TRY(RequireWriting());
  return m_boxes.mediaHeader->SetTimeScale(scale);
}

Mp4Result CTrackImpl::SetDimensions(u32 width, u32 height) {
  KT_TRY(RequireWriting());
  return m_boxes.trackHeader->SetDimensions(width, height);
}

Mp4Result CTrackImpl::SetDuration(u64 duration) {
  if (!m_writing) return MP4_NOT_READY;
  return m_boxes.trackHeader->SetDuration(duration);
}

Mp4Result CTrackImpl::SetVideoFormat(u32 width, u32 height, const void* info, u32 infoSize, u32 format) {
  KT_TRY(RequireWriting());
  const u32 code = EntryOfFormat(format, MP4_KIND_VIDEO);
  if (code == 0) return MP4_BAD_ARGUMENT;
  KT_TRY(SetDimensions(width, height));
  KT_TRY(AddSampleEntry(info, infoSize, code));
  // The first entry, also when this is another one: readers ask for the size of that one alone.
  Entry first;
  KT_TRY(GetEntry(1, &first));
  if (first.visual == nullptr) return MP4_OK;
  constexpr u32 kMost = std::numeric_limits<i16>::max();
  if (width > kMost || height > kMost) return MP4_BAD_ARGUMENT;
  return first.visual->SetVideoSize(static_cast<i16>(width), static_cast<i16>(height));
}

Mp4Result CTrackImpl::SetAudioFormat(i16 volume, u16 balance, const void* info, u32 infoSize, u32 format) {
  KT_TRY(RequireWriting());
  const u32 code = EntryOfFormat(format, MP4_KIND_AUDIO);
  if (code == 0) return MP4_BAD_ARGUMENT;
  // The volume stays when what follows fails.
  KT_TRY(m_boxes.trackHeader->SetVolume(volume));
  CSoundMediaHeaderBox* header = nullptr;
  KT_TRY(RequireChild(m_boxes.mediaInformation, &header));
  KT_TRY(header->SetBalance(balance));
  return AddSampleEntry(info, infoSize, code);
}

Mp4Result CTrackImpl::SetLine21Format(u32 /*reserved1*/, u32 /*reserved2*/, u32 /*reserved3*/) {
  KT_TRY(RequireWriting());
  return AddSampleEntry(nullptr, 0, CLine21SampleEntry::kType);
}

Mp4Result CTrackImpl::SetMpeg4SystemsFormat(const void* info, u32 infoSize) {
  KT_TRY(RequireWriting());
  return AddSampleEntry(info, infoSize, CMP4MpegSampleEntry::kType);
}

Mp4Result CTrackImpl::AddSampleEntry(const void* info, u32 infoSize, u32 code) {
  if (!m_writing) return MP4_NOT_READY;
  switch (code) {
    case CMP4VisualSampleEntry::kType: {
      auto entry = NewEntry<CMP4VisualSampleEntry>();
      if (!entry) return MP4_NO_MEMORY;
      KT_TRY(entry->SetDecoderConfig(0, kObjectTypeVisual, kStreamTypeVisual, info, infoSize));
      return m_boxes.sampleDescription->AddEntry(std::move(entry));
    }
    case CMP4AudioSampleEntry::kType: {
      auto entry = NewEntry<CMP4AudioSampleEntry>();
      if (!entry) return MP4_NO_MEMORY;
      KT_TRY(entry->SetDecoderConfig(0, kObjectTypeAudio, kStreamTypeAudio, info, infoSize));
      return AddAudioEntry(std::move(entry));
    }
    case CMP4MpegSampleEntry::kType:
      return AddSystemsEntry(info, infoSize);
    case CH263SampleEntry::kType: {
      auto entry = NewEntry<CH263SampleEntry>();
      if (!entry) return MP4_NO_MEMORY;
      KT_TRY(entry->SetSpecificData(info, infoSize));
      return m_boxes.sampleDescription->AddEntry(std::move(entry));
    }
    case CAMRNBSampleEntry::kType:
      return AddAmrEntry(NewEntry<CAMRNBSampleEntry>(), info, infoSize);
    case CAMRWBSampleEntry::kType:
      return AddAmrEntry(NewEntry<CAMRWBSampleEntry>(), info, infoSize);
    case CLine21SampleEntry::kType: {
      auto entry = NewEntry<CLine21SampleEntry>();
      if (!entry) return MP4_NO_MEMORY;
      KT_TRY(entry->SetConfig(info, infoSize));
      return m_boxes.sampleDescription->AddEntry(std::move(entry));
    }
    default:
      return MP4_BAD_ARGUMENT;
  }
}

// The time scale of sound is its sample rate. The field has 16 bits: of a higher rate the low ones are left.
Mp4Result CTrackImpl::AddAudioEntry(std::unique_ptr<CAudioSampleEntry> entry) {
  u32 timeScale = 0;
  KT_TRY(m_boxes.mediaHeader->GetTimeScale(&timeScale));
  KT_TRY(entry->SetSampleRate(static_cast<u16>(timeScale)));
  return m_boxes.sampleDescription->AddEntry(std::move(entry));
}

Mp4Result CTrackImpl::AddAmrEntry(std::unique_ptr<CAMRSampleEntry> entry, const void* info, u32 infoSize) {
  if (!entry) return MP4_NO_MEMORY;
  KT_TRY(entry->SetSpecificData(info, infoSize));
  return AddAudioEntry(std::move(entry));
}

Mp4Result CTrackImpl::AddSystemsEntry(const void* info, u32 infoSize) {
  auto entry = NewEntry<CMP4MpegSampleEntry>();
  if (!entry) return MP4_NO_MEMORY;
  if (m_kind == MP4_KIND_OBJECT_DESCRIPTOR) {
    KT_TRY(entry->SetDecoderConfig(0, kObjectTypeSystems, kStreamTypeObjectDescriptor, info, infoSize));
  } else if (m_kind == MP4_KIND_SCENE_DESCRIPTION) {
    KT_TRY(entry->SetDecoderConfig(0, kObjectTypeSystems, kStreamTypeScene, info, infoSize));
  }
  // The size stands for the highest bit rate until the track is finished: readers rely on it.
  KT_TRY(entry->SetBitrates(infoSize, 0));
  return m_boxes.sampleDescription->AddEntry(std::move(entry));
}

}  // namespace kt

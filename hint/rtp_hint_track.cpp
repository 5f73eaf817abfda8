#include "hint/rtp_hint_track.h"

#include <cstdio>
#include <cstring>
#include <new>

#include "boxes/containers/media_box.h"
#include "boxes/containers/media_information_box.h"
#include "boxes/containers/track_box.h"
#include "boxes/containers/track_reference_box.h"
#include "boxes/containers/user_data_box.h"
#include "boxes/entries/sample_description_box.h"
#include "boxes/headers/handler_reference_box.h"
#include "boxes/hint/hint_information_box.h"
#include "boxes/hint/hint_media_header_box.h"
#include "boxes/hint/rtp_hint_sample_entry.h"
#include "engine/box/child_boxes.h"
#include "engine/storage/memory_storage.h"
#include "engine/track/track_impl.h"

namespace kt {
namespace {

constexpr u32 kMostPayloadType = 128;
constexpr u32 kVideoRtpTimeScale = 90000;

}  // namespace

CMp4RtpHintTrackImpl::CMp4RtpHintTrackImpl(CHintTrackHost* file)
    : CMp4RtpHintTrackImpl(file, kAacPayload, 1) {}

CMp4RtpHintTrackImpl::CMp4RtpHintTrackImpl(CHintTrackHost* file, const PayloadFormat& format,
                                           u32 maxSamplesPerPacket)
    : CHostedTrack(file), m_format(&format), m_maxSamplesPerPacket(maxSamplesPerPacket) {}

CMp4RtpHintTrackImpl::~CMp4RtpHintTrackImpl() = default;

void CMp4RtpHintTrackImpl::OnDetached() {
  m_bound = 0;
  m_writable = 0;
  m_sampleEntry = nullptr;
  m_trackReference = nullptr;
}

// Becoming a hint track of the file.

Mp4Result CMp4RtpHintTrackImpl::Bind(u32 trackIndex) {
  if (m_file == nullptr) return MP4_NOT_READY;
  CMp4Track* opened = nullptr;
  KT_TRY(File().OpenTrack(trackIndex, &opened));
  m_track.reset(static_cast<CTrackImpl*>(opened));
  u32 kind = 0;
  KT_TRY(m_track->GetTrackType(&kind));
  if (kind != MP4_KIND_HINT) return MP4_BAD_ARGUMENT;
  CSampleDescriptionBox* const description = m_track->GetSampleDescriptionBox();
  if (description == nullptr) return MP4_BAD_BOX;
  CBox* entry = nullptr;
  KT_TRY(description->GetSampleEntry(1, &entry));
  u32 code = 0;
  KT_TRY(entry->GetType(&code));
  // The first child of "stsd" is made by its true parent, so that the code vouches for the cast.
  if (code != CRtpHintSampleEntry::kType) return MP4_BAD_BOX;
  m_sampleEntry = static_cast<CRtpHintSampleEntry*>(entry);
  KT_TRY(m_sampleEntry->GetMaxPacketSize(&m_stream.maxPacketSize));
  m_stream.sequenceNumber = 0;
  m_bound = 1;
  return MP4_OK;
}

Mp4Result CMp4RtpHintTrackImpl::SetUp() {
  if (m_file == nullptr) return MP4_NOT_READY;
  CMp4Track* added = nullptr;
  KT_TRY(File().AddTrack(&added));
  m_track.reset(static_cast<CTrackImpl*>(added));
  KT_TRY(MakeBoxes());
  m_stream.sequenceNumber = 0;
  m_rtpTimeScale = 0;
  m_bound = 1;
  m_writable = 1;
  return MP4_OK;
}

Mp4Result CMp4RtpHintTrackImpl::MakeBoxes() {
  if (m_track->GetMediaBox() == nullptr) return MP4_BAD_BOX;
  CHandlerReferenceBox* handler = nullptr;
  KT_TRY(RequireChild(m_track->GetMediaBox(), &handler));
  KT_TRY(handler->SetHandlerType(FourCc("hint")));
  KT_TRY(AddNewChild(m_track->GetTrackBox(), &m_trackReference));
  KT_TRY(m_trackReference->AddReferenceType(MP4_REFERENCE_HINT));
  std::unique_ptr<CRtpHintSampleEntry> entry(new (std::nothrow) CRtpHintSampleEntry);
  if (!entry) return MP4_NO_MEMORY;
  KT_TRY(entry->SetMaxPacketSize(m_stream.maxPacketSize));
  KT_TRY(entry->SetTimeOffset(0));
  CSampleDescriptionBox* const description = m_track->GetSampleDescriptionBox();
  if (description == nullptr) return MP4_BAD_BOX;
  m_sampleEntry = entry.get();
  const Mp4Result result = description->AddEntry(std::move(entry));
  if (result != MP4_OK) m_sampleEntry = nullptr;
  return result;
}

// What a caller asks and sets.

Mp4Result CMp4RtpHintTrackImpl::GetHintTrackId(u32* id) {
  return m_track ? m_track->GetTrackId(id) : MP4_NOT_READY;
}

Mp4Result CMp4RtpHintTrackImpl::ReservedHint1(u32 /*argument*/) {
  return m_bound ? MP4_NOT_FOUND : MP4_NOT_READY;
}

Mp4Result CMp4RtpHintTrackImpl::ReservedHint2(u32 /*argument*/) {
  return MP4_NOT_FOUND;
}

Mp4Result CMp4RtpHintTrackImpl::AddReferencedTrack(u32 trackNumber) {
  if (m_trackReference == nullptr) return MP4_NOT_READY;
  u32 index = 0;
  return m_trackReference->AddTrackReference(MP4_REFERENCE_HINT, trackNumber, &index);
}

Mp4Result CMp4RtpHintTrackImpl::ReservedHint3(u32 /*argument1*/, u32 /*argument2*/) {
  return m_bound ? MP4_OK : MP4_NOT_READY;
}

Mp4Result CMp4RtpHintTrackImpl::ReservedHint4(u32 /*argument1*/, u32 /*argument2*/, u32 /*argument3*/,
                                              u32 /*argument4*/) {
  return m_bound ? MP4_OK : MP4_NOT_READY;
}

Mp4Result CMp4RtpHintTrackImpl::GetPacketTime(u32 sample, u64* time) {
  return m_bound && m_track ? m_track->GetSampleCompositionTime(sample, time) : MP4_NOT_READY;
}

Mp4Result CMp4RtpHintTrackImpl::DumpHintSample(u32 sample) {
  if (!m_bound || !m_track) return MP4_NOT_READY;
  u32 size = 0;
  u64 fileSize = 0;
  KT_TRY(m_track->GetSampleSize(sample, &size));
  KT_TRY(m_file->GetDataSize(&fileSize));
  if (size > fileSize) return MP4_FILE_IO;
  std::unique_ptr<u8[]> bytes(new (std::nothrow) u8[size]);
  if (!bytes) return MP4_NO_MEMORY;
  KT_TRY(m_track->ReadSample(sample, size, &size, bytes.get()));
  CMemoryStorage storage;
  KT_TRY(storage.Open(bytes.get(), size, MP4_MODE_READ));
  CHintSample hintSample(this);
  KT_TRY(hintSample.Deserialize(&storage, size));
  KT_TRY(hintSample.Dump(2));
  std::printf("\n ------------------ \n");
  return MP4_OK;
}

Mp4Result CMp4RtpHintTrackImpl::SetMaxPacketSize(u16 size) {
  if (size == 0) return MP4_BAD_ARGUMENT;
  m_stream.maxPacketSize = size;
  return m_sampleEntry != nullptr ? m_sampleEntry->SetMaxPacketSize(size) : MP4_NOT_READY;
}

Mp4Result CMp4RtpHintTrackImpl::SetMaxSamplesPerPacket(u32 count) {
  if (count == 0) return MP4_BAD_ARGUMENT;
  m_maxSamplesPerPacket = count;
  return MP4_OK;
}

Mp4Result CMp4RtpHintTrackImpl::GetTrackSdp(char* buffer, u32 capacity) {
  if (!m_track || m_track->GetTrackBox() == nullptr) return MP4_NOT_READY;
  CUserDataBox* userData = nullptr;
  CHintInformationBox* hnti = nullptr;
  const char* text = nullptr;
  KT_TRY(RequireChild(m_track->GetTrackBox(), &userData));
  KT_TRY(RequireChild(userData, &hnti));
  KT_TRY(hnti->BorrowTrackSdp(&text));
  const std::size_t size = std::strlen(text) + 1;
  if (size > capacity) return MP4_BUFFER_TOO_SMALL;
  std::memcpy(buffer, text, size);
  return MP4_OK;
}

// The test for a sample entry is the wrong way round in these three, and without an entry there is no value
// either: callers rely on the answer.

Mp4Result CMp4RtpHintTrackImpl::GetTimeScale(u32* /*scale*/) {
  return MP4_NOT_READY;
}

Mp4Result CMp4RtpHintTrackImpl::GetTimeOffset(i32* /*offset*/) {
  return MP4_NOT_READY;
}

Mp4Result CMp4RtpHintTrackImpl::GetSequenceOffset(i32* /*offset*/) {
  return MP4_NOT_READY;
}

Mp4Result CMp4RtpHintTrackImpl::RequireEntryToWrite() const {
  return m_writable && m_sampleEntry != nullptr && m_track ? MP4_OK : MP4_NOT_READY;
}

Mp4Result CMp4RtpHintTrackImpl::SetTimeScale(u32 scale) {
  KT_TRY(RequireEntryToWrite());
  KT_TRY(m_sampleEntry->SetTimeScale(scale));
  return m_track->SetTimeScale(scale);
}

Mp4Result CMp4RtpHintTrackImpl::SetTimeOffset(i32 offset) {
  KT_TRY(RequireEntryToWrite());
  return m_sampleEntry->SetTimeOffset(offset);
}

Mp4Result CMp4RtpHintTrackImpl::SetSequenceOffset(i32 offset) {
  KT_TRY(RequireEntryToWrite());
  return m_sampleEntry->SetSequenceOffset(offset);
}

Mp4Result CMp4RtpHintTrackImpl::SetRtpTimeScale(u32 scale) {
  m_rtpTimeScale = scale;
  return MP4_OK;
}

Mp4Result CMp4RtpHintTrackImpl::GetReferencedTrack(u32 index, u32* trackId) {
  if (!m_track || m_track->GetTrackBox() == nullptr) return MP4_NOT_READY;
  CTrackReferenceBox* references = nullptr;
  KT_TRY(RequireChild(m_track->GetTrackBox(), &references));
  return references->GetReference(MP4_REFERENCE_HINT, index, trackId);
}

Mp4Result CMp4RtpHintTrackImpl::SetPayloadType(u32 payloadType) {
  if (payloadType == 0 || payloadType > kMostPayloadType) return MP4_BAD_ARGUMENT;
  m_stream.payloadType = static_cast<u8>(payloadType);
  return MP4_OK;
}

// The hint track objects of a file are all of this class.
Mp4Result GetReferencedTrack(CMp4HintTrack* hintTrack, u32 index, u32* trackId) {
  if (hintTrack == nullptr) return MP4_BAD_ARGUMENT;
  return static_cast<CMp4RtpHintTrackImpl*>(hintTrack)->GetReferencedTrack(index, trackId);
}

// Completing a hint track that is being written.

Mp4Result CMp4RtpHintTrackImpl::Finish() {
  if (m_trackReference == nullptr || !m_track || m_hasBegunPackets) return MP4_NOT_READY;
  u32 count = 0;
  KT_TRY(m_trackReference->GetReferenceCount(MP4_REFERENCE_HINT, &count));
  if (count == 0) {
    KT_TRY(SetTimeScale(m_rtpTimeScale != 0 ? m_rtpTimeScale : kVideoRtpTimeScale));
    return CloseOwnTrack();
  }
  const std::unique_ptr<u32[]> numbers(new (std::nothrow) u32[count]);
  if (!numbers) return MP4_NO_MEMORY;
  for (u32 i = 0; i < count; ++i) {
    KT_TRY(m_trackReference->GetReference(MP4_REFERENCE_HINT, i + 1, &numbers[i]));
  }
  KT_TRY(TakeRtpTimeScale(numbers[0]));
  m_hasBegunPackets = true;  // samples that are written cannot be taken back
  KT_TRY(BuildPackets(count, numbers.get()));
  KT_TRY(SetTimeScale(m_rtpTimeScale));
  KT_TRY(SetTimeOffset(0));
  KT_TRY(SetSequenceOffset(0));
  KT_TRY(AddMediaHeader());
  KT_TRY(AddSessionDescription(count, numbers.get()));
  return CloseOwnTrack();
}

Mp4Result CMp4RtpHintTrackImpl::CloseOwnTrack() {
  KT_TRY(File().CloseTrack(m_track.get()));
  static_cast<void>(m_track.release());  // the file has deleted it
  return MP4_OK;
}

Mp4Result CMp4RtpHintTrackImpl::TakeRtpTimeScale(u32 trackNumber) {
  CMediaTrack media;
  KT_TRY(media.Open(&File(), trackNumber));
  u32 kind = 0;
  KT_TRY(media.Track()->GetTrackType(&kind));
  if (kind == MP4_KIND_VIDEO || kind == MP4_KIND_TEXT) {
    m_rtpTimeScale = kVideoRtpTimeScale;  // whatever was set: callers rely on it
  } else if (m_rtpTimeScale == 0) {
    return media.Track()->GetTimeScale(&m_rtpTimeScale);
  }
  return MP4_OK;
}

// The average size of a packet is a guess: half of the limit.
Mp4Result CMp4RtpHintTrackImpl::AddMediaHeader() {
  const u32 limit = m_stream.maxPacketSize;
  CMediaInformationBox* const mediaInformation = m_track->GetMediaInformationBox();
  if (mediaInformation == nullptr) return MP4_BAD_BOX;
  CHintMediaHeaderBox* header = nullptr;
  KT_TRY(AddNewChild(mediaInformation, &header));
  KT_TRY(header->SetBitrates(m_maxBitrate, m_avgBitrate));
  return header->SetPduSizes(static_cast<u16>(limit), static_cast<u16>(limit / 2));
}

Mp4Result CMp4RtpHintTrackImpl::AddSessionDescription(u32 trackCount, const u32* trackNumbers) {
  CUserDataBox* userData = nullptr;
  CTrackHintInformationBox* hnti = nullptr;
  KT_TRY(AddNewChild(m_track->GetTrackBox(), &userData));
  KT_TRY(AddNewChild(userData, &hnti));
  for (u32 i = 0; i < trackCount; ++i) KT_TRY(AddTrackSdp(trackNumbers[i], hnti));
  return MP4_OK;
}

}  // namespace kt

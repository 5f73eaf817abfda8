// The writing half of the file object. On disk the boxes stand as "ftyp", "mdat", "moov": the media data
// grows behind a reserved header while samples come, and the tables follow when the file is closed.

#include <cstdio>
#include <new>

#include "boxes/containers/movie_box.h"
#include "boxes/containers/track_box.h"
#include "boxes/file_type_box.h"
#include "boxes/headers/movie_header_box.h"
#include "boxes/media_data_box.h"
#include "boxes/object_descriptor_box.h"
#include "engine/box/child_boxes.h"
#include "engine/file/mp4_file_impl.h"
#include "engine/track/track_impl.h"

namespace kt {
namespace {

// ISO/IEC 14496-1, 7.2.6.4, of the streams that a file of MPEG-4 video and sound has by default.
constexpr u32 kVisualProfileLevel = 3;
constexpr u32 kAudioProfileLevel = 15;

struct Brands {
  u32 major;
  u32 minorVersion;
  u32 compatible[3];  // 0 for none
};

// By `Mp4FileType`. "M4A " does not name itself among the compatible brands: readers rely on it.
constexpr Brands kBrands[] = {
    {FourCc("mp42"), 1, {FourCc("mp42"), FourCc("isom"), 0}},
    {FourCc("3gp4"), 512, {FourCc("3gp4"), FourCc("3gp5"), FourCc("isom")}},
    {FourCc("M4A "), 0, {FourCc("mp42"), FourCc("isom"), 0}},
};

Mp4Result SetBrands(CFileTypeBox* box, const Brands& brands) {
  KT_TRY(box->SetBrand(brands.major, brands.minorVersion));
  for (const u32 brand : brands.compatible) {
    if (brand != 0) KT_TRY(box->AddCompatibleBrand(brand));
  }
  return MP4_OK;
}

template <class Made>
Mp4Result AddToTop(CBoxList* boxes, Made** made) {
  std::unique_ptr<Made> box(new (std::nothrow) Made);
  if (!box) return MP4_NO_MEMORY;
  Made* const added = box.get();
  KT_TRY(boxes->Add(std::move(box)));
  *made = added;
  return MP4_OK;
}

}  // namespace

Mp4Result CMp4FileImpl::StartFile() {
  // Which of the boxes there was no memory for shows where they are needed.
  static_cast<void>(MakeTree());
  CFileTypeBox* fileType = nullptr;
  KT_TRY(RequireChild(m_boxes.get(), &fileType));
  KT_TRY(SetBrands(fileType, kBrands[m_fileType]));
  KT_TRY(fileType->CalculateSize());
  KT_TRY(fileType->Serialize(m_storage.get()));
  CMediaDataBox* mediaData = nullptr;
  KT_TRY(GetMediaData(&mediaData));
  KT_TRY(mediaData->StartWriting(m_storage.get()));
  if (m_movieHeader == nullptr) return MP4_NO_MEMORY;
  if (m_fileType == MP4_TYPE_MP4) {
    CObjectDescriptorBox* descriptor = nullptr;
    KT_TRY(RequireChild(m_movie, &descriptor));
    KT_TRY(descriptor->SetDefaultDescriptor(kVisualProfileLevel, kAudioProfileLevel));
  }
  m_trackCount = 0;
  m_hintTrackClosed = 0;
  m_nextPayloadNumber = kFirstPayloadNumber;
  m_movieSdpComposed = false;
  return MP4_OK;
}

Mp4Result CMp4FileImpl::MakeTree() {
  CFileTypeBox* fileType = nullptr;
  CMediaDataBox* mediaData = nullptr;
  CObjectDescriptorBox* descriptor = nullptr;
  KT_TRY(AddToTop(m_boxes.get(), &fileType));
  KT_TRY(AddToTop(m_boxes.get(), &mediaData));
  KT_TRY(AddToTop(m_boxes.get(), &m_movie));
  KT_TRY(AddNewChild(m_movie, &m_movieHeader));
  return m_fileType == MP4_TYPE_MP4 ? AddNewChild(m_movie, &descriptor) : MP4_OK;
}

Mp4Result CMp4FileImpl::AddTrack(CMp4Track** track) {
  *track = nullptr;
  if (!m_isOpen || m_mode == MP4_MODE_READ) return MP4_NOT_FOUND;
  std::unique_ptr<CTrackImpl> added(new (std::nothrow) CTrackImpl(this, m_traceLevel));
  if (!added) return MP4_NO_MEMORY;
  ++m_trackCount;
  KT_TRY(added->SetUp(m_trackCount));
  CMovieHeaderBox* header = nullptr;
  KT_TRY(FindMovieHeader(&header));
  KT_TRY(header->SetNextTrackId(m_trackCount + 1));
  *track = added.release();
  return MP4_OK;
}

Mp4Result CMp4FileImpl::AddTrackBox(CTrackBox** box) {
  *box = nullptr;
  CMovieBox* movie = nullptr;
  CTrackBox* track = nullptr;
  KT_TRY(FindMovie(&movie));
  KT_TRY(AddNewChild(movie, &track));
  KT_TRY(m_tracks.Append(&track));
  *box = track;
  return MP4_OK;
}

Mp4Result CMp4FileImpl::GetMediaData(CMediaDataBox** mediaData) {
  if (!m_boxes) return MP4_NOT_FOUND;
  return RequireChild(m_boxes.get(), mediaData);
}

// After a failure `Close` can be called again: all of this is then done once more, in the same places.
Mp4Result CMp4FileImpl::FinishFile() {
  KT_TRY(TakeDurationOfFirstTrack());
  KT_TRY(ComposeMovieSdp());
  CMediaDataBox* mediaData = nullptr;
  KT_TRY(GetMediaData(&mediaData));
  KT_TRY(mediaData->FinishWriting());
  CMovieBox* movie = nullptr;
  KT_TRY(FindMovie(&movie));
  KT_TRY(movie->CalculateSize());
  KT_TRY(m_storage->GetPosition(&m_moviePosition));
  if (const Mp4Result result = movie->Serialize(m_storage.get()); result != MP4_OK) {
    ForgetMovie();
    return result;
  }
  if (Tracing()) std::printf("CMp4FileImpl::Close >> All boxes serialized\n");
  return MP4_OK;
}

// The storage has failed already, and its failure is what counts.
void CMp4FileImpl::ForgetMovie() {
  static_cast<void>(m_storage->ResumeAt(m_moviePosition));
}

// The movie lasts as long as its first track, however long the others are.
Mp4Result CMp4FileImpl::TakeDurationOfFirstTrack() {
  CMp4Track* opened = nullptr;
  KT_TRY(OpenTrack(1, &opened));
  const std::unique_ptr<CMp4Track> track(opened);
  u64 duration = 0;
  KT_TRY(track->GetDuration(&duration));
  CMovieHeaderBox* header = nullptr;
  KT_TRY(FindMovieHeader(&header));
  return header->SetDuration(duration);
}

}  // namespace kt

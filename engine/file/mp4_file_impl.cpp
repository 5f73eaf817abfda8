#include "engine/file/mp4_file_impl.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <new>

#include "boxes/containers/movie_box.h"
#include "boxes/containers/track_box.h"
#include "boxes/file_type_box.h"
#include "boxes/headers/movie_header_box.h"
#include "engine/box/child_boxes.h"
#include "engine/track/copyright_notices.h"
#include "engine/track/track_impl.h"

namespace kt {

Mp4Result CreateMp4File(CMp4File** file) {
  *file = new (std::nothrow) CMp4FileImpl;
  return *file != nullptr ? MP4_OK : MP4_NO_MEMORY;
}

Mp4Result CreateMp4FileOver(const void* bytes, std::size_t size, CMp4File** file) {
  *file = nullptr;
  if (bytes == nullptr && size > 0) return MP4_BAD_ARGUMENT;
  *file = new (std::nothrow) CMp4FileImpl(std::span(static_cast<const u8*>(bytes), size));
  return *file != nullptr ? MP4_OK : MP4_NO_MEMORY;
}

CMp4FileImpl::~CMp4FileImpl() {
  ReleaseTree();
}

// Opening. A failure leaves what was set so far, until the next `Open` replaces it.

Mp4Result CMp4FileImpl::Open(const char* fileName, u32 mode, u32 fileType) {
  if (m_isOpen) return MP4_NOT_FOUND;
  if (Tracing()) std::printf("CMp4FileImpl::Open >> File is not yet opened\n");
  KT_TRY(TakeArguments(fileName, mode, fileType));
  KT_TRY(OpenStorage());
  KT_TRY(m_mode == MP4_MODE_WRITE ? StartFile() : ReadTree());
  m_isOpen = 1;
  if (m_mode == MP4_MODE_READ) m_data = m_storage.get();
  return MP4_OK;
}

Mp4Result CMp4FileImpl::TakeArguments(const char* fileName, u32 mode, u32 fileType) {
  if (m_memory) fileName = "";
  if (fileName == nullptr) return MP4_BAD_ARGUMENT;
  const std::size_t nameSize = std::strlen(fileName) + 1;
  m_fileName.reset(new (std::nothrow) char[nameSize]);
  if (!m_fileName) return MP4_NO_MEMORY;
  std::memcpy(m_fileName.get(), fileName, nameSize);
  if (Tracing()) std::printf("CMp4FileImpl::Open >> Filename %s is OK\n", m_fileName.get());

  constexpr const char* kModes[] = {"READ", "WRITE"};
  if (mode > MP4_MODE_WRITE || (m_memory && mode != MP4_MODE_READ)) return MP4_BAD_ARGUMENT;
  m_mode = mode;
  if (Tracing()) std::printf("CMp4FileImpl::Open >> Filemode %s is OK\n", kModes[mode]);

  constexpr const char* kFileTypes[] = {"MP4", "3GP", "M4A"};
  if (fileType > MP4_TYPE_M4A) return MP4_BAD_ARGUMENT;
  m_fileType = fileType;
  if (Tracing()) std::printf("CMp4FileImpl::Open >> Filetype %s is OK\n", kFileTypes[fileType]);
  return MP4_OK;
}

Mp4Result CMp4FileImpl::OpenStorage() {
  // The tree of a failed `Open` borrows its storage, so both stay until there is another.
  std::unique_ptr<CStorage> storage(new (std::nothrow) CStorage);
  if (!storage) return MP4_NO_MEMORY;
  KT_TRY(m_memory ? storage->OpenOver(*m_memory) : storage->Open(m_fileName.get(), m_mode));
  if (Tracing()) std::printf("CMp4FileImpl::Open >> Storage opened successfully\n");
  ReleaseTree();
  m_storage = std::move(storage);
  m_boxes.reset(new (std::nothrow) CBoxList(nullptr));
  if (!m_boxes) return MP4_NO_MEMORY;
  if (Tracing()) std::printf("CMp4FileImpl::Open >> instanciated BoxList\n");
  return MP4_OK;
}

Mp4Result CMp4FileImpl::ReadTree() {
  CStorage* tree = nullptr;
  u64 left = 0;
  KT_TRY(OpenTree(m_storage.get(), &tree, &left));
  if (Tracing()) std::printf("CMp4FileImpl::Open >> Filesize is %" PRIu64 " Bytes\n", left);
  const Mp4Result read = m_boxes->DeserializeAll(tree, &left);
  const Mp4Result indexed = IndexMovie();  // also what stands in a tree that is cut short
  KT_TRY(read);
  if (Tracing()) std::printf("CMp4FileImpl::Open >> All boxes de-serialized\n");
  TakeFileTypeFromBrand();
  if (m_movie == nullptr) {
    if (Tracing()) std::printf("No movie box found in file\n");
    return MP4_NOT_FOUND;
  }
  KT_TRY(indexed);
  m_trackCount = m_tracks.GetCount();
  return MP4_OK;
}

Mp4Result CMp4FileImpl::OpenTree(CStorage* file, CStorage** tree, u64* size) {
  *tree = file;
  return file->GetSize(size);
}

// Nothing else is asked of "ftyp": a file without one, or with any brand at all, is read.
void CMp4FileImpl::TakeFileTypeFromBrand() {
  CFileTypeBox* box = nullptr;
  if (RequireChild(m_boxes.get(), &box) != MP4_OK) return;
  u32 majorBrand = 0;
  u32 minorVersion = 0;
  if (box->GetBrand(&majorBrand, &minorVersion) != MP4_OK) return;
  if (majorBrand == FourCc("3gp4") || majorBrand == FourCc("3gp5")) m_fileType = MP4_TYPE_3GP;
}

Mp4Result CMp4FileImpl::IndexMovie() {
  if (RequireChild(m_boxes.get(), &m_movie) != MP4_OK) return MP4_OK;
  if (RequireChild(m_movie, &m_movieHeader) != MP4_OK) m_movieHeader = nullptr;
  // The list goes on from where the last search ended, so that this takes one pass.
  CTrackBox* track = nullptr;
  while (RequireChild(m_movie, &track, m_tracks.GetCount() + 1) == MP4_OK) {
    KT_TRY(m_tracks.Append(&track));
  }
  return MP4_OK;
}

Mp4Result CMp4FileImpl::Close() {
  if (!m_isOpen) return MP4_NOT_FOUND;
  const bool hasMovie = m_mode == MP4_MODE_WRITE && m_trackCount > 0;
  if (hasMovie) KT_TRY(FinishFile());
  if (const Mp4Result result = m_storage->Close(); result != MP4_OK) {
    if (hasMovie) ForgetMovie();
    return result;
  }
  m_isOpen = 0;
  m_data = nullptr;
  m_storage.reset();
  ReleaseTree();
  m_fileName.reset();
  return MP4_OK;
}

void CMp4FileImpl::ReleaseTree() {
  DetachTracks();
  m_tracks.Clear();
  m_movieHeader = nullptr;
  m_movie = nullptr;
  m_boxes.reset();
}

// What stands in the tree.

Mp4Result CMp4FileImpl::FindMovie(CMovieBox** movie) const {
  *movie = m_movie;
  return m_movie != nullptr ? MP4_OK : MP4_NOT_FOUND;
}

Mp4Result CMp4FileImpl::FindMovieHeader(CMovieHeaderBox** header) const {
  *header = m_movieHeader;
  return m_movieHeader != nullptr ? MP4_OK : MP4_NOT_FOUND;
}

Mp4Result CMp4FileImpl::GetTrackBox(u32 trackIndex, CTrackBox** box) {
  *box = nullptr;
  return m_tracks.GetAt(trackIndex, box);
}

Mp4Result CMp4FileImpl::GetMovieTimeScale(u32* timeScale) {
  CMovieHeaderBox* header = nullptr;
  KT_TRY(FindMovieHeader(&header));
  return header->GetTimeScale(timeScale);
}

Mp4Result CMp4FileImpl::GetCreationDate(u32* year, u32* month, u32* day, u32* hour, u32* minute,
                                        u32* second) {
  CMovieHeaderBox* header = nullptr;
  KT_TRY(FindMovieHeader(&header));
  return header->GetCreationDate(year, month, day, hour, minute, second);
}

Mp4Result CMp4FileImpl::SetCreationDate(u32 year, u32 month, u32 day, u32 hour, u32 minute, u32 second) {
  CMovieHeaderBox* header = nullptr;
  KT_TRY(FindMovieHeader(&header));
  return header->SetCreationDate(year, month, day, hour, minute, second);
}

Mp4Result CMp4FileImpl::GetCopyright(char language[3], char* notice, u32* noticeSize, u32 index) {
  CMovieBox* movie = nullptr;
  KT_TRY(FindMovie(&movie));
  return GetCopyrightBelow(movie, language, notice, noticeSize, index);
}

Mp4Result CMp4FileImpl::SetCopyright(const char* language, const char* notice, u32 index) {
  CMovieBox* movie = nullptr;
  KT_TRY(FindMovie(&movie));
  return SetCopyrightBelow(movie, language, notice, index);
}

Mp4Result CMp4FileImpl::Dump() {
  if (!m_boxes) return MP4_NOT_FOUND;
  if (m_mode == MP4_MODE_WRITE) {
    u64 ignored = 0;
    KT_TRY(m_boxes->CalculateSizeAll(&ignored));
  }
  return m_boxes->DumpAll(0);
}

// The state of the object.

Mp4Result CMp4FileImpl::IsOpen(u32* open) {
  *open = m_isOpen;
  return MP4_OK;
}

Mp4Result CMp4FileImpl::GetTrackCount(u32* count) {
  *count = m_trackCount;
  return MP4_OK;
}

Mp4Result CMp4FileImpl::GetFileType(u32* fileType) {
  *fileType = m_fileType;
  return m_isOpen ? MP4_OK : MP4_NOT_FOUND;
}

Mp4Result CMp4FileImpl::SetTraceLevel(u32 level) {
  if (level > 2) return MP4_BAD_ARGUMENT;
  m_traceLevel = level;
  return MP4_OK;
}

// Tracks.

Mp4Result CMp4FileImpl::OpenTrack(u32 trackIndex, CMp4Track** track) {
  *track = nullptr;
  if (trackIndex == 0 || trackIndex > m_trackCount) return MP4_NOT_FOUND;
  std::unique_ptr<CTrackImpl> opened(new (std::nothrow) CTrackImpl(this, m_traceLevel));
  if (!opened) return MP4_NO_MEMORY;
  KT_TRY(opened->Bind(trackIndex));
  *track = opened.release();
  return MP4_OK;
}

Mp4Result CMp4FileImpl::CloseTrack(CMp4Track* track) {
  if (track == nullptr) return MP4_BAD_ARGUMENT;
  CTrackImpl* const closed = static_cast<CTrackImpl*>(track);
  if (closed->IsWriting()) KT_TRY(closed->Finish());
  delete closed;
  return MP4_OK;
}

Mp4Result CMp4FileImpl::ReadData(u8* buffer, u64 position, u32 size, u64 ahead) {
  // A file that is written is not read: moving would put the next chunk over samples that are there.
  if (!IsOpenToRead()) return MP4_FILE_IO;
  return m_storage->ReadBlockAt(position, buffer, size, ahead);
}

Mp4Result CMp4FileImpl::GetDataSize(u64* size) {
  if (!IsOpenToRead()) return MP4_FILE_IO;
  return m_storage->GetSize(size);
}

}  // namespace kt

#include "engine/file/adapting_mp4_file.h"

#include <new>

namespace kt {
namespace {

// What adapting told of a file, null when there is nothing of the kind.
const CAdaptedFile* AdaptedOf(CMp4File* file) {
  const auto* const adapting = dynamic_cast<CAdaptingMp4File*>(file);
  return adapting != nullptr ? adapting->Adapted() : nullptr;
}

}  // namespace

Mp4Result CreateAdaptingMp4File(CMp4File** file) {
  *file = new (std::nothrow) CAdaptingMp4File;
  return *file != nullptr ? MP4_OK : MP4_NO_MEMORY;
}

Mp4Result CreateAdaptingMp4FileOver(const void* bytes, std::size_t size, CMp4File** file) {
  *file = nullptr;
  if (bytes == nullptr && size > 0) return MP4_BAD_ARGUMENT;
  *file = new (std::nothrow) CAdaptingMp4File(std::span(static_cast<const u8*>(bytes), size));
  return *file != nullptr ? MP4_OK : MP4_NO_MEMORY;
}

// A file that cannot be adapted is read as it stands, and so is one whose image is refused.
Mp4Result CAdaptingMp4File::Open(const char* fileName, u32 mode, u32 fileType) {
  if (!IsOpenToRead()) m_adapted.reset();  // what was told of an earlier file
  m_isStrict = false;
  Mp4Result result = CMp4FileImpl::Open(fileName, mode, fileType);
  if (result != MP4_OK && !IsOpenToRead() && m_adapted) {
    m_isStrict = true;
    result = CMp4FileImpl::Open(fileName, mode, fileType);
  }
  // The tree is in memory now; of the image only what it was made from has to stay.
  if (m_adapted) {
    static_cast<void>(m_image->Close());
    m_adapted->ReleaseImage();
  }
  return result;
}

Mp4Result CAdaptingMp4File::OpenTree(CStorage* file, CStorage** tree, u64* size) {
  m_adapted.reset();
  if (!m_isStrict) {
    std::unique_ptr<CAdaptedFile> adapted(new (std::nothrow) CAdaptedFile);
    std::unique_ptr<CMemoryStorage> image(new (std::nothrow) CMemoryStorage);
    if (!adapted || !image) return MP4_NO_MEMORY;
    const Mp4Result result = adapted->Read(file);
    // Where a read fails the strict reader must not tell other times and samples than at a better moment.
    if (result != MP4_OK && result != MP4_NOT_FOUND) return result;
    if (result == MP4_OK) {
      KT_TRY(image->Open(adapted->Image(), adapted->ImageSize(), MP4_MODE_READ));
      m_adapted = std::move(adapted);
      m_image = std::move(image);
      *tree = m_image.get();
      *size = m_adapted->ImageSize();
      return MP4_OK;
    }
    KT_TRY(file->SetPosition(0));
  }
  return CMp4FileImpl::OpenTree(file, tree, size);
}

Mp4Result GetAdaptedTrackCount(CMp4File* file, u32* count) {
  if (count == nullptr) return MP4_BAD_ARGUMENT;
  *count = 0;
  const CAdaptedFile* const adapted = AdaptedOf(file);
  if (adapted == nullptr) return MP4_NOT_FOUND;
  *count = adapted->TrackCount();
  return MP4_OK;
}

Mp4Result GetAdaptedTrack(CMp4File* file, u32 positionInFile, AdaptedTrack* track) {
  if (track == nullptr) return MP4_BAD_ARGUMENT;
  if (positionInFile == 0) return MP4_ZERO_INDEX;
  const CAdaptedFile* const adapted = AdaptedOf(file);
  if (adapted == nullptr || positionInFile > adapted->TrackCount()) return MP4_NOT_FOUND;
  *track = adapted->Track(positionInFile - 1);
  return MP4_OK;
}

Mp4Result GetAdaptedEntry(CMp4File* file, u32 trackIndex, u32 entryIndex, AdaptedEntry* entry) {
  if (entry == nullptr) return MP4_BAD_ARGUMENT;
  if (trackIndex == 0 || entryIndex == 0) return MP4_ZERO_INDEX;
  const CAdaptedFile* const adapted = AdaptedOf(file);
  const AdaptedEntry* const found = adapted != nullptr ? adapted->FindEntry(trackIndex, entryIndex) : nullptr;
  if (found == nullptr) return MP4_NOT_FOUND;
  *entry = *found;
  return MP4_OK;
}

}  // namespace kt

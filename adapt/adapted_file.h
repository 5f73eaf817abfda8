#pragma once

#include <memory>

#include <ktmp4/adapting_file.h>
#include "engine/storage/storage.h"

namespace kt {

/// A file of another writer, put into the words of the strict reader.
///
/// `Read` goes once through the structure of any file of ISO/IEC 14496-12 or QuickTime and writes into memory
/// what the strict reader takes: the "ftyp" and "moov" of a plain file that says the same. The positions in
/// its tables are places in the real file, which keeps the media data. So this class knows bytes and no box
/// class, and the strict reader learns no second dialect.
///
/// What it costs is in proportion to the structure of the file, whatever that claims. An edit list acts as
/// far as a leading empty edit, the media time and the length of its first edit say; all tracks of a file
/// move by one common delay where one would begin below 0.
class CAdaptedFile {
 public:
  CAdaptedFile();
  ~CAdaptedFile();
  CAdaptedFile(const CAdaptedFile&) = delete;
  CAdaptedFile& operator=(const CAdaptedFile&) = delete;

  /// Reads the structure of an open file; once for each object. MP4_NOT_FOUND when the file has no "moov" or
  /// no track that could be read, MP4_FILE_IO when it cannot be read, MP4_NO_MEMORY, also for an image of 4
  /// GiB.
  Mp4Result Read(CStorage* file);

  /// The image, borrowed; null without one. It may be let go of when it has been read.
  u8* Image() const { return m_image.get(); }
  u32 ImageSize() const { return m_imageSize; }
  void ReleaseImage();

  /// All tracks of the file in their order, also those that were left out.
  u32 TrackCount() const { return m_trackCount; }
  const AdaptedTrack& Track(u32 index) const { return m_tracks[index]; }

  /// All sample entries of the tracks of the image, by track and entry. Null for one that is not there.
  u32 EntryCount() const { return m_entryCount; }
  const AdaptedEntry& Entry(u32 index) const { return m_entries[index]; }
  const AdaptedEntry* FindEntry(u32 position, u32 index) const;

 private:
  class CReader;

  std::unique_ptr<u8[]> m_image;
  std::unique_ptr<AdaptedTrack[]> m_tracks;
  std::unique_ptr<AdaptedEntry[]> m_entries;
  std::unique_ptr<u8[]> m_entryBoxes;
  u32 m_imageSize = 0;
  u32 m_trackCount = 0;
  u32 m_entryCount = 0;
};

}  // namespace kt

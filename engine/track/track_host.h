#pragma once

#include <ktmp4/result.h>
#include "engine/storage/storage.h"

namespace kt {

class CHostedTrack;
class CMediaDataBox;
class CTrackBox;

/// What a track object sees of its file: its boxes, the movie's time scale and the roads to the bytes of
/// samples, one to read and one to write.
class CTrackHost {
 public:
  /// The `trackIndex`-th "trak" of the movie, counted from 1; borrowed. MP4_NOT_FOUND.
  virtual Mp4Result GetTrackBox(u32 trackIndex, CTrackBox** box) = 0;
  /// Adds an empty "trak" to the movie; borrowed. MP4_NOT_FOUND without a movie, MP4_NO_MEMORY.
  virtual Mp4Result AddTrackBox(CTrackBox** box) = 0;
  /// The "mdat" to which the samples of all tracks are appended; borrowed. MP4_NOT_FOUND.
  virtual Mp4Result GetMediaData(CMediaDataBox** mediaData) = 0;
  /// Movie ticks per second.
  virtual Mp4Result GetMovieTimeScale(u32* timeScale) = 0;
  /// Reads exactly `size` bytes at an absolute position; `ahead` bytes from there on are likely to be wanted
  /// next. MP4_FILE_IO when the file is not open to read or ends before. The position is shared by all
  /// tracks: one caller at a time.
  virtual Mp4Result ReadData(u8* buffer, u64 position, u32 size, u64 ahead) = 0;
  /// The same for bytes that are at hand: where they stand until the next call, or null when they are not,
  /// with nothing done.
  const u8* TakeData(u64 position, u32 size) {
    return m_data != nullptr ? m_data->TakeBlockAt(position, size) : nullptr;
  }
  /// Bytes of the file, which no sample can exceed. MP4_FILE_IO when the file is not open to read.
  virtual Mp4Result GetDataSize(u64* size) = 0;

 protected:
  CTrackHost() = default;
  CTrackHost(const CTrackHost&) = delete;
  CTrackHost& operator=(const CTrackHost&) = delete;
  virtual ~CTrackHost() { DetachTracks(); }

  /// Parts from every track that still lives; to be called before the boxes go.
  void DetachTracks();

  CStorage* m_data = nullptr;  // that `ReadData` reads; null unless it is open to read

 private:
  friend class CHostedTrack;
  CHostedTrack* m_firstTrack = nullptr;
};

/// Base of the track objects, hint tracks included: keeps the track in its host's list, so that a track that
/// outlives its file learns of it and touches neither the file nor its boxes again.
class CHostedTrack {
 public:
  CHostedTrack(const CHostedTrack&) = delete;
  CHostedTrack& operator=(const CHostedTrack&) = delete;

 protected:
  /// `file` is borrowed and may be null.
  explicit CHostedTrack(CTrackHost* file) : m_file(file) {
    if (file == nullptr) return;
    m_link = &file->m_firstTrack;
    m_next = *m_link;
    if (m_next != nullptr) m_next->m_link = &m_next;
    *m_link = this;
  }
  virtual ~CHostedTrack() { Unlink(); }

  CTrackHost* m_file;  // null once the track is detached

 private:
  friend class CTrackHost;

  /// The file and its boxes are about to go; `m_file` is null already.
  virtual void OnDetached() = 0;
  void Unlink() {
    if (m_link != nullptr) *m_link = m_next;
    if (m_next != nullptr) m_next->m_link = m_link;
    m_link = nullptr;
    m_next = nullptr;
    m_file = nullptr;
  }

  CHostedTrack* m_next = nullptr;
  CHostedTrack** m_link = nullptr;  // the pointer that leads here: the host's or the previous track's
};

inline void CTrackHost::DetachTracks() {
  while (m_firstTrack != nullptr) {
    CHostedTrack* track = m_firstTrack;
    track->Unlink();
    track->OnDetached();
  }
}

}  // namespace kt

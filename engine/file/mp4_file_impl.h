#pragma once

#include <memory>
#include <optional>
#include <span>

#include "engine/box/box_list.h"
#include "engine/storage/data_list.h"
#include "engine/storage/storage.h"
#include "hint/hint_track_host.h"

namespace kt {

class CMovieBox;
class CMovieHeaderBox;
class CTrackBox;
class CTrackImpl;
class CTrackReferenceBox;

/// The file object: owns the stream and the tree of boxes, counts the tracks and hands them out. Track
/// objects come back to it, as their host, for their boxes and the bytes of their samples.
class CMp4FileImpl : public CHintTrackHost {
 public:
  CMp4FileImpl() = default;
  /// Over bytes in memory, which are borrowed.
  explicit CMp4FileImpl(std::span<const u8> bytes) : m_memory(bytes) {}
  ~CMp4FileImpl() override;

  Mp4Result Open(const char* fileName, u32 mode, u32 fileType) override;
  Mp4Result Close() override;
  Mp4Result IsOpen(u32* open) override;
  Mp4Result GetTrackCount(u32* count) override;
  Mp4Result GetMovieTimeScale(u32* timeScale) override;  // also as the tracks' host
  Mp4Result GetFileType(u32* fileType) override;
  Mp4Result GetCopyright(char language[3], char* notice, u32* noticeSize, u32 index) override;
  Mp4Result SetCopyright(const char* language, const char* notice, u32 index) override;
  Mp4Result GetCreationDate(u32* year, u32* month, u32* day, u32* hour, u32* minute, u32* second) override;
  Mp4Result SetCreationDate(u32 year, u32 month, u32 day, u32 hour, u32 minute, u32 second) override;
  Mp4Result OpenTrack(u32 trackIndex, CMp4Track** track) override;
  Mp4Result AddTrack(CMp4Track** track) override;
  Mp4Result CloseTrack(CMp4Track* track) override;
  Mp4Result OpenHintTrack(u32 trackIndex, CMp4HintTrack** track) override;
  Mp4Result AddHintTrack(CMp4HintTrack** track, u32 hintType) override;
  Mp4Result CloseHintTrack(CMp4HintTrack* track) override;
  Mp4Result Dump() override;
  Mp4Result SetTraceLevel(u32 level) override;
  Mp4Result AddSceneTracks(u32 videoTrack, u32 audioTrack, u32 thirdTrack) override;
  Mp4Result GetMovieSdp(char* buffer, u32 bufferSize) override;

  Mp4Result GetTrackBox(u32 trackIndex, CTrackBox** box) override;
  Mp4Result AddTrackBox(CTrackBox** box) override;
  Mp4Result GetMediaData(CMediaDataBox** mediaData) override;
  Mp4Result ReadData(u8* buffer, u64 position, u32 size, u64 ahead) override;
  Mp4Result GetDataSize(u64* size) override;

 protected:
  /// The storage that `Open` reads the tree from, at its first byte, and how many bytes of it: here those of
  /// the file. Borrowed until the next call.
  virtual Mp4Result OpenTree(CStorage* file, CStorage** tree, u64* size);
  bool IsOpenToRead() const { return m_isOpen && m_mode == MP4_MODE_READ; }

 private:
  Mp4Result TakeArguments(const char* fileName, u32 mode, u32 fileType);
  Mp4Result OpenStorage();
  Mp4Result ReadTree();
  void TakeFileTypeFromBrand();
  // Finds what the tree holds of the movie, once for all that ask later. MP4_NO_MEMORY.
  Mp4Result IndexMovie();
  // Lays down "ftyp" and the reserved header of "mdat".
  Mp4Result StartFile();
  Mp4Result MakeTree();
  // Patches the header of "mdat" and writes "moov".
  Mp4Result FinishFile();
  Mp4Result TakeDurationOfFirstTrack();
  // The session description of a hinted movie, once however often `Close` is tried. MP4_NO_SCENE_TRACKS.
  Mp4Result ComposeMovieSdp();
  Mp4Result SetMovieSdp(const char* text);
  // Goes back to where "moov" began, so that another try leaves one whole "moov".
  void ForgetMovie();
  void ReleaseTree();
  // A new track of the systems presentation, set up to take its sample; the caller's. Duration in movie
  // ticks.
  Mp4Result AddSystemsTrack(u32 kind, std::span<const u8> decoderInfo, u64 duration, u32 timeScale,
                            std::unique_ptr<CTrackImpl>* track);
  // The "tref" of a track, which is made when there is none; borrowed.
  Mp4Result FindTrackReferences(u32 trackIndex, CTrackReferenceBox** references);
  Mp4Result FindMovie(CMovieBox** movie) const;
  Mp4Result FindMovieHeader(CMovieHeaderBox** header) const;
  // The first of the numbers for payloads without one of their own. RFC 3551, 6.
  static constexpr u32 kFirstPayloadNumber = 96;

  bool Tracing() const { return m_traceLevel != 0; }

  std::optional<std::span<const u8>> m_memory;  // read in place of a file
  std::unique_ptr<CStorage> m_storage;
  std::unique_ptr<char[]> m_fileName;
  u32 m_isOpen = 0;
  u32 m_mode = MP4_MODE_READ;
  u32 m_fileType = MP4_TYPE_MP4;
  std::unique_ptr<CBoxList> m_boxes;  // the top level; after a failed `Open` what was parsed
  // What `IndexMovie` or `MakeTree` has found, borrowed from the tree; null or empty where there is none.
  CMovieBox* m_movie = nullptr;
  CMovieHeaderBox* m_movieHeader = nullptr;
  CDataList<CTrackBox*> m_tracks;
  u32 m_trackCount = 0;
  u64 m_moviePosition = 0;  // where `FinishFile` has begun to write "moov"
  u32 m_traceLevel = 0;
  u32 m_hintTrackClosed = 0;  // 1 when a hint track has been finished
  u32 m_nextPayloadNumber = kFirstPayloadNumber;
  bool m_movieSdpComposed = false;
};

}  // namespace kt

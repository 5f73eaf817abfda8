#pragma once

#include <ktmp4/mp4_track.h>

namespace kt {

class CMp4HintTrack;

/// One ISO base media file (.mp4, .3gp, .m4a), for reading or for writing. `CreateMp4File` makes one, and so
/// do `CreateMp4FileOver` and those of adapting_file.h; the caller owns and deletes it. ISO/IEC 14496-12.
///
/// Track indices count from 1 and are positions of "trak" boxes in "moov", not track ids. No operation locks:
/// all calls on one file and its tracks have to be serialised by the caller. On a file without a tree (never
/// opened, or closed) an operation that needs one answers MP4_NOT_FOUND.
class KT_API CMp4File {
 public:
  CMp4File() = default;
  CMp4File(const CMp4File&) = delete;
  CMp4File& operator=(const CMp4File&) = delete;

  /// Opens `fileName`, in the system's 8-bit encoding. `mode` is an `Mp4FileMode`, `fileType` an
  /// `Mp4FileType`; a read file of brand "3gp4" or "3gp5" becomes MP4_TYPE_3GP whatever was asked. Reading
  /// parses the whole tree, sample tables included, and leaves the media data alone.
  ///
  /// Writing creates the file, or empties one that stands there, and lays down "ftyp", whose brands follow
  /// `fileType`, and the header of "mdat" at once. Samples then go to disk as they come; what stays in memory
  /// is the chunk that each track gathers, and the tables.
  ///
  /// MP4_NOT_FOUND when already open or when the file has no "moov"; MP4_BAD_ARGUMENT for a null name or a
  /// bad mode or type; MP4_FILE_IO when the file does not open, is no regular file, or is cut; MP4_CORRUPT,
  /// MP4_BAD_BOX, MP4_BAD_DESCRIPTOR, MP4_DESCRIPTOR_OVERRUN and others when a box is refused; MP4_NO_MEMORY,
  /// for which a written file of whose boxes one could not be made also answers MP4_NOT_FOUND. After a
  /// failure what was parsed stays for `Dump`.
  virtual Mp4Result Open(const char* fileName, u32 mode, u32 fileType) = 0;
  /// Closes the file; a written one that has tracks gets its "moov" now, and without tracks it has none and
  /// cannot be read. The movie lasts as long as its first track. Tracks still open are detached and answer
  /// MP4_NOT_READY; a written one has to be closed before, since it loses its last chunk and its tables
  /// otherwise, and the first one, or one without a sample entry, keeps the file from closing.
  ///
  /// MP4_NOT_FOUND when not open or when the first track is not closed, MP4_NOT_READY for a track without a
  /// sample entry, MP4_FILE_IO. For a file of MP4_TYPE_MP4 with hint tracks also MP4_NO_SCENE_TRACKS without
  /// those of `AddSceneTracks`, and MP4_NOT_FOUND when its first video or audio track has no ES descriptor
  /// (H.263, AMR) or any track is not closed. After a failure the file stays open and `Close` may be tried
  /// again; a repeat leaves one whole "moov".
  virtual Mp4Result Close() = 0;
  /// Stores 1 when open. Always MP4_OK.
  virtual Mp4Result IsOpen(u32* open) = 0;
  /// Always MP4_OK, also for a closed file.
  virtual Mp4Result GetTrackCount(u32* count) = 0;
  /// Movie ticks per second, from "mvhd".
  virtual Mp4Result GetMovieTimeScale(u32* timeScale) = 0;
  /// Stores an `Mp4FileType`; MP4_NOT_FOUND, with the value stored, when not open.
  virtual Mp4Result GetFileType(u32* fileType) = 0;
  /// The `index`-th copyright notice (0 means the first). `*noticeSize` takes its bytes with the terminating
  /// zero; with a null `notice` nothing else is stored, otherwise `notice` needs that many bytes and
  /// `language` takes three letters (ISO 639-2/T). MP4_NOT_FOUND when there is none.
  virtual Mp4Result GetCopyright(char language[3], char* notice, u32* noticeSize, u32 index) = 0;
  /// Sets the `index`-th notice, or adds one when there is none. MP4_BAD_ARGUMENT for a null language or a
  /// letter below "a".
  virtual Mp4Result SetCopyright(const char* language, const char* notice, u32 index) = 0;
  /// Creation time of the movie, without time zone. MP4_BAD_VALUE beyond the year 2199.
  virtual Mp4Result GetCreationDate(u32* year, u32* month, u32* day, u32* hour, u32* minute, u32* second) = 0;
  /// MP4_BAD_ARGUMENT for a year above 2200 or another part out of its range.
  virtual Mp4Result SetCreationDate(u32 year, u32 month, u32 day, u32 hour, u32 minute, u32 second) = 0;
  /// Makes a track object for reading; the caller gives it back with `CloseTrack`. MP4_NOT_FOUND for a bad
  /// index or a required box that is missing, MP4_BAD_VALUE for track id 0, MP4_BAD_TIMING for a start delay
  /// without a movie time scale, MP4_NO_MEMORY also when a track claims more samples than can be counted.
  virtual Mp4Result OpenTrack(u32 trackIndex, CMp4Track** track) = 0;
  /// Makes a new track for writing, whose id and index are the new number of tracks; the caller gives it back
  /// with `CloseTrack`. It cannot be taken back. MP4_NOT_FOUND unless the file is open to write,
  /// MP4_NO_MEMORY.
  virtual Mp4Result AddTrack(CMp4Track** track) = 0;
  /// Deletes the track object; a track that is being written is finished before: its last chunk goes to disk,
  /// and its tables, durations and bit rates are completed. One that cannot be finished stays alive, takes no
  /// further samples, and may be closed again.
  ///
  /// MP4_BAD_ARGUMENT for null, MP4_BAD_TIMING for a track without a time scale, MP4_NOT_FOUND or
  /// MP4_NOT_READY for one without a sample entry, MP4_FILE_IO, MP4_NO_MEMORY.
  virtual Mp4Result CloseTrack(CMp4Track* track) = 0;
  /// Makes a hint track object (include/ktmp4/mp4_hint_track.h) for reading; the caller deletes it.
  /// MP4_BAD_ARGUMENT, with `*track` null, for a bad index and for a track of another kind; MP4_BAD_BOX for
  /// one that is not for RTP; MP4_NO_MEMORY; and as `OpenTrack`.
  virtual Mp4Result OpenHintTrack(u32 trackIndex, CMp4HintTrack** track) = 0;
  /// Makes a new hint track for writing, of an `Mp4HintType`; the caller gives it back with `CloseHintTrack`.
  /// MP4_NOT_FOUND unless the file is open to write, MP4_BAD_ARGUMENT for another type, MP4_NO_MEMORY. Its
  /// track cannot be taken back, and until it is closed, or has a time scale, `Close` answers MP4_BAD_BOX.
  virtual Mp4Result AddHintTrack(CMp4HintTrack** track, u32 hintType) = 0;
  /// Packetises the media track that a hint track refers to, writes its samples, figures and session
  /// description, and deletes the object. Each call takes the next payload type, from 96 to 128, and so does
  /// one that fails; RFC 3551, 6. After a failure the object is the caller's to delete, and its track stays
  /// in the file.
  ///
  /// MP4_BAD_ARGUMENT for null, when there are no payload types left, and for a LATM track without just one
  /// media track of sound; MP4_NOT_FOUND for a media track that is not there or not closed yet; MP4_NOT_READY
  /// for a hint track that is not being written or whose packets have been begun by a call that failed, a
  /// media track of another kind, a sample too large for a LATM packet, more packets for a sample than 65535;
  /// MP4_BAD_TIMING for a media time scale of 0; MP4_FILE_IO; MP4_NO_MEMORY.
  virtual Mp4Result CloseHintTrack(CMp4HintTrack* track) = 0;
  /// Prints the box tree on standard output.
  virtual Mp4Result Dump() = 0;
  /// 0 is silent; 1 and 2 make `Open` and `Close` print their steps on standard output. MP4_BAD_ARGUMENT
  /// above 2.
  virtual Mp4Result SetTraceLevel(u32 level) = 0;
  /// Makes a written file of MP4_TYPE_MP4 an MPEG-4 systems presentation: adds a track with the object
  /// descriptors of the video and the audio track and a track with the scene that shows them, as long as the
  /// first of these, and points at both from "iods". A file of that type with hint tracks needs it before
  /// `Close`. The tracks are indices, any of which may name none; one that is not closed yet is left out, and
  /// so is the third, of which only a failure to open it counts. ISO/IEC 14496-14, 3.2.
  ///
  /// MP4_NOT_FOUND, with nothing added, for neither video nor audio and for a file without "iods", and in
  /// read mode; what adding, writing and closing tracks answer, after which what was added stays.
  virtual Mp4Result AddSceneTracks(u32 videoTrack, u32 audioTrack, u32 thirdTrack) = 0;
  /// Copies the movie's session description with its terminating zero: the block that stands ahead of those
  /// of the hint tracks (`CMp4HintTrack::GetTrackSdp`), in lines of RFC 4566 with CR LF. `Close` makes it for
  /// a file of MP4_TYPE_MP4 that has hint tracks. MP4_BUFFER_TOO_SMALL, MP4_NOT_FOUND when there is none.
  virtual Mp4Result GetMovieSdp(char* buffer, u32 bufferSize) = 0;

  /// Closes the stream without writing. Tracks still open are detached and answer MP4_NOT_READY.
  virtual ~CMp4File() = default;
};

/// Makes a file object. MP4_NO_MEMORY, with `*file` null.
KT_API Mp4Result CreateMp4File(CMp4File** file);

/// Makes a file object that reads a whole file out of memory, with the results that the file itself would
/// give. `bytes` stay the caller's and have to outlive the object, unchanged while it is open. `Open` does
/// not look at the name, which may be null, and answers MP4_BAD_ARGUMENT for MP4_MODE_WRITE.
///
/// MP4_BAD_ARGUMENT for null `bytes` with a size, MP4_NO_MEMORY, both with `*file` null.
KT_API Mp4Result CreateMp4FileOver(const void* bytes, std::size_t size, CMp4File** file);

}  // namespace kt

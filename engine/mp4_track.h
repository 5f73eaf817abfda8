#pragma once

#include "engine/result.h"

namespace kt {

/// One track of a file, for reading or for writing its samples. The file object hands it out (`OpenTrack`,
/// `AddTrack`) and takes it back (`CloseTrack`), which deletes it. ISO/IEC 14496-12, 8.3.
///
/// Samples and sample entries count from 1; samples stand in decoding order. Sample times are in ticks of the
/// media time scale (`GetTimeScale`, ticks per second); `GetDuration` alone is in movie ticks. No operation
/// locks: all calls on one file and its tracks have to be serialised by the caller.
///
/// Results that recur: MP4_NOT_READY when the track is not bound to its boxes or has outlived its file,
/// MP4_NOT_FOUND for a sample beyond the last, MP4_ZERO_INDEX for sample 0.
class CMp4Track {
 public:
  CMp4Track() = default;
  CMp4Track(const CMp4Track&) = delete;
  CMp4Track& operator=(const CMp4Track&) = delete;

  virtual Mp4Result GetSampleCount(u32* count) = 0;
  /// Stores an `Mp4TrackKind`.
  virtual Mp4Result GetTrackType(u32* kind) = 0;
  /// Stores an `Mp4SampleFormat` by the first sample entry; 0 and MP4_NOT_FOUND for any other code or none.
  virtual Mp4Result GetSampleFormat(u32* format) = 0;
  virtual Mp4Result GetTrackId(u32* id) = 0;
  /// Media ticks per second.
  virtual Mp4Result GetTimeScale(u32* scale) = 0;
  /// The duration that the track header stores, in movie ticks.
  virtual Mp4Result GetDuration(u64* duration) = 0;
  /// Size of presentation in whole pixels, from the track header. MP4_NOT_FOUND on a track being written.
  virtual Mp4Result GetDimensions(u32* width, u32* height) = 0;
  /// Size of the coded picture in pixels, from the first sample entry; 0, 0 and MP4_NOT_FOUND when that is
  /// neither "mp4v" nor "s263".
  virtual Mp4Result GetVideoSize(u16* width, u16* height) = 0;
  /// Channels by the first sample entry ("mp4a"), 1 for AMR, MP4_NOT_FOUND for any other.
  virtual Mp4Result GetChannelCount(u16* channels) = 0;
  /// Samples per second by the first sample entry ("mp4a", "samr", "sawb"), MP4_NOT_FOUND for any other.
  virtual Mp4Result GetSampleRate(u32* rate) = 0;
  /// The `index`-th copyright notice of the track; see `CMp4File::GetCopyright`.
  virtual Mp4Result GetCopyright(char language[3], char* notice, u32* noticeSize, u32 index) = 0;
  /// Sets the `index`-th notice of the track; see `CMp4File::SetCopyright`.
  virtual Mp4Result SetCopyright(const char* language, const char* notice, u32 index) = 0;
  /// Creation time of the media, without time zone. MP4_BAD_VALUE beyond the year 2199.
  virtual Mp4Result GetCreationDate(u32* year, u32* month, u32* day, u32* hour, u32* minute, u32* second) = 0;
  /// MP4_BAD_ARGUMENT for a year above 2200 or another part out of its range.
  virtual Mp4Result SetCreationDate(u32 year, u32 month, u32 day, u32 hour, u32 minute, u32 second) = 0;
  /// Copies the decoder set-up bytes of a sample entry into `buffer` of `bufferSize` bytes. `*size` takes
  /// their number. MP4_BUFFER_TOO_SMALL for the specific boxes of H.263 and AMR; the MPEG-4 entries answer
  /// MP4_OK and copy nothing when the buffer is too small, so compare `*size`. 0 and MP4_NOT_FOUND for an
  /// entry of another code.
  virtual Mp4Result GetDecoderSpecificInfo(u32 entryIndex, u32 bufferSize, u32* size, void* buffer) = 0;
  virtual Mp4Result GetDecoderSpecificInfoSize(u32 entryIndex, u32* size) = 0;
  /// Reads a sample's bytes. `*size` takes the sample's size, also with MP4_BUFFER_TOO_SMALL, when the file
  /// is not touched. MP4_FILE_IO when the file is shorter than its tables say, MP4_CORRUPT for chunks of 0
  /// samples.
  virtual Mp4Result ReadSample(u32 sample, u32 bufferSize, u32* size, u8* buffer) = 0;
  /// Size in bytes.
  virtual Mp4Result GetSampleSize(u32 sample, u32* size) = 0;
  virtual Mp4Result GetSampleDecodingTime(u32 sample, u64* time) = 0;
  virtual Mp4Result GetSampleCompositionTime(u32 sample, u64* time) = 0;
  /// The sample with the latest composition time that is not after `time`; sample 1 for an earlier time. One
  /// sample beyond `time` is passed over, the second one ends the search.
  virtual Mp4Result FindSampleByCompositionTime(u64 time, u32* sample) = 0;
  /// The last sync sample whose composition time is not after `time`; MP4_NOT_FOUND when there is none.
  virtual Mp4Result FindSyncSample(u64 time, u32* sample) = 0;
  /// The last sample whose decoding time is not after `time`. A time before the first sample gives sample 0
  /// with MP4_OK, and the next search then MP4_ZERO_INDEX; a time after the last gives MP4_NOT_FOUND with
  /// the last sample stored.
  virtual Mp4Result FindSampleByDecodingTime(u64 time, u32* sample) = 0;

  /// Writing: set up in the order of these operations, then write, then close. MP4_NOT_FOUND on a track that
  /// is not being written.
  /// `kind` is an `Mp4TrackKind`; makes the media header that belongs to it.
  virtual Mp4Result SetTrackType(u32 kind) = 0;
  /// Media ticks per second.
  virtual Mp4Result SetTimeScale(u32 scale) = 0;
  /// Size of presentation in pixels. MP4_BAD_ARGUMENT for values from 2^31 up.
  virtual Mp4Result SetDimensions(u32 width, u32 height) = 0;
  /// Makes the sample entry of a video track; `format` is MP4_FORMAT_MP4V or MP4_FORMAT_S263, anything else
  /// MP4_BAD_ARGUMENT. `info` is copied.
  virtual Mp4Result SetVideoFormat(u32 width, u32 height, const void* info, u32 infoSize, u32 format) = 0;
  /// Makes the sample entry of an audio track; `format` is MP4_FORMAT_MP4A, MP4_FORMAT_SAWB or
  /// MP4_FORMAT_SAMR. `volume` is fixed 8.8. `info` is copied.
  virtual Mp4Result SetAudioFormat(i16 volume, u16 balance, const void* info, u32 infoSize, u32 format) = 0;
  /// Makes the sample entry of a Line 21 track; the arguments are ignored.
  virtual Mp4Result SetLine21Format(u32 reserved1, u32 reserved2, u32 reserved3) = 0;
  /// Appends a sample; the bytes are copied. Times in media ticks.
  virtual Mp4Result WriteSample(const void* data, u32 size, u64 decodingTime, u64 compositionTime,
                                u32 isSync) = 0;

  /// Prefer `CMp4File::CloseTrack`; deleting a track by hand is safe and finishes nothing.
  virtual ~CMp4Track() = default;
};

}  // namespace kt

#pragma once

#include <ktmp4/result.h>

namespace kt {

/// One track of a file, for reading or for writing its samples. The file object hands it out (`OpenTrack`,
/// `AddTrack`) and takes it back (`CloseTrack`), which deletes it. ISO/IEC 14496-12, 8.3.
///
/// Samples and sample entries count from 1; samples stand in decoding order. Sample times are in ticks of the
/// media time scale (`GetTimeScale`, ticks per second); `GetDuration` alone is in movie ticks. No operation
/// locks: all calls on one file and its tracks have to be serialised by the caller.
///
/// Results that recur: MP4_NOT_READY when the track is not bound to its boxes or has outlived its file,
/// MP4_NOT_FOUND for a sample beyond the last, MP4_ZERO_INDEX for sample 0. While a track is being written
/// its times answer MP4_NOT_READY. No sample of a file that is being written can be read: MP4_FILE_IO, and
/// MP4_NOT_FOUND for one whose chunk has not gone to the file yet.
class KT_API CMp4Track {
 public:
  CMp4Track() = default;
  CMp4Track(const CMp4Track&) = delete;
  CMp4Track& operator=(const CMp4Track&) = delete;

  /// How many samples the track has, or has been given. ISO/IEC 14496-12, 8.7.3.
  virtual Mp4Result GetSampleCount(u32* count) = 0;
  /// Stores an `Mp4TrackKind`.
  virtual Mp4Result GetTrackType(u32* kind) = 0;
  /// Stores an `Mp4SampleFormat` by the first sample entry; 0 and MP4_NOT_FOUND for any other code or none.
  virtual Mp4Result GetSampleFormat(u32* format) = 0;
  /// The number by which the file knows the track, which is no index. ISO/IEC 14496-12, 8.3.2.
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
  /// How many bytes `GetDecoderSpecificInfo` copies; 0 and MP4_NOT_FOUND for an entry of another code.
  virtual Mp4Result GetDecoderSpecificInfoSize(u32 entryIndex, u32* size) = 0;
  /// Reads a sample's bytes. `*size` takes the sample's size, also with MP4_BUFFER_TOO_SMALL, when the file
  /// is not touched. MP4_FILE_IO when the file is shorter than its tables say, MP4_CORRUPT for chunks of 0
  /// samples.
  virtual Mp4Result ReadSample(u32 sample, u32 bufferSize, u32* size, u8* buffer) = 0;
  /// Size in bytes.
  virtual Mp4Result GetSampleSize(u32 sample, u32* size) = 0;
  /// When the sample is decoded, in media ticks with a start delay included. ISO/IEC 14496-12, 8.6.1.2.
  virtual Mp4Result GetSampleDecodingTime(u32 sample, u64* time) = 0;
  /// When the sample is shown, in media ticks with a start delay included. ISO/IEC 14496-12, 8.6.1.3.
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

  // Writing a track that `CMp4File::AddTrack` has made: `SetTrackType`, `SetTimeScale`, one of the format
  // operations, then `WriteSample` for each sample, then `CMp4File::CloseTrack`. But for `SetTrackType`, all
  // of these answer MP4_NOT_FOUND on a track that is not being written.

  /// `kind` is an `Mp4TrackKind`; makes the media header that belongs to it and names the handler. Call it
  /// once: each call adds a media header. Also changes the boxes of a track that is read, in memory.
  virtual Mp4Result SetTrackType(u32 kind) = 0;
  /// Media ticks per second. For sound it is the sample rate as well, and comes before the format.
  virtual Mp4Result SetTimeScale(u32 scale) = 0;
  /// Size of presentation in pixels. MP4_BAD_ARGUMENT for values from 2^31 up.
  virtual Mp4Result SetDimensions(u32 width, u32 height) = 0;
  /// Makes the sample entry of a video track and sets its size in pixels, which is that of presentation as
  /// well. `format` is MP4_FORMAT_MP4V or MP4_FORMAT_S263; `info` is the decoder specific info (ISO/IEC
  /// 14496-1, 7.2.6.7) or the payload of "d263" (3GPP TS 26.244, 6.8) and is copied. MP4_BAD_ARGUMENT for
  /// another format, and for a size from 32768 up, when the entry is there all the same; MP4_NO_MEMORY.
  /// An `infoSize` without `info`, here and for sound, is told until the file is closed and reads as zeros;
  /// the file gets no bytes for it.
  virtual Mp4Result SetVideoFormat(u32 width, u32 height, const void* info, u32 infoSize, u32 format) = 0;
  /// Makes the sample entry of an audio track, at the sample rate of the time scale, of which 16 bits are
  /// kept. `format` is MP4_FORMAT_MP4A, MP4_FORMAT_SAWB or MP4_FORMAT_SAMR; `info` is the decoder specific
  /// info or the payload of "damr" (3GPP TS 26.244, 6.7) and is copied. `volume` and `balance` are fixed 8.8.
  /// MP4_BAD_ARGUMENT for another format or a negative volume, MP4_NOT_FOUND unless the track was made an
  /// audio track before, MP4_NO_MEMORY.
  virtual Mp4Result SetAudioFormat(i16 volume, u16 balance, const void* info, u32 infoSize, u32 format) = 0;
  /// Makes the sample entry of a Line 21 track; the arguments are ignored. MP4_NO_MEMORY.
  virtual Mp4Result SetLine21Format(u32 reserved1, u32 reserved2, u32 reserved3) = 0;
  /// Appends a sample in decoding order; the bytes are copied. Times in media ticks; `isSync` is not 0 when
  /// decoding can start here. A chunk of 100 samples or 1,000,000 bytes goes to disk with its last sample.
  ///
  /// The time of the first sample is not kept: it becomes 0. A decoding time that does not rise becomes the
  /// last one plus 2, and so does, in the file, one that lies 2^31 ticks or more behind it. An offset between
  /// the two times must not appear later than at the first sample.
  ///
  /// MP4_BAD_ARGUMENT for a size of 0, for null data, and for a first offset behind the first sample;
  /// MP4_BAD_TIMING for a decoding time after the composition time or a step of 2^32 ticks and more;
  /// MP4_FILE_IO when the chunk cannot be written; MP4_NO_MEMORY; MP4_NOT_FOUND once `CloseTrack` has failed.
  /// After a failure, other than for null data or size 0, the track is of no further use: all samples that
  /// follow are refused.
  virtual Mp4Result WriteSample(const void* data, u32 size, u64 decodingTime, u64 compositionTime,
                                u32 isSync) = 0;

  /// Prefer `CMp4File::CloseTrack`; deleting a track by hand is safe and finishes nothing.
  virtual ~CMp4Track() = default;
};

}  // namespace kt

#pragma once

#include <mutex>
#include <string>
#include <vector>

#include <ktmp4/adapting_file.h>
#include <ktmp4/mp4_track.h>
#include "filter/formats/media_type.h"
#include "filter/logic/filter_result.h"
#include "filter/logic/track_lock.h"

namespace kt {

/// What a pin carries. Pins exist for video, audio and Line 21 only.
enum PinKind : u32 {
  PIN_UNKNOWN = 0,
  PIN_VIDEO = 1,
  PIN_AUDIO = 2,
  PIN_OBJECT_DESCRIPTOR = 3,
  PIN_SCENE_DESCRIPTION = 4,
  PIN_LINE21 = 5,
};

/// How a pin's samples are coded.
enum PinFormat : u32 {
  PIN_FORMAT_UNKNOWN = 0,
  PIN_FORMAT_MPEG4_VIDEO = 1,
  PIN_FORMAT_MPEG4_AUDIO = 2,
  PIN_FORMAT_H263 = 4,
  PIN_FORMAT_AMR_WIDE = 5,
  PIN_FORMAT_AMR_NARROW = 6,
};

/// Where a pin's worker stands. Times are in 100 ns units, but for `m_baseTime`.
struct PinPosition {
  /// Number of the sample last taken; 0 before the first.
  u32 m_currentSample = 0;
  /// Decoding time in media ticks that maps to stream time 0.
  u64 m_baseTime = 0;
  i64 m_startPosition = 0;
  /// 0 for none.
  i64 m_stopPosition = 0;

  bool operator==(const PinPosition&) const = default;
};

/// What a new segment is announced with, when a pin's worker starts to play.
struct PinSegment {
  i64 start = 0;
  i64 stop = 0;
  /// 0.0, although the pin plays at rate 1: downstream has always been told so.
  double rate = 0.0;
};

/// One output pin without the platform: what it knows of its track, the media types that it offers and takes,
/// and the buffers that it needs. All operations but `GetDuration`, `GetCurrentPosition`, `Segment` and
/// `Position` belong to connection work and are not to be called while the worker runs.
class CReaderPin {
 public:
  /// `name` is what graphs show; several pins may have the same.
  CReaderPin(CTrackLock& trackLock, std::string name);
  CReaderPin(const CReaderPin&) = delete;
  CReaderPin& operator=(const CReaderPin&) = delete;

  /// Learns from `track`, which the file goes on owning. 0, or 1 when the track does not tell what is needed;
  /// the pin is then usable with what was learned until then.
  u32 SetTrack(CMp4Track* track);
  /// Behind `SetTrack`, for a track of an adapted file: `entry` is what it says of its samples. Behind its
  /// own types the pin then offers those of the platform that suit them, if there are any (`TypesOfEntry`).
  /// Samples that are coded in a way that the pin does not know, and all sound under "mp4a", come in buffers
  /// for the largest one.
  void Adapt(const AdaptedEntry& entry);
  /// Forgets the track, whose file is about to go, and hands it out to be closed; null when there is none.
  /// Whatever needs it fails from now on.
  CMp4Track* LoseTrack();
  /// The first pin of a source answers for positions.
  void SetSeekMaster(bool seekMaster) { m_seekMaster = seekMaster; }

  /// The type at `position`: 0 the plain one, 1 the stamped one, from 2 on those of the platform, which pins
  /// of adapted files alone have. InvalidArgument for a negative position, NoMoreItems behind the last. A pin
  /// that could not read its track's kind offers empty types. OutOfMemory when there was or is no memory for
  /// the format block, which may take 256 MiB.
  FilterResult GetMediaType(i32 position, MediaType* type) const;
  /// Ok, or InvalidArgument. Looks at the two type identifiers alone, not at the format; for a type of the
  /// platform at that of the format, too. A pin of an adapted file whose samples are coded in a way that it
  /// does not know takes none of its own types: whoever knows these would take the samples for what they are
  /// not.
  FilterResult CheckMediaType(const MediaType& type) const;
  /// Takes the type of the connection. Always Ok.
  FilterResult SetMediaType(const MediaType& type);
  /// The buffers for the connected type. OutOfMemory when one would exceed 256 MiB.
  FilterResult DecideBufferSize(BufferRequest* request) const;
  /// What `DecideBufferSize` ends with once the allocator has said how many bytes its buffers have: Fail when
  /// they are fewer than asked for.
  static FilterResult CheckBufferSize(const BufferRequest& request, i64 actualSize) {
    return actualSize < i64{request.size} ? FilterResult::Fail : FilterResult::Ok;
  }

  /// Length of the track in 100 ns units: the decoding time of its last sample and one mean step more. False
  /// when the track can not tell, with 0 stored.
  FilterResult GetDuration(i64* duration) const;
  /// Decoding time of the sample last taken, in 100 ns units. False, with 0 stored, before the first sample
  /// and when the track can not tell.
  FilterResult GetCurrentPosition(i64* current) const;
  PinSegment Segment() const;
  /// Calls `use(CMp4Track* track, PinPosition& position)` under the track lock, and answers what it does. The
  /// track is null when there is none. Neither may be kept beyond the call, which must not wait.
  template <class Use>
  auto WithPosition(Use use) {
    const std::lock_guard lock(m_trackLock);
    return use(m_track, m_position);
  }
  template <class Use>
  auto WithPosition(Use use) const {
    const std::lock_guard lock(m_trackLock);
    return use(m_track, m_position);
  }
  /// A copy.
  PinPosition Position() const {
    return WithPosition([](CMp4Track*, const PinPosition& position) { return position; });
  }

  const std::string& Name() const { return m_name; }
  PinKind Kind() const { return m_kind; }
  PinFormat Format() const { return m_format; }
  bool IsAdapted() const { return m_isAdapted; }
  u32 SampleCount() const { return m_sampleCount; }
  /// Media ticks per second.
  u32 TimeScale() const { return m_timeScale; }
  u16 Width() const { return m_width; }
  u16 Height() const { return m_height; }
  u32 SampleRate() const { return m_sampleRate; }
  u32 Channels() const { return m_channels; }
  const std::vector<u8>& DecoderInfo() const { return m_decoderInfo; }
  bool SeekMaster() const { return m_seekMaster; }
  /// Bytes ahead of each sample in the media buffer: 16 when the connected type is a stamped one, otherwise
  /// 0.
  u32 HeaderSize() const;
  /// Whether the connected type is one of the platform's, whose samples come with the times of their display.
  bool HasPlatformType() const { return m_hasPlatformType; }
  /// Whether the system's own decoder is none for the samples, whatever the pin's own types say.
  bool IsForOtherDecoders() const {
    return m_isAdapted && m_format == PIN_FORMAT_UNKNOWN && m_kind != PIN_LINE21;
  }

 private:
  u32 LearnVideo();
  u32 LearnAudio();
  /// False when the info is too large or there is no memory for it.
  bool LearnDecoderInfo();
  // Under the track lock.
  void LearnLargestSample();
  void LearnPlatformTypes(const AdaptedEntry& entry);
  std::vector<u8> ReadFirstSample() const;
  bool IsPlatformType(const MediaType& type) const;
  void FillMediaType(bool second, MediaType* type) const;
  Guid OfferedSubtype(bool stamped) const;
  std::vector<u8> VideoFormatBlock() const;
  std::vector<u8> AudioFormatBlock() const;

  CTrackLock& m_trackLock;
  const std::string m_name;
  CMp4Track* m_track = nullptr;
  PinPosition m_position;
  u32 m_sampleCount = 0;
  u32 m_timeScale = 0;
  PinKind m_kind = PIN_UNKNOWN;
  PinFormat m_format = PIN_FORMAT_UNKNOWN;
  bool m_isAdapted = false;
  u32 m_largestSample = 0;  // of an adapted track
  std::vector<MediaType> m_platformTypes;
  u16 m_width = 0;
  u16 m_height = 0;
  u32 m_sampleRate = 0;
  u32 m_channels = 0;
  /// Never learned; the audio format block says 0.
  u32 m_avgBytesPerSecond = 0;
  std::vector<u8> m_decoderInfo;
  bool m_lacksDecoderInfo = false;
  bool m_seekMaster = false;
  bool m_textConnection = false;
  bool m_hasPlatformType = false;
  Guid m_connectedSubtype;
};

}  // namespace kt

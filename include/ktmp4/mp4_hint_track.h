#pragma once

#include <ktmp4/result.h>

namespace kt {

/// What a hint track sends, and in which payload format; chosen when it is added.
enum Mp4HintType : u32 {
  MP4_HINT_VIDEO = 0,    // MPEG-4 visual, RFC 3016: one sample to a packet, long ones cut
  MP4_HINT_LATM = 1,     // MPEG-4 audio in LATM framing, RFC 3016: 3 samples to a packet, none cut
  MP4_HINT_AAC = 2,      // AAC in the mode AAC-hbr, RFC 3640: one sample to a packet, long ones cut
  MP4_HINT_CAPTION = 3,  // Line 21 captions as "608B", a format of this system's own: 2 samples to a packet
};

/// A hint track of a file: samples that tell a server how to send a media track in RTP packets. ISO/IEC
/// 14496-12, 9.1.
///
/// For writing: `CMp4File::AddHintTrack` makes it, `AddReferencedTrack` names the media track, which has been
/// written and closed, the limits may be set, and `CMp4File::CloseHintTrack` does all the work at once: it
/// packetises the media track and writes the hint samples, the figures and the session description. Of the
/// media it asks sizes and times alone. The group of samples that is still gathering at the end of the track
/// is left out: the last sample of a video or AAC track, up to two of captions and up to three of LATM, or as
/// many as `SetMaxSamplesPerPacket` lets gather, unless a sample was long enough to be cut. Time stamps are
/// decoding times; a group of LATM has that of the sample behind it, less that of the sample behind the first
/// group.
///
/// For reading: `CMp4File::OpenHintTrack` makes it; the caller deletes it, and so one whose close has failed.
/// Either may outlive its file.
///
/// Results that recur: MP4_NOT_READY when the track is not bound to its boxes or has outlived its file. No
/// operation locks: all calls on one file and its tracks have to be serialised by the caller.
class KT_API CMp4HintTrack {
 public:
  CMp4HintTrack() = default;
  CMp4HintTrack(const CMp4HintTrack&) = delete;
  CMp4HintTrack& operator=(const CMp4HintTrack&) = delete;

  /// The id of the hint track's own track.
  virtual Mp4Result GetHintTrackId(u32* id) = 0;
  /// MP4_NOT_FOUND when bound.
  virtual Mp4Result ReservedHint1(u32 argument) = 0;
  /// MP4_NOT_FOUND.
  virtual Mp4Result ReservedHint2(u32 argument) = 0;
  /// Names a media track, by its index, which has to be its id as well. One is what hint tracks are made for:
  /// with several, the times and sizes of one are taken for those of another. MP4_NOT_READY unless the hint
  /// track is being written, MP4_NO_MEMORY. The number is looked at when the hint track is closed.
  virtual Mp4Result AddReferencedTrack(u32 trackNumber) = 0;
  /// MP4_OK when bound.
  virtual Mp4Result ReservedHint3(u32 argument1, u32 argument2) = 0;
  /// MP4_OK when bound.
  virtual Mp4Result ReservedHint4(u32 argument1, u32 argument2, u32 argument3, u32 argument4) = 0;
  /// The RTP time of a hint sample, which counts from 1, in ticks of the hint track's time scale.
  /// MP4_NOT_FOUND beyond the last, MP4_ZERO_INDEX for sample 0; MP4_NOT_READY while it is being written.
  virtual Mp4Result GetPacketTime(u32 sample, u64* time) = 0;
  /// Prints a hint sample on standard output: its packets and how they are made. MP4_FILE_IO for one that is
  /// larger than the file or cannot be read, MP4_BAD_ARGUMENT for one of 0 bytes, MP4_OUT_OF_RANGE for a cut
  /// one, MP4_CORRUPT for packets that run beyond it, MP4_BAD_VALUE for an instruction that is not known,
  /// MP4_NO_MEMORY; and as `GetPacketTime`.
  virtual Mp4Result DumpHintSample(u32 sample) = 0;
  /// Payload bytes of the largest packet, 500 unless set. MP4_BAD_ARGUMENT for 0.
  virtual Mp4Result SetMaxPacketSize(u16 size) = 0;
  /// Media samples that go together into a packet at most. MP4_BAD_ARGUMENT for 0.
  virtual Mp4Result SetMaxSamplesPerPacket(u32 count) = 0;
  /// Copies the hint track's part of the session description with its terminating zero: a media block of RFC
  /// 4566. MP4_NOT_FOUND when there is none, MP4_BUFFER_TOO_SMALL.
  virtual Mp4Result GetTrackSdp(char* buffer, u32 capacity) = 0;
  /// Always MP4_NOT_READY: callers rely on it.
  virtual Mp4Result GetTimeScale(u32* scale) = 0;
  /// Always MP4_NOT_READY: callers rely on it.
  virtual Mp4Result GetTimeOffset(i32* offset) = 0;
  /// Always MP4_NOT_READY: callers rely on it.
  virtual Mp4Result GetSequenceOffset(i32* offset) = 0;
  /// Ticks per second of the RTP clock and of the hint track; what closing the track sets in the end. These
  /// three answer MP4_NOT_READY unless the hint track is being written, and MP4_NO_MEMORY.
  virtual Mp4Result SetTimeScale(u32 scale) = 0;
  /// What a server is to add to the time stamps, in ticks; closing the track sets 0.
  virtual Mp4Result SetTimeOffset(i32 offset) = 0;
  /// What a server is to add to the sequence numbers; closing the track sets 0.
  virtual Mp4Result SetSequenceOffset(i32 offset) = 0;
  /// Ticks per second of the RTP clock of an audio track, whose media time scale it is unless set; video and
  /// captions have 90000. Always MP4_OK.
  virtual Mp4Result SetRtpTimeScale(u32 scale) = 0;

  /// Finishes nothing.
  virtual ~CMp4HintTrack() = default;
};

/// A hint track for RTP, which is the only protocol there are hint tracks for.
class KT_API CMp4RtpHintTrack : public CMp4HintTrack {};

/// The id of the `index`-th media track, counted from 1, that the packets of a hint track of this library
/// take their bytes from. MP4_NOT_FOUND beyond the last, MP4_BAD_ARGUMENT for 0 and for a null hint track;
/// MP4_NOT_READY as above.
KT_API Mp4Result GetReferencedTrack(CMp4HintTrack* hintTrack, u32 index, u32* trackId);

}  // namespace kt

#pragma once

#include <memory>

#include <ktmp4/mp4_hint_track.h>
#include "hint/growing_array.h"
#include "hint/hint_bit_rates.h"
#include "hint/hint_track_host.h"
#include "hint/media_tracks.h"
#include "hint/packet_building.h"

namespace kt {

class CRtpHintSampleEntry;
class CTrackHintInformationBox;
class CTrackImpl;
class CTrackReferenceBox;
struct StreamFacts;

/// A hint track over a track of the file, and the hinter of AAC. The hinters of the other kinds derive from
/// it: they have another payload format and other limits, and describe themselves otherwise.
///
/// All work of writing is done in `Finish`: a loop over the media samples gathers groups, `packet_building`
/// makes packets of a group, and `WriteHintSample` writes them.
class CMp4RtpHintTrackImpl : public CMp4RtpHintTrack, public CHostedTrack {
 public:
  /// `file` is borrowed and may go first; null leaves a hint track that can be neither bound nor written.
  explicit CMp4RtpHintTrackImpl(CHintTrackHost* file);
  ~CMp4RtpHintTrackImpl() override;

  Mp4Result GetHintTrackId(u32* id) override;
  Mp4Result ReservedHint1(u32 argument) override;
  Mp4Result ReservedHint2(u32 argument) override;
  Mp4Result AddReferencedTrack(u32 trackNumber) override;
  Mp4Result ReservedHint3(u32 argument1, u32 argument2) override;
  Mp4Result ReservedHint4(u32 argument1, u32 argument2, u32 argument3, u32 argument4) override;
  Mp4Result GetPacketTime(u32 sample, u64* time) override;
  Mp4Result DumpHintSample(u32 sample) override;
  Mp4Result SetMaxPacketSize(u16 size) override;
  Mp4Result SetMaxSamplesPerPacket(u32 count) override;
  Mp4Result GetTrackSdp(char* buffer, u32 capacity) override;
  Mp4Result GetTimeScale(u32* scale) override;
  Mp4Result GetTimeOffset(i32* offset) override;
  Mp4Result GetSequenceOffset(i32* offset) override;
  Mp4Result SetTimeScale(u32 scale) override;
  Mp4Result SetTimeOffset(i32 offset) override;
  Mp4Result SetSequenceOffset(i32 offset) override;
  Mp4Result SetRtpTimeScale(u32 scale) override;

  /// See the function of this name beside `CMp4HintTrack`.
  Mp4Result GetReferencedTrack(u32 index, u32* trackId);
  /// MP4_BAD_ARGUMENT for 0 and above 128. Of 128 the packets get the low 7 bits. RFC 3551, 6.
  Mp4Result SetPayloadType(u32 payloadType);
  /// Binds to a hint track of the file. MP4_BAD_ARGUMENT for a track of another kind, MP4_BAD_BOX for one
  /// whose first sample entry is not "rtp ", MP4_NOT_READY without a file; what opening the track answers.
  Mp4Result Bind(u32 trackIndex);
  /// Makes a new hint track in the file. MP4_BAD_BOX when the new track lacks a box, MP4_NOT_READY without a
  /// file, MP4_NO_MEMORY; what adding the track answers.
  Mp4Result SetUp();
  /// Packetises the referenced track and completes and closes the hint track, which can only be deleted then.
  /// Without a reference it is closed as it is, with a time scale. MP4_NOT_READY for one that is not being
  /// written, and for one whose packets have been begun before: what a failure leaves unfinished stays so.
  Mp4Result Finish();

 protected:
  /// For the hinters of the other kinds.
  CMp4RtpHintTrackImpl(CHintTrackHost* file, const PayloadFormat& format, u32 maxSamplesPerPacket);

  /// Goes through the samples of the media tracks and writes the hint samples. The group that gathers at the
  /// end is not written. A sample whose size cannot be had ends the hinting as if it were behind the last.
  /// MP4_BAD_ARGUMENT for no track, MP4_BAD_TIMING for a media time scale of 0.
  virtual Mp4Result BuildPackets(u32 trackCount, const u32* trackNumbers);
  /// Writes one hint sample for a group of samples. MP4_BAD_ARGUMENT for a null track or an empty group,
  /// MP4_NOT_READY for a sample that is too large.
  virtual Mp4Result AddPacketGroup(u32 trackNumber, CMp4Track* track, u32 sampleCount, const u32* samples,
                                   u64 time);
  /// Appends this kind's media block for a referenced track to the session description. MP4_NOT_READY for a
  /// track of another kind, for LATM MP4_BAD_ARGUMENT.
  virtual Mp4Result AddTrackSdp(u32 trackNumber, CTrackHintInformationBox* hnti);
  /// Writes one hint sample for a sample that has to be cut. MP4_BAD_ARGUMENT for a null track, MP4_NOT_FOUND
  /// for a size of 0, MP4_NOT_READY for more packets than a hint sample holds and where samples are not cut.
  virtual Mp4Result AddFragmentedSample(u32 trackNumber, CMp4Track* track, u32 sample, u32 size, u64 time);

  /// A time in media ticks as one of the RTP clock, modulo 2^64.
  u64 RtpTimeOf(u64 time, u32 timeScale) const { return m_rtpTimeScale * time / timeScale; }
  void TakeBitRates(const CHintBitRates& bitRates) { bitRates.GetBitrates(&m_maxBitrate, &m_avgBitrate); }

  /// Not to be asked once detached. The host that the base keeps was a `CHintTrackHost` when it was handed
  /// over.
  CMp4File& File() const { return static_cast<CHintTrackHost&>(*m_file); }
  /// What the session description of every kind says. MP4_NOT_READY without a track.
  Mp4Result GetFacts(u32 trackNumber, StreamFacts* facts);
  u8 PayloadType() const { return m_stream.payloadType; }
  u32 MaxSamplesPerPacket() const { return m_maxSamplesPerPacket; }
  u32 RtpTimeScale() const { return m_rtpTimeScale; }  // ticks per second
  u32 MaxBitrate() const { return m_maxBitrate; }      // bits per second

 private:
  struct Gathering;

  void OnDetached() override;
  Mp4Result RequireEntryToWrite() const;
  Mp4Result MakeBoxes();
  Mp4Result CloseOwnTrack();
  Mp4Result TakeRtpTimeScale(u32 trackNumber);
  Mp4Result AddMediaHeader();
  Mp4Result AddSessionDescription(u32 trackCount, const u32* trackNumbers);
  Mp4Result Gather(const CMediaTracks::Turn& turn, u32 size, Gathering* gathering);
  Mp4Result WriteHintSample(u64 time);

  u32 m_bound = 0;
  u32 m_writable = 0;
  bool m_hasBegunPackets = false;
  std::unique_ptr<CTrackImpl> m_track;
  CRtpHintSampleEntry* m_sampleEntry = nullptr;    // borrowed from the file's tree
  CTrackReferenceBox* m_trackReference = nullptr;  // likewise; null unless being written
  const PayloadFormat* m_format;
  u32 m_maxSamplesPerPacket;
  RtpStream m_stream;
  u32 m_rtpTimeScale = 0;
  u32 m_maxBitrate = 500000;
  u32 m_avgBitrate = 300000;
  // Of the sample that is being written; in between their memory alone counts.
  CGrowingArray<MediaSample> m_group;
  CHintSample m_hintSample{this};
  CGrowingArray<u8> m_block;
};

}  // namespace kt

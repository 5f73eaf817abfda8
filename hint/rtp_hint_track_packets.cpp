// From the samples of the media tracks to the samples of the hint track.

#include "engine/storage/memory_storage.h"
#include "engine/track/track_impl.h"
#include "hint/rfc3016_latm_hint_track.h"
#include "hint/rtp_hint_track.h"

namespace kt {
namespace {

// The sizes of the headers that AAC has for a group and for each sample. They count for every kind of
// payload, also where there are none.
constexpr u32 kGroupHeaderSize = 2;
constexpr u32 kSampleHeaderSize = 2;

}  // namespace

/// The group of samples that is to go out next.
struct CMp4RtpHintTrackImpl::Gathering {
  CGrowingArray<u32> samples;
  u64 length = kGroupHeaderSize;  // in bytes
  u64 startTime = 0;              // decoding time of the first sample
  u32 lastTrack = 0;              // the number of the track of the last sample

  void Clear() {
    samples.Clear();
    length = kGroupHeaderSize;
  }
};

Mp4Result CMp4RtpHintTrackImpl::BuildPackets(u32 trackCount, const u32* trackNumbers) {
  CMediaTracks tracks;
  KT_TRY(tracks.Open(&File(), trackCount, trackNumbers));
  CHintBitRates bitRates;
  Gathering gathering;  // what is left in it at the end is not written, as `CMp4HintTrack` tells
  for (;;) {
    CMediaTracks::Turn turn;
    const Mp4Result result = tracks.PickNext(&turn);
    if (result == MP4_NOT_FOUND) break;
    KT_TRY(result);
    u32 size = 0;
    if (turn.track->GetSampleSize(turn.sample, &size) != MP4_OK) break;
    KT_TRY(bitRates.AddSample(size, turn.time, turn.timeScale));
    KT_TRY(Gather(turn, size, &gathering));
    tracks.Advance(turn);
  }
  TakeBitRates(bitRates);
  return MP4_OK;
}

// Takes the sample into the group, or writes the group and begins the next one with it.
Mp4Result CMp4RtpHintTrackImpl::Gather(const CMediaTracks::Turn& turn, u32 size, Gathering* gathering) {
  CGrowingArray<u32>& samples = gathering->samples;
  const auto fits = [&] { return gathering->length + size + kSampleHeaderSize <= m_stream.maxPacketSize; };
  const bool stays =
      fits() && turn.trackNumber == gathering->lastTrack && samples.Count() < m_maxSamplesPerPacket;
  if (!stays && samples.Count() > 0) {
    // In the name and by the clock of the track whose turn it is, which is that of the group where there is
    // one track.
    KT_TRY(AddPacketGroup(turn.trackNumber, turn.track, samples.Count(), samples.All().data(),
                          RtpTimeOf(gathering->startTime, turn.timeScale)));
    gathering->Clear();
  }
  if (!fits()) {
    return AddFragmentedSample(turn.trackNumber, turn.track, turn.sample, size,
                               RtpTimeOf(turn.time, turn.timeScale));
  }
  if (samples.Count() == 0) gathering->startTime = turn.time;
  KT_TRY(samples.Append(turn.sample));
  gathering->length += size + kSampleHeaderSize;
  gathering->lastTrack = turn.trackNumber;
  return MP4_OK;
}

Mp4Result CMp4RtpHintTrackImpl::AddPacketGroup(u32 /*trackNumber*/, CMp4Track* track, u32 sampleCount,
                                               const u32* samples, u64 time) {
  if (track == nullptr || sampleCount == 0) return MP4_BAD_ARGUMENT;
  m_group.Clear();
  for (u32 i = 0; i < sampleCount; ++i) {
    MediaSample sample{samples[i]};
    KT_TRY(track->GetSampleSize(sample.number, &sample.size));
    KT_TRY(m_group.Append(sample));
  }
  m_hintSample.Restart();
  KT_TRY(m_format->buildGroup(&m_stream, m_group.All(), &m_hintSample));
  return WriteHintSample(time);
}

Mp4Result CMp4RtpHintTrackImpl::AddFragmentedSample(u32 /*trackNumber*/, CMp4Track* track, u32 sample,
                                                    u32 size, u64 time) {
  if (track == nullptr) return MP4_BAD_ARGUMENT;
  m_hintSample.Restart();
  KT_TRY(m_format->buildFragments(&m_stream, {sample, size}, &m_hintSample));
  return WriteHintSample(time);
}

Mp4Result CMp4RtpHintTrackImpl::WriteHintSample(u64 time) {
  if (!m_track) return MP4_NOT_READY;
  u32 size = 0;
  KT_TRY(m_hintSample.CalculateSize());
  KT_TRY(m_hintSample.GetSize(&size));
  KT_TRY(m_block.Resize(size));
  CMemoryStorage storage;
  KT_TRY(storage.Open(m_block.All().data(), size, MP4_MODE_WRITE));
  KT_TRY(m_hintSample.Serialize(&storage));
  return m_track->WriteSample(m_block.All().data(), size, time, time, 0);
}

Mp4Result CRfc3016LatmHintTrackImpl::BuildPackets(u32 trackCount, const u32* trackNumbers) {
  if (trackCount != 1) return MP4_BAD_ARGUMENT;
  CMediaTracks tracks;
  KT_TRY(tracks.Open(&File(), trackCount, trackNumbers));
  KT_TRY(tracks.First().RequireKind(MP4_KIND_AUDIO, MP4_BAD_ARGUMENT));
  CHintBitRates bitRates;
  CGrowingArray<u32> samples;  // what is left in it at the end is not written
  for (;;) {
    CMediaTracks::Turn turn;
    const Mp4Result result = tracks.PickNext(&turn);
    if (result == MP4_NOT_FOUND) break;
    KT_TRY(result);
    u32 size = 0;
    if (turn.track->GetSampleSize(turn.sample, &size) != MP4_OK) break;
    KT_TRY(bitRates.AddSample(size, turn.time, turn.timeScale));
    if (samples.Count() >= MaxSamplesPerPacket()) {
      KT_TRY(AddPacketGroup(turn.trackNumber, turn.track, samples.Count(), samples.All().data(),
                            RtpTimeOf(turn.time, turn.timeScale)));
      samples.Clear();
    }
    KT_TRY(samples.Append(turn.sample));
    tracks.Advance(turn);
  }
  TakeBitRates(bitRates);
  return MP4_OK;
}

}  // namespace kt

#include "tools/copy/track_hinting.h"

#include <limits>

#include <ktmp4/mp4_hint_track.h>

namespace kt {
namespace {

constexpr u32 kAacOverhead = 4;         // of a packet with one frame: the AU-headers-length and one AU header
constexpr u32 kLargestAacFrame = 8191;  // 13 bits
// LATM tells a length in steps of 255, in at most 14 bytes here.
constexpr u32 kLargestLatmFrame = 14 * 255 - 1;
constexpr u32 kMostPackets = 65535;  // of a hint sample, which holds all pieces of a media sample

std::string Bytes(u32 count) {
  return std::to_string(count) + " bytes";
}

}  // namespace

TrackHinting::TrackHinting(const TrackCopy& media, u32 trackIndex, const HintWishes& wishes)
    : m_media(media), m_trackIndex(trackIndex), m_wishes(wishes) {
  Choose();
  if (m_obstacle.empty()) m_obstacle = GatheringObstacle();
}

void TrackHinting::Choose() {
  switch (m_media.Kind()) {
    case MP4_KIND_VIDEO:
      m_hintType = MP4_HINT_VIDEO;
      m_obstacle =
          m_media.Format() != MP4_FORMAT_MP4V ? "there are packets for MPEG-4 visual alone" : CutObstacle();
      return;
    case MP4_KIND_AUDIO:
      m_hintType = m_wishes.latm ? MP4_HINT_LATM : MP4_HINT_AAC;
      m_obstacle = m_media.Format() != MP4_FORMAT_MP4A ? "there are packets for AAC alone"
                   : m_wishes.latm                     ? LatmObstacle()
                                                       : CutObstacle();
      return;
    default:
      m_hintType = MP4_HINT_CAPTION;
      m_obstacle = CutObstacle();
  }
}

// What still gathers for a packet at the end of a track is not hinted, which may be all of it.
std::string TrackHinting::GatheringObstacle() const {
  constexpr u32 kGroupOverhead = 2, kSampleOverhead = 2;  // as the hinters count for every payload
  u32 most = m_hintType == MP4_HINT_LATM ? 3 : m_hintType == MP4_HINT_CAPTION ? 2 : 1;
  if (m_media.Kind() == MP4_KIND_AUDIO) most = m_wishes.samplesPerPacket.value_or(most);
  const u64 count = m_media.SampleCount();
  const u64 size = kGroupOverhead + m_media.ByteCount() + count * kSampleOverhead;
  const bool gathers = count <= most && (m_hintType == MP4_HINT_LATM || size <= m_wishes.packetSize);
  if (!gathers) return {};
  return count == 0   ? "it has no samples"
         : count == 1 ? "it has one sample, and the last of a track is not hinted"
                      : "its " + std::to_string(count) +
                            " samples fit in one packet, and the last packet of a track is not hinted";
}

std::string TrackHinting::LatmObstacle() const {
  const u32 size = m_media.LargestSize();
  const u32 needed = size / 255 + size + 1;
  if (needed <= m_wishes.packetSize && size <= kLargestLatmFrame) return {};
  return "sample " + std::to_string(m_media.LargestSample()) + " has " + Bytes(size) +
         ", and LATM does not cut frames; " +
         (size <= kLargestLatmFrame ? "--packet-size " + std::to_string(needed) + " would take it"
                                    : "it takes " + Bytes(kLargestLatmFrame) + " at most");
}

std::string TrackHinting::CutObstacle() const {
  const u64 size = m_media.LargestSize() + u64{m_hintType == MP4_HINT_AAC ? kAacOverhead : 0};
  const auto packets = [&](u64 packetSize) { return (size + packetSize - 1) / packetSize; };
  if (packets(m_wishes.packetSize) <= kMostPackets) return {};
  return "sample " + std::to_string(m_media.LargestSample()) + " takes " +
         std::to_string(packets(m_wishes.packetSize)) + " packets, and hints count to " +
         std::to_string(kMostPackets) + "; --packet-size " + std::to_string(packets(kMostPackets)) +
         " would take it";
}

std::string TrackHinting::Loss() const {
  if (m_hintType == MP4_HINT_AAC) return AacLoss();
  if (m_hintType != MP4_HINT_VIDEO || !m_media.IsReordered()) return {};
  return "pictures of " + m_media.Name() +
         " are decoded in another order than they are shown; the packets tell when they are decoded, and "
         "receivers that go by that show them out of order";
}

std::string TrackHinting::AacLoss() const {
  const u32 size = m_media.LargestSize();
  const std::string sample =
      "sample " + std::to_string(m_media.LargestSample()) + " of " + m_media.Name() + " has " + Bytes(size);
  if (size > kLargestAacFrame) return sample + ", which its packet cannot tell: AAC-hbr counts to 8191";
  if (size + kAacOverhead <= m_wishes.packetSize) return {};
  return sample + " and is cut; receivers need whole frames, which --packet-size " +
         std::to_string(size + kAacOverhead) + " gives them";
}

Mp4Result TrackHinting::Add(CMp4File& output) const {
  CMp4HintTrack* added = nullptr;
  const Mp4Result result = output.AddHintTrack(&added, m_hintType);
  std::unique_ptr<CMp4HintTrack> track(added);
  KT_TRY(result);
  KT_TRY(track->AddReferencedTrack(m_trackIndex));
  KT_TRY(track->SetMaxPacketSize(m_wishes.packetSize));
  if (m_media.Kind() == MP4_KIND_AUDIO && m_wishes.samplesPerPacket) {
    KT_TRY(track->SetMaxSamplesPerPacket(*m_wishes.samplesPerPacket));
  }
  KT_TRY(output.CloseHintTrack(track.get()));
  static_cast<void>(track.release());  // deleted
  return MP4_OK;
}

}  // namespace kt

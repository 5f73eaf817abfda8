#pragma once

#include <memory>

#include "hint/hint_packet.h"

namespace kt {

class CMp4HintTrack;

/// A sample of an RTP hint track: packets that go out together, and how to make them. ISO/IEC
/// 14496-12, 9.1.3, from which the bits of the first RTP header byte depart.
class CHintSample {
 public:
  /// `owner` is the hint track that makes or reads the sample, borrowed; null for none.
  explicit CHintSample(CMp4HintTrack* owner) : m_owner(owner) {}

  /// Appends a packet, which stays the sample's; borrowed. MP4_NOT_READY when 16 bits cannot count one more,
  /// MP4_NO_MEMORY.
  Mp4Result AddPacket(CHintPacket** packet);
  /// A packet by its number from 1, borrowed. MP4_NOT_FOUND beyond the last, MP4_ZERO_INDEX for 0.
  Mp4Result GetPacket(u32 index, CHintPacket** packet);
  /// Reads the `size` bytes of a sample; what the packets leave is kept as extra data. What the packets and
  /// the storage report; MP4_CORRUPT for a sample below its header; MP4_NO_MEMORY.
  Mp4Result Deserialize(CStorage* storage, u32 size);
  /// Writes the packets. Extra data are not written: in their place as many bytes are read from the storage
  /// into them, which passes over what stands there. MP4_NOT_READY for a packet with an extra list.
  Mp4Result Serialize(CStorage* storage);
  /// Adds the size of the contents to the size, which is 0 in a new sample: to be called once.
  Mp4Result CalculateSize();
  /// In bytes.
  Mp4Result GetSize(u32* size) const;
  Mp4Result Dump(int indent);
  /// Frees the packets and the extra data.
  Mp4Result Free();
  /// Makes a new sample of it, whose packets use the memory of those that it had.
  void Restart();

  CMp4HintTrack* GetOwner() const { return m_owner; }

 private:
  std::span<std::unique_ptr<CHintPacket>> Packets() const { return m_packets.All().first(m_packetsInUse); }
  Mp4Result TakePacket(CHintPacket** packet);
  Mp4Result ReadPacket(CStorage* storage);
  Mp4Result ReadExtraData(CStorage* storage);

  u16 m_packetCount = 0;
  std::unique_ptr<u8[]> m_extraData;
  u32 m_extraDataSize = 0;
  CMp4HintTrack* m_owner;
  u32 m_size = 0;
  u32 m_remaining = 0;
  CGrowingArray<std::unique_ptr<CHintPacket>> m_packets;  // those behind the ones in use are spare
  u32 m_packetsInUse = 0;
};

}  // namespace kt

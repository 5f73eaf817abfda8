#pragma once

#include <optional>

#include "engine/box/box_list.h"
#include "hint/growing_array.h"
#include "hint/packet_constructor.h"

namespace kt {

/// One RTP packet of a hint sample: what its header says, and the constructors that make its payload. ISO/IEC
/// 14496-12, 9.1.3.1; RFC 3550, 5.1.
class CHintPacket {
 public:
  /// Makes a new packet of it, which uses the memory of its constructors.
  void Restart();
  /// `bFrame` is 1 for a packet that can be left out. `relativeTime` is in ticks of the RTP clock. Sets the
  /// number of entries to 0, also when there are constructors: callers rely on it.
  Mp4Result SetHeader(u8 payloadType, u16 sequenceNumber, u32 bFrame, i32 relativeTime);
  Mp4Result SetMarker(u32 marker);
  /// Appends 1 to 14 bytes. MP4_BAD_ARGUMENT for another number or null, MP4_NOT_READY when 16 bits cannot
  /// count the constructors, MP4_NO_MEMORY.
  Mp4Result AddImmediate(const u8* data, u32 size);
  /// Appends a stretch of a sample of the first referenced track, whatever the first argument says: readers
  /// rely on it. MP4_NOT_READY when 16 bits cannot count the constructors, MP4_NO_MEMORY.
  Mp4Result AddSample(u32 ignored, u32 length, u32 sampleNumber, u32 sampleOffset);

  /// Takes the packet off the `*remaining` bytes of the sample. MP4_CORRUPT when its extra list or a
  /// constructor runs beyond them, MP4_BAD_VALUE for an unknown constructor, MP4_NOT_READY for an extra list
  /// read twice, MP4_NO_MEMORY; what the boxes of the extra list and the storage report.
  Mp4Result Deserialize(CStorage* storage, u32* remaining);
  /// MP4_NOT_READY for a packet with an extra list.
  Mp4Result Serialize(CStorage* storage);
  Mp4Result Dump(int indent);
  /// Works out what `GetPacketSize` answers. MP4_NOT_READY for the extra flag without a list; since a list in
  /// turn cannot be written, no packet with the extra flag is.
  Mp4Result CalculatePacketSize();
  /// In bytes.
  Mp4Result GetPacketSize(u32* size) const;

 private:
  // A constructor as it stands in the file.
  struct ConstructorBytes {
    u8 bytes[CRTPBaseConstructor::kSize];
  };

  Mp4Result Append(CRTPBaseConstructor* constructor);
  Mp4Result Keep(CRTPBaseConstructor* constructor);
  Mp4Result ReadHeader(CStorage* storage);
  Mp4Result ReadExtraList(CStorage* storage, u32* remaining);
  Mp4Result ReadConstructor(CStorage* storage, u32* remaining);
  Mp4Result DumpConstructors(int indent);

  // What there is to be said of the packet, beside its lists.
  struct Facts {
    i32 relativeTime = 0;
    u32 paddingFlag = 0;  // this and the other flags are 0 or 1
    u32 extensionFlag = 0;
    u32 markerFlag = 0;
    u8 payloadType = 0;
    u16 sequenceNumber = 0;
    u32 extraFlag = 0;
    u32 bFrameFlag = 0;
    u32 repeatFlag = 0;
    u16 entryCount = 0;
    u32 extraLength = 0;
    u32 packetSize = 0;
  };

  Facts m_facts;
  std::optional<CBoxList> m_extraList;
  CGrowingArray<ConstructorBytes> m_constructors;
};

}  // namespace kt

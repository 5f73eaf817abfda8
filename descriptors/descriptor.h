#pragma once

#include "engine/storage/storage.h"

namespace kt {

/// Tags of ISO/IEC 14496-1, 7.2.2.1, and of ISO/IEC 14496-14, 3.1.
enum DescriptorTag : u32 {
  kObjectDescriptorTag = 1,
  kInitialObjectDescriptorTag = 2,
  kEsDescriptorTag = 3,
  kDecoderConfigDescriptorTag = 4,
  kDecoderSpecificInfoTag = 5,
  kSlConfigDescriptorTag = 6,
  kEsIdIncTag = 14,
  kEsIdRefTag = 15,
  kMp4InitialObjectDescriptorTag = 16,
  kMp4ObjectDescriptorTag = 17,
  kIpmpDescriptorPointerTag = 18,
  kFirstOciTag = 64,
  kLastOciTag = 95,
  kFirstExtensionTag = 128,
  kLastExtensionTag = 254,
};

/// Base of every descriptor: a tag, a size in a variable-length code, and a body that may hold further
/// descriptors. Itself it is the descriptor of an unknown tag, whose body is skipped and lost.
///
/// Derived classes follow the pattern of the boxes: the factory reads the header into a bare descriptor and
/// hands it to the concrete class, whose `Deserialize` then reads the body alone. `Serialize`,
/// `SerializeToBuffer`, `Dump` and `CalculateSize` call their base first and stop on its failure.
/// ISO/IEC 14496-1, 7.2.2.2.
class CBaseDescriptor {
 public:
  /// The bare descriptor, all fields zero, into which a header is read.
  CBaseDescriptor() = default;
  explicit CBaseDescriptor(u32 tag) : m_tag(tag) {}
  /// Takes over a header that has been read; borrowed for the call.
  explicit CBaseDescriptor(const CBaseDescriptor* header)
      : m_tag(header->m_tag),
        m_size(header->m_size),
        m_remaining(header->m_remaining),
        m_headerSize(header->m_headerSize) {}
  // Neither copied nor moved: a copy by way of the base would lose the body.
  CBaseDescriptor(const CBaseDescriptor&) = delete;
  CBaseDescriptor& operator=(const CBaseDescriptor&) = delete;
  virtual ~CBaseDescriptor() = default;

  /// Here: reads tag and size; MP4_BAD_DESCRIPTOR for a size code of more than five bytes. In a derived
  /// class: reads the body behind a header that has been read.
  virtual Mp4Result Deserialize(CStorage* storage);
  /// Writes tag, size and body. `CalculateSize` has to run before. MP4_DESCRIPTOR_OVERRUN for a body of 2^28
  /// bytes and more.
  virtual Mp4Result Serialize(CStorage* storage);
  /// The same into memory: `*cursor` moves and `*room` falls by the bytes written. MP4_BUFFER_TOO_SMALL
  /// before anything is written beyond the room.
  virtual Mp4Result SerializeToBuffer(u8** cursor, u32* room);
  /// Size of the body and of the header in bytes.
  virtual Mp4Result GetSize(u32* size, u32* headerSize) const;
  virtual Mp4Result GetTag(u32* tag) const;
  /// Bytes of the body that `Deserialize` has not consumed.
  virtual Mp4Result GetRemaining(u32* remaining) const;
  /// Prints the descriptor on standard output, `indent` levels of two blanks deep.
  virtual Mp4Result Dump(int indent);
  /// Works the size of the body out from the fields and the children; a size code that was longer than
  /// need be when read is forgotten. MP4_DESCRIPTOR_OVERRUN when the sum leaves 32 bits.
  virtual Mp4Result CalculateSize();

  /// Prints the descriptor as one that `level` boxes and descriptors stand around: it is these that a list of
  /// children counts, and not the indent.
  Mp4Result DumpAt(int indent, u32 level) {
    m_level = static_cast<u8>(level);
    const Mp4Result result = Dump(indent);
    m_level = 0;
    return result;
  }
  /// Header and body together, in bytes.
  u64 WholeLength() const;

 protected:
  u32 m_tag = 0;
  u32 m_size = 0;  // of the body
  u32 m_remaining = 0;
  // Two bytes of a file are enough for a descriptor: bytes and not words.
  u8 m_headerSize = 0;  // as read; 0 when the size has been worked out
  u8 m_level = 0;       // while it is printed: the boxes and descriptors around it
};

}  // namespace kt

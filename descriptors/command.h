#pragma once

#include "engine/storage/storage.h"

namespace kt {

/// Base of the object descriptor commands, the access units of an object descriptor stream. On the wire a
/// command looks like a descriptor, but it has tags and failures of its own. ISO/IEC 14496-1, 7.2.2.3 and
/// 7.2.5.5.
class CBaseCommand {
 public:
  /// The bare command, all fields zero, into which a header is read.
  CBaseCommand() = default;
  explicit CBaseCommand(u32 tag) : m_tag(tag) {}
  /// Takes over a header that has been read; borrowed for the call.
  explicit CBaseCommand(const CBaseCommand* header)
      : m_tag(header->m_tag),
        m_size(header->m_size),
        m_remaining(header->m_remaining),
        m_headerSize(header->m_headerSize) {}
  // Neither copied nor moved: a copy by way of the base would lose the body.
  CBaseCommand(const CBaseCommand&) = delete;
  CBaseCommand& operator=(const CBaseCommand&) = delete;
  virtual ~CBaseCommand() = default;

  /// Here: reads tag and size; MP4_BAD_COMMAND for a size code of more than five bytes. In a derived class:
  /// reads the body behind a header that has been read.
  virtual Mp4Result Deserialize(CStorage* storage);
  /// Writes tag, size and body. `CalculateSize` has to run before. MP4_COMMAND_OVERRUN for a body of 2^28
  /// bytes and more.
  virtual Mp4Result Serialize(CStorage* storage);
  /// The same into memory: `*cursor` moves and `*room` falls by the bytes written. MP4_BUFFER_TOO_SMALL
  /// before anything is written beyond the room.
  virtual Mp4Result SerializeToBuffer(u8** cursor, u32* room);
  /// Size of the body, and of the header as it is written: other than a descriptor, a command does not
  /// answer with the header that was read.
  virtual Mp4Result GetSize(u32* size, u32* headerSize) const;
  virtual Mp4Result GetTag(u32* tag) const;
  /// Bytes of the body that `Deserialize` has not consumed.
  virtual Mp4Result GetRemaining(u32* remaining) const;
  /// Prints the command on standard output, `indent` levels of two blanks deep.
  virtual Mp4Result Dump(int indent);
  /// Works the size of the body out from the contents.
  virtual Mp4Result CalculateSize();

 protected:
  u32 m_tag = 0;
  u32 m_size = 0;  // of the body
  u32 m_remaining = 0;
  u8 m_headerSize = 0;  // as read
};

}  // namespace kt

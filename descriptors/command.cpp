#include "descriptors/command.h"

#include <iterator>

#include "descriptors/size_code.h"

namespace kt {
namespace {

const char* NameOf(u32 tag) {
  static constexpr const char* kNames[] = {
      "Unknown",
      "Object descriptor update",
      "Object descriptor remove",
      "ES descriptor update",
      "ES descriptor remove",
      "IPMP descriptor update",
      "IPMP descriptor remove",
      "ES descriptor remove reference",
  };
  return tag < std::size(kNames) ? kNames[tag] : kNames[0];
}

}  // namespace

Mp4Result CBaseCommand::Deserialize(CStorage* storage) {
  KT_TRY(ReadTagAndSize(storage, &m_tag, &m_size, &m_headerSize, MP4_BAD_COMMAND));
  m_remaining = m_size;
  return MP4_OK;
}

Mp4Result CBaseCommand::Serialize(CStorage* storage) {
  return WriteTagAndSize(storage, m_tag, m_size, MP4_COMMAND_OVERRUN);
}

Mp4Result CBaseCommand::SerializeToBuffer(u8** cursor, u32* room) {
  return WriteTagAndSize(cursor, room, m_tag, m_size, MP4_COMMAND_OVERRUN);
}

Mp4Result CBaseCommand::Dump(int indent) {
  DumpTagAndSize(indent, NameOf(m_tag), m_tag, m_size);
  return MP4_OK;
}

Mp4Result CBaseCommand::CalculateSize() {
  m_size = 0;
  return MP4_OK;
}

Mp4Result CBaseCommand::GetSize(u32* size, u32* headerSize) const {
  *size = m_size;
  *headerSize = HeaderSizeOf(m_size);
  return MP4_OK;
}

Mp4Result CBaseCommand::GetTag(u32* tag) const {
  *tag = m_tag;
  return MP4_OK;
}

Mp4Result CBaseCommand::GetRemaining(u32* remaining) const {
  *remaining = m_remaining;
  return MP4_OK;
}

}  // namespace kt

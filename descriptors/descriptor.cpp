#include "descriptors/descriptor.h"

#include "descriptors/size_code.h"

namespace kt {
namespace {

const char* NameOf(u32 tag) {
  switch (tag) {
    case kObjectDescriptorTag:
      return "Object descriptor";
    case kInitialObjectDescriptorTag:
      return "Initial object descriptor";
    case kEsDescriptorTag:
      return "ES descriptor";
    case kDecoderConfigDescriptorTag:
      return "Decoder config descriptor";
    case kDecoderSpecificInfoTag:
      return "Decoder specific info";
    case kSlConfigDescriptorTag:
      return "SL config descriptor";
    case kEsIdIncTag:
      return "ES ID inc";
    case kEsIdRefTag:
      return "ES ID ref";
    case kMp4InitialObjectDescriptorTag:
      return "MP4 IOD";
    case kMp4ObjectDescriptorTag:
      return "MP4 OD";
    case kIpmpDescriptorPointerTag:
      return "IPL descriptor pointer ref";
    default:
      return "Unknown";
  }
}

}  // namespace

Mp4Result CBaseDescriptor::Deserialize(CStorage* storage) {
  KT_TRY(ReadTagAndSize(storage, &m_tag, &m_size, &m_headerSize, MP4_BAD_DESCRIPTOR));
  m_remaining = m_size;
  return MP4_OK;
}

Mp4Result CBaseDescriptor::Serialize(CStorage* storage) {
  return WriteTagAndSize(storage, m_tag, m_size, MP4_DESCRIPTOR_OVERRUN);
}

Mp4Result CBaseDescriptor::SerializeToBuffer(u8** cursor, u32* room) {
  return WriteTagAndSize(cursor, room, m_tag, m_size, MP4_DESCRIPTOR_OVERRUN);
}

Mp4Result CBaseDescriptor::Dump(int indent) {
  DumpTagAndSize(indent, NameOf(m_tag), m_tag, m_size);
  return MP4_OK;
}

Mp4Result CBaseDescriptor::CalculateSize() {
  m_size = 0;
  m_headerSize = 0;
  return MP4_OK;
}

Mp4Result CBaseDescriptor::GetSize(u32* size, u32* headerSize) const {
  *size = m_size;
  *headerSize = m_headerSize != 0 ? m_headerSize : HeaderSizeOf(m_size);
  return MP4_OK;
}

u64 CBaseDescriptor::WholeLength() const {
  u32 size = 0;
  u32 headerSize = 0;
  return GetSize(&size, &headerSize) == MP4_OK ? u64{size} + headerSize : 0;
}

Mp4Result CBaseDescriptor::GetTag(u32* tag) const {
  *tag = m_tag;
  return MP4_OK;
}

Mp4Result CBaseDescriptor::GetRemaining(u32* remaining) const {
  *remaining = m_remaining;
  return MP4_OK;
}

}  // namespace kt

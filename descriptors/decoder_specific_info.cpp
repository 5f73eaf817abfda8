#include "descriptors/decoder_specific_info.h"

#include "descriptors/size_code.h"

namespace kt {

Mp4Result CDecoderSpecificInfo::Deserialize(CStorage* storage) {
  KT_TRY(m_data.Reserve(storage, m_remaining));
  if (m_data.Size() != 0) KT_TRY(storage->ReadBytes(m_data.Data(), m_data.Size()));
  m_remaining -= m_data.Size();
  return MP4_OK;
}

Mp4Result CDecoderSpecificInfo::Serialize(CStorage* storage) {
  KT_TRY(CBaseDescriptor::Serialize(storage));
  return m_data.Data() ? storage->WriteBytes(m_data.Data(), m_data.Size()) : MP4_OK;
}

Mp4Result CDecoderSpecificInfo::SerializeToBuffer(u8** cursor, u32* room) {
  KT_TRY(CBaseDescriptor::SerializeToBuffer(cursor, room));
  return WriteToBuffer(cursor, room, m_data.StoredSize(),
                       [&](CStorage* block) { return block->WriteBytes(m_data.Data(), m_data.Size()); });
}

Mp4Result CDecoderSpecificInfo::Dump(int indent) {
  KT_TRY(CBaseDescriptor::Dump(indent));
  m_data.Dump(indent);
  return MP4_OK;
}

Mp4Result CDecoderSpecificInfo::CalculateSize() {
  KT_TRY(CBaseDescriptor::CalculateSize());
  return AddToSize(&m_size, m_data.StoredSize());
}

Mp4Result CDecoderSpecificInfo::SetData(const void* data, u32 size) {
  m_size = 0;
  return m_data.Set(data, size);
}

}  // namespace kt

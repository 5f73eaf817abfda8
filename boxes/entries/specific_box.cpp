#include "boxes/entries/specific_box.h"

namespace kt {

Mp4Result CSpecificBox::Deserialize(CStorage* storage) {
  KT_TRY(m_data.Reserve(storage, static_cast<u32>(m_remaining)));
  if (m_data.Size() != 0) KT_TRY(storage->ReadBlock(m_data.Data(), m_data.Size()));
  m_remaining -= m_data.Size();
  return MP4_OK;
}

Mp4Result CSpecificBox::Serialize(CStorage* storage) {
  KT_TRY(CBox::Serialize(storage));
  return m_data.Data() ? storage->WriteBlock(m_data.Data(), m_data.Size()) : MP4_OK;
}

Mp4Result CSpecificBox::Dump(int indent) {
  KT_TRY(CBox::Dump(indent));
  m_data.Dump(indent);
  return MP4_OK;
}

Mp4Result CSpecificBox::CalculateSize() {
  KT_TRY(CBox::CalculateSize());
  m_size += m_data.StoredSize();
  return MP4_OK;
}

}  // namespace kt

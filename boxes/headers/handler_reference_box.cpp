#include "boxes/headers/handler_reference_box.h"

#include <cstdio>

namespace kt {

Mp4Result CHandlerReferenceBox::Deserialize(CStorage* storage) {
  KT_TRY(CFieldsBox::Deserialize(storage));
  return m_remaining == 0 ? MP4_OK : m_pName.Read(storage, m_remaining);
}

Mp4Result CHandlerReferenceBox::Serialize(CStorage* storage) {
  KT_TRY(CFieldsBox::Serialize(storage));
  return storage->WriteString(m_pName.Get());
}

Mp4Result CHandlerReferenceBox::Dump(int indent) {
  KT_TRY(CFullBox::Dump(indent));
  const CodeCharacters code(m_ui32HandlerType);
  PrintIndent(indent);
  std::printf("Handler type=%c%c%c%c Name=%s\n", code.first, code.second, code.third, code.fourth,
              m_pName.Get());
  return MP4_OK;
}

Mp4Result CHandlerReferenceBox::CalculateSize() {
  KT_TRY(CFieldsBox::CalculateSize());
  m_size += u64{m_pName.Length()} + 1;
  return MP4_OK;
}

Mp4Result CHandlerReferenceBox::GetHandlerType(u32* handlerType) const {
  *handlerType = m_ui32HandlerType;
  return m_ui32HandlerType == 0 ? MP4_NOT_FOUND : MP4_OK;
}

Mp4Result CHandlerReferenceBox::SetHandlerType(u32 handlerType) {
  m_ui32HandlerType = handlerType;
  return MP4_OK;
}

}  // namespace kt

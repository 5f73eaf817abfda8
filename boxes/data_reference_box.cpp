#include "boxes/data_reference_box.h"

#include <cstdio>
#include <new>

namespace kt {
namespace {

constexpr u32 kSelfContained = 1;

}  // namespace

Mp4Result CDataEntryURLBox::Deserialize(CStorage* storage) {
  KT_TRY(CFullBox::Deserialize(storage));
  if (m_flags == 0) KT_TRY(m_pLocation.Read(storage, m_remaining));
  m_remaining = 0;
  return MP4_OK;
}

Mp4Result CDataEntryURLBox::Serialize(CStorage* storage) {
  KT_TRY(CFullBox::Serialize(storage));
  return m_pLocation.Length() > 0 ? storage->WriteString(m_pLocation.Get()) : MP4_OK;
}

Mp4Result CDataEntryURLBox::Dump(int indent) {
  KT_TRY(CFullBox::Dump(indent));
  PrintIndent(indent);
  std::printf("String Location=%s\n", m_pLocation.Get());
  return MP4_OK;
}

Mp4Result CDataEntryURLBox::CalculateSize() {
  KT_TRY(CFullBox::CalculateSize());
  m_size += m_pLocation.Length();
  return MP4_OK;
}

Mp4Result CDataEntryURLBox::SetLocation(const char* location) {
  if (location != nullptr) return m_pLocation.Set(location);
  m_flags = kSelfContained;
  return MP4_OK;
}

Mp4Result CDataEntryURNBox::Dump(int indent) {
  KT_TRY(CFullBox::Dump(indent));
  PrintIndent(indent);
  std::printf("String name= String location=\n");
  return MP4_OK;
}

Mp4Result CDataReferenceBox::AddUrlEntry(const char* location) {
  std::unique_ptr<CDataEntryURLBox> entry(new (std::nothrow) CDataEntryURLBox);
  if (!entry) return MP4_NO_MEMORY;
  KT_TRY(entry->SetLocation(location));
  KT_TRY(Append(std::move(entry)));
  ++m_ui32EntryCount;
  return MP4_OK;
}

}  // namespace kt

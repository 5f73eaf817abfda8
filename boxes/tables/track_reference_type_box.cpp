#include "boxes/tables/track_reference_type_box.h"

#include <cstdio>

namespace kt {

Mp4Result CTrackReferenceTypeBox::Deserialize(CStorage* storage) {
  // Ids would otherwise be read past the end of the box until the end of the file.
  if (m_remaining % 4 != 0) return MP4_FILE_IO;
  KT_TRY(storage->RequireBytes(m_remaining));
  while (m_remaining > 0) {
    CTrackReferenceTableEntry entry{};
    KT_TRY(storage->ReadUInt32(&entry.trackId));
    m_remaining -= 4;
    KT_TRY(m_List.Append(&entry));
    ++m_ui32EntryCount;
  }
  return MP4_OK;
}

Mp4Result CTrackReferenceTypeBox::Serialize(CStorage* storage) {
  KT_TRY(CBox::Serialize(storage));
  for (u32 index = 1; index <= m_ui32EntryCount; ++index) {
    KT_TRY(storage->WriteUInt32(m_List.At(index).trackId));
  }
  return MP4_OK;
}

Mp4Result CTrackReferenceTypeBox::Dump(int indent) {
  KT_TRY(CBox::Dump(indent));
  PrintIndent(indent);
  std::printf("Number of referenced tracks=%d\n", static_cast<int>(m_ui32EntryCount));
  for (u32 index = 1; index <= m_ui32EntryCount; ++index) {
    PrintIndent(indent);
    std::printf("Index: %2d Track Id: %d\n", static_cast<int>(index),
                static_cast<int>(m_List.At(index).trackId));
  }
  return MP4_OK;
}

Mp4Result CTrackReferenceTypeBox::CalculateSize() {
  KT_TRY(CBox::CalculateSize());
  m_size += u64{4} * m_ui32EntryCount;
  return MP4_OK;
}

Mp4Result CTrackReferenceTypeBox::AddTrackId(u32 trackId, u32* index) {
  if (index == nullptr) return MP4_BAD_ARGUMENT;
  const CTrackReferenceTableEntry entry{trackId};
  KT_TRY(m_List.Append(&entry));
  *index = ++m_ui32EntryCount;
  return MP4_OK;
}

Mp4Result CTrackReferenceTypeBox::GetTrackId(u32 index, u32* trackId) const {
  if (index == 0) return MP4_BAD_ARGUMENT;  // and not MP4_ZERO_INDEX: readers rely on it
  CTrackReferenceTableEntry entry{};
  KT_TRY(m_List.GetAt(index, &entry));
  *trackId = entry.trackId;
  return MP4_OK;
}

Mp4Result CTrackReferenceTypeBox::GetEntryCount(u32* count) const {
  *count = m_ui32EntryCount;
  return MP4_OK;
}

}  // namespace kt

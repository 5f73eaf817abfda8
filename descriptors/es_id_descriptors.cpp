#include "descriptors/es_id_descriptors.h"

#include <cstdio>

#include "descriptors/size_code.h"
#include "engine/storage/field_io.h"
#include "engine/storage/printing.h"

namespace kt {

template <class Id>
Mp4Result CTrackPointerDescriptor<Id>::Deserialize(CStorage* storage) {
  return CFieldReader<u32>(storage, &m_remaining)(m_id);
}

template <class Id>
Mp4Result CTrackPointerDescriptor<Id>::Serialize(CStorage* storage) {
  KT_TRY(CBaseDescriptor::Serialize(storage));
  return CFieldWriter(storage)(m_id);
}

template <class Id>
Mp4Result CTrackPointerDescriptor<Id>::SerializeToBuffer(u8** cursor, u32* room) {
  KT_TRY(CBaseDescriptor::SerializeToBuffer(cursor, room));
  return WriteToBuffer(cursor, room, sizeof(m_id),
                       [&](CStorage* block) { return CFieldWriter(block)(m_id); });
}

template <class Id>
Mp4Result CTrackPointerDescriptor<Id>::CalculateSize() {
  KT_TRY(CBaseDescriptor::CalculateSize());
  return CFieldSizer<u32>(&m_size)(m_id);
}

template <class Id>
Mp4Result CTrackPointerDescriptor<Id>::DumpId(int indent, const char* name) {
  KT_TRY(CBaseDescriptor::Dump(indent));
  PrintIndent(indent);
  std::printf("%s: %d\n", name, static_cast<int>(m_id));
  return MP4_OK;
}

template class CTrackPointerDescriptor<u16>;
template class CTrackPointerDescriptor<u32>;

Mp4Result CESIDRef::Dump(int indent) {
  return DumpId(indent, "Track ref");
}

Mp4Result CESIDRef::SetRefIndex(u16 refIndex) {
  m_id = refIndex;
  return MP4_OK;
}

Mp4Result CESIDInc::Dump(int indent) {
  return DumpId(indent, "TrackID");
}

Mp4Result CESIDInc::SetTrackId(u32 trackId) {
  m_id = trackId;
  return MP4_OK;
}

}  // namespace kt

#include "descriptors/es_id_descriptors.h"

#include <cstdio>

#include "engine/storage/printing.h"

namespace kt {

template <class Id>
Mp4Result CTrackPointerDescriptor<Id>::DumpId(int indent, const char* name) {
  KT_TRY(CBaseDescriptor::Dump(indent));
  PrintIndent(indent);
  std::printf("%s: %d\n", name, static_cast<int>(m_id));
  return MP4_OK;
}

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

#include "adapt/box_walk.h"

namespace kt::adapt {

bool CBoxWalk::Next(BoxView* box) {
  constexpr u64 kShortHeader = 8;
  constexpr u64 kLongHeader = 16;
  if (!m_rest.Has(0, kShortHeader)) return false;
  const u32 declared = m_rest.U32(0);
  u64 header = kShortHeader;
  u64 size = declared;
  if (declared == 1) {
    header = kLongHeader;
    size = m_rest.U64(kShortHeader);
  } else if (declared == 0 && m_rest.U32(4) != 0) {
    size = m_rest.Size();
  }
  if (size < header) return false;
  box->code = m_rest.U32(4);
  box->whole = m_rest.Part(0, size);
  box->payload = box->whole.From(header);
  m_rest = m_rest.From(size);
  return true;
}

void FindBoxes(CBytes within, std::initializer_list<WantedBox> wanted) {
  for (const WantedBox& row : wanted) *row.payload = {};
  CBoxWalk walk(within);
  for (BoxView box; walk.Next(&box);) {
    for (const WantedBox& row : wanted) {
      if (row.code == box.code && row.payload->Data() == nullptr) *row.payload = box.payload;
    }
  }
}

bool FindBox(CBytes within, u32 code, CBytes* payload) {
  *payload = {};
  CBoxWalk walk(within);
  for (BoxView box; walk.Next(&box);) {
    if (box.code != code) continue;
    *payload = box.payload;
    return true;
  }
  return false;
}

}  // namespace kt::adapt

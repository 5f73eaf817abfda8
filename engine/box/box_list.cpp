#include "engine/box/box_list.h"

#include <algorithm>

namespace kt {
namespace {

// A walk over fewer boxes is not worth the memory that would spare it.
constexpr u32 kLongWalk = 16;

u32 TypeOf(const CBox& box) {
  u32 type = 0;
  return box.GetType(&type) == MP4_OK ? type : 0;
}

}  // namespace

CBoxList::CBoxList(const CBox* owner) : m_ownerType(owner != nullptr ? TypeOf(*owner) : 0) {}

Mp4Result CBoxList::FindByType(u32 type, CBox** box, u32 occurrence) {
  *box = nullptr;
  const u32 wanted = std::max<u32>(occurrence, 1);
  Node* node = m_head.get();
  u32 seen = 0;
  if (m_places) {
    for (const Found& found : {m_places->first, m_places->later}) {
      if (found.node == nullptr || TypeOf(*found.node->item) != type || found.occurrence > wanted) continue;
      node = found.node;
      seen = found.occurrence - 1;
    }
  }
  for (; node != nullptr; node = node->next.get()) {
    if (TypeOf(*node->item) != type || ++seen < wanted) continue;
    Remember({node, wanted});
    *box = node->item.get();
    return MP4_OK;
  }
  return MP4_NOT_FOUND;
}

void CBoxList::Remember(const Found& found) {
  if (!m_places) {
    if (found.node->index < kLongWalk) return;
    m_places.reset(new (std::nothrow) Places);
    if (!m_places) return;  // the next search walks again
  }
  (found.occurrence == 1 ? m_places->first : m_places->later) = found;
}

Mp4Result CBoxList::SerializeAll(CStorage* storage) {
  for (Node* node = m_head.get(); node != nullptr; node = node->next.get()) {
    KT_TRY(node->item->Serialize(storage));
  }
  return MP4_OK;
}

Mp4Result CBoxList::DeserializeAll(CStorage* storage, u64* remaining) {
  u32 eof = 0;
  KT_TRY(storage->IsEof(&eof));
  u32 parentType = m_ownerType;
  while (*remaining > 0) {
    // From the second child on the "parent type" is the type of the child before it, or 0 if that was
    // unknown. It bears on "rtp " alone, and readers rely on it.
    std::unique_ptr<CBox> box;
    KT_TRY(CreateBox(storage, parentType, &box, &parentType));
    CBox* added = box.get();
    KT_TRY(Add(std::move(box)));
    KT_TRY(added->TakeSizeOff(remaining));
  }
  return MP4_OK;
}

Mp4Result CBoxList::DumpAll(int indent, u32 level) {
  if (m_head && level >= CNesting::kLevels) return MP4_CORRUPT;
  for (Node* node = m_head.get(); node != nullptr; node = node->next.get()) {
    KT_TRY(node->item->DumpAt(indent, level));
  }
  return MP4_OK;
}

Mp4Result CBoxList::CalculateSizeAll(u64* total) {
  *total = 0;
  for (Node* node = m_head.get(); node != nullptr; node = node->next.get()) {
    u64 size = 0;
    KT_TRY(node->item->CalculateSize());
    KT_TRY(node->item->GetSize(&size));
    *total += size;
  }
  return MP4_OK;
}

}  // namespace kt

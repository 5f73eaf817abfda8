#include "engine/box_list.h"

#include <algorithm>

namespace kt {

Mp4Result CBoxList::FindByType(u32 type, CBox** box, u32 occurrence) {
  *box = nullptr;
  const u32 wanted = std::max<u32>(occurrence, 1);
  const auto typeOf = [](const Node& node) {
    u32 itemType = 0;
    return node.item->GetType(&itemType) == MP4_OK ? itemType : 0;
  };
  Node* node = m_head.get();
  u32 seen = 0;
  for (const Found& found : {m_first, m_later}) {
    if (found.node == nullptr || typeOf(*found.node) != type || found.occurrence > wanted) continue;
    node = found.node;
    seen = found.occurrence - 1;
  }
  for (; node != nullptr; node = node->next.get()) {
    if (typeOf(*node) != type || ++seen < wanted) continue;
    (wanted == 1 ? m_first : m_later) = {node, wanted};
    *box = node->item.get();
    return MP4_OK;
  }
  return MP4_NOT_FOUND;
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
  u32 parentType = 0;
  if (m_owner != nullptr) KT_TRY(m_owner->GetType(&parentType));
  while (*remaining > 0) {
    // From the second child on the "parent type" is the type of the child before it, or 0 if that was
    // unknown. It bears on "rtp " alone, and readers rely on it.
    std::unique_ptr<CBox> box;
    KT_TRY(CreateBox(storage, parentType, &box, &parentType));
    CBox* added = box.get();
    KT_TRY(Add(std::move(box)));
    u64 childSize = 0;
    KT_TRY(added->GetSize(&childSize));
    // No box is smaller than its header, unless the size of a box near 2^64 has wrapped.
    if (*remaining < childSize || childSize < 8) return MP4_CORRUPT;
    *remaining -= childSize;
  }
  return MP4_OK;
}

Mp4Result CBoxList::DumpAll(int indent) {
  if (m_head && indent >= static_cast<int>(CNesting::kLevels)) return MP4_CORRUPT;
  for (Node* node = m_head.get(); node != nullptr; node = node->next.get()) {
    KT_TRY(node->item->Dump(indent));
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

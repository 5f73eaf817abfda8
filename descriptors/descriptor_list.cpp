#include "descriptors/descriptor_list.h"

#include <algorithm>

#include "descriptors/size_code.h"

namespace kt {
namespace {

u32 TagOf(const CBaseDescriptor& descriptor) {
  u32 tag = 0;
  return descriptor.GetTag(&tag) == MP4_OK ? tag : 0;
}

}  // namespace

CDescriptorList::CDescriptorList(const CBaseDescriptor* owner)
    : m_ownerTag(owner != nullptr ? TagOf(*owner) : 0) {}

Mp4Result CDescriptorList::FindByTag(u32 tag, CBaseDescriptor** descriptor, u32 occurrence) {
  *descriptor = nullptr;
  u32 left = std::max<u32>(occurrence, 1);
  for (Node* node = m_head.get(); node != nullptr; node = node->next.get()) {
    if (TagOf(*node->item) != tag || --left > 0) continue;
    *descriptor = node->item.get();
    return MP4_OK;
  }
  return MP4_NOT_FOUND;
}

Mp4Result CDescriptorList::SerializeAll(CStorage* storage) {
  for (Node* node = m_head.get(); node != nullptr; node = node->next.get()) {
    KT_TRY(node->item->Serialize(storage));
  }
  return MP4_OK;
}

Mp4Result CDescriptorList::SerializeDescriptors(u8** cursor, u32* room) {
  for (Node* node = m_head.get(); node != nullptr; node = node->next.get()) {
    KT_TRY(node->item->CalculateSize());
    if (*room < node->item->WholeLength()) return MP4_BUFFER_TOO_SMALL;
    KT_TRY(node->item->SerializeToBuffer(cursor, room));
  }
  return MP4_OK;
}

Mp4Result CDescriptorList::DeserializeDescriptors(CStorage* storage, u32* remaining) {
  u32 eof = 0;
  KT_TRY(storage->IsEof(&eof));
  while (*remaining > 0) {
    std::unique_ptr<CBaseDescriptor> descriptor;
    u32 tag = 0;
    KT_TRY(CreateDescriptor(storage, m_ownerTag, &descriptor, &tag));
    CBaseDescriptor* added = descriptor.get();
    KT_TRY(Add(std::move(descriptor)));
    const u64 length = added->WholeLength();
    if (*remaining < length) return MP4_DESCRIPTOR_OVERRUN;
    *remaining -= static_cast<u32>(length);
  }
  return MP4_OK;
}

Mp4Result CDescriptorList::DumpDescriptors(int indent, u32 level) {
  if (m_head && level >= CNesting::kLevels) return MP4_BAD_DESCRIPTOR;
  for (Node* node = m_head.get(); node != nullptr; node = node->next.get()) {
    KT_TRY(node->item->DumpAt(indent, level));
  }
  return MP4_OK;
}

Mp4Result CDescriptorList::CalculateDescriptorsSize(u32* total) {
  *total = 0;
  for (Node* node = m_head.get(); node != nullptr; node = node->next.get()) {
    KT_TRY(node->item->CalculateSize());
    KT_TRY(AddToSize(total, node->item->WholeLength()));
  }
  return MP4_OK;
}

Mp4Result CDescriptorList::ExtractByTagRange(std::unique_ptr<CDescriptorList>* extracted, i32 firstTag,
                                             i32 lastTag) {
  std::unique_ptr<CDescriptorList> list(new (std::nothrow) CDescriptorList(nullptr));
  if (!list) return MP4_NO_MEMORY;
  list->m_ownerTag = m_ownerTag;
  Node* previous = nullptr;
  Node* node = m_head.get();
  while (node != nullptr) {
    const i64 tag = TagOf(*node->item);
    if (tag >= firstTag && tag <= lastTag) {
      KT_TRY(list->AddNode(Unlink(previous)));
    } else {
      previous = node;
    }
    node = previous != nullptr ? previous->next.get() : m_head.get();
  }
  *extracted = std::move(list);
  return MP4_OK;
}

Mp4Result EnsureList(std::unique_ptr<CDescriptorList>* list, const CBaseDescriptor* owner) {
  if (!*list) list->reset(new (std::nothrow) CDescriptorList(owner));
  return *list ? MP4_OK : MP4_NO_MEMORY;
}

}  // namespace kt

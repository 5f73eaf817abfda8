#include "descriptors/object_descriptor_base.h"

#include <cstdio>

#include "engine/storage/printing.h"

namespace kt {
namespace {

constexpr u16 kMaxId = 1023;

constexpr const char* kLevelNames[] = {"OD", "Scene", "Audio", "Visual", "Graphics"};

// Moves the descriptors of a range of tags; `*list` is null when there are none.
Mp4Result Extract(CDescriptorList* from, u32 firstTag, u32 lastTag, std::unique_ptr<CDescriptorList>* list) {
  KT_TRY(from->ExtractByTagRange(list, static_cast<i32>(firstTag), static_cast<i32>(lastTag)));
  if ((*list)->GetCount() == 0) list->reset();
  return MP4_OK;
}

}  // namespace

Mp4Result CObjectDescriptorBase::Deserialize(CStorage* storage) {
  KT_TRY(ReadFields(storage));
  m_idAndFlags |= m_form.reservedBits;
  CDescriptorList children(this);
  KT_TRY(children.DeserializeDescriptors(storage, &m_remaining));
  return SortChildren(&children);
}

Mp4Result CObjectDescriptorBase::SortChildren(CDescriptorList* children) {
  if (!HasUrl()) {
    m_hasStreamList = true;
    KT_TRY(Extract(children, m_form.streamTag, m_form.streamTag, &m_streams));
    KT_TRY(Extract(children, kFirstOciTag, kLastOciTag, &m_ociDescriptors));
    KT_TRY(Extract(children, kFirstExtensionTag, kLastExtensionTag, &m_extensionDescriptors));
  }
  // Without a URL this second split finds nothing more, and its empty list replaces the one before: extension
  // descriptors are not kept then, and readers rely on it.
  return Extract(children, kFirstExtensionTag, kLastExtensionTag, &m_extensionDescriptors);
}

Mp4Result CObjectDescriptorBase::AddStream(std::unique_ptr<CBaseDescriptor> stream) {
  m_hasStreamList = true;
  KT_TRY(EnsureList(&m_streams, this));
  return m_streams->Add(std::move(stream));
}

Mp4Result CObjectDescriptorBase::Serialize(CStorage* storage) {
  KT_TRY(CFieldsDescriptor::Serialize(storage));
  if (!HasUrl() && !m_hasStreamList) return MP4_BAD_DESCRIPTOR;
  return ForEachList([&](CDescriptorList& list) { return list.SerializeAll(storage); });
}

Mp4Result CObjectDescriptorBase::SerializeToBuffer(u8** cursor, u32* room) {
  KT_TRY(CFieldsDescriptor::SerializeToBuffer(cursor, room));
  if (!HasUrl() && !m_hasStreamList) return MP4_BAD_DESCRIPTOR;
  return ForEachList([&](CDescriptorList& list) { return list.SerializeDescriptors(cursor, room); });
}

Mp4Result CObjectDescriptorBase::CalculateSize() {
  KT_TRY(CFieldsDescriptor::CalculateSize());
  return ForEachList([&](CDescriptorList& list) {
    u32 total = 0;
    KT_TRY(list.CalculateDescriptorsSize(&total));
    return AddToSize(&m_size, total);
  });
}

Mp4Result CObjectDescriptorBase::Dump(int indent) {
  KT_TRY(CBaseDescriptor::Dump(indent));
  PrintIndent(indent);
  std::printf("OD_ID: %d\n", m_idAndFlags >> kIdShift);
  PrintIndent(indent);
  std::printf("URLFlag: %s\n", HasUrl() ? "TRUE" : "FALSE");
  if (m_form.hasLevels) {
    PrintIndent(indent);
    std::printf("IncludeInlineProfileLevelFlag: %s\n", (m_idAndFlags & kInlineBit) != 0 ? "TRUE" : "FALSE");
  }
  if (HasUrl()) {
    PrintIndent(indent);
    std::printf("URLString: %s\n", m_url ? reinterpret_cast<const char*>(m_url.get()) : "");
  } else if (m_form.hasLevels) {
    for (u32 i = 0; i < kLevelCount; ++i) {
      PrintIndent(indent);
      std::printf("%sProfileLevelIndication: 0x%02x\n", kLevelNames[i], m_levels[i]);
    }
  }
  return ForEachList([&](CDescriptorList& list) { return list.DumpDescriptors(indent + 1, m_level + 1u); });
}

Mp4Result CObjectDescriptorBase::SetObjectDescriptorId(u16 id) {
  if (id > kMaxId) return MP4_BAD_ARGUMENT;
  m_idAndFlags = static_cast<u16>(id << kIdShift | (m_idAndFlags & kFlagBits));
  return MP4_OK;
}

}  // namespace kt

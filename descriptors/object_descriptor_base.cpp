#include "descriptors/object_descriptor_base.h"

#include <cstdio>

#include "descriptors/counted_text.h"
#include "descriptors/size_code.h"
#include "engine/storage/field_io.h"
#include "engine/storage/printing.h"

namespace kt {
namespace {

constexpr u32 kFixedSize = 2;
constexpr u16 kMaxId = 1023;
constexpr u8 kUrlBit = 0x20;
constexpr u8 kFlagBits = 0x1F;

// Moves the descriptors of a range of tags; `*list` is null when there are none.
Mp4Result Extract(CDescriptorList* from, u32 firstTag, u32 lastTag, std::unique_ptr<CDescriptorList>* list) {
  KT_TRY(from->ExtractByTagRange(list, static_cast<i32>(firstTag), static_cast<i32>(lastTag)));
  if ((*list)->GetCount() == 0) list->reset();
  return MP4_OK;
}

}  // namespace

Mp4Result CObjectDescriptorBase::Deserialize(CStorage* storage) {
  if (m_remaining < kFixedSize) return MP4_DESCRIPTOR_OVERRUN;
  CFieldReader<u32> reader(storage, &m_remaining);
  u8 high = 0;
  u8 low = 0;
  KT_TRY(reader(high, low));
  m_objectDescriptorId = static_cast<u16>(high << 2 | low >> 6);
  m_urlFlag = (low & kUrlBit) != 0;
  TakeFlags(low & kFlagBits);
  if (m_urlFlag != 0) {
    KT_TRY(ReadCountedText(storage, &m_remaining, &m_urlLength, &m_url));
  } else {
    KT_TRY(ReadLevels(storage));
  }
  CDescriptorList children(this);
  KT_TRY(children.DeserializeDescriptors(storage, &m_remaining));
  return SortChildren(&children);
}

Mp4Result CObjectDescriptorBase::SortChildren(CDescriptorList* children) {
  if (m_urlFlag == 0) {
    m_hasStreamList = true;
    KT_TRY(Extract(children, StreamTag(), StreamTag(), &m_streams));
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

Mp4Result CObjectDescriptorBase::WriteFields(CStorage* storage) {
  KT_TRY(storage->WriteUInt8(static_cast<u8>(m_objectDescriptorId >> 2)));
  KT_TRY(storage->WriteUInt8(
      static_cast<u8>(m_objectDescriptorId << 6 | (m_urlFlag != 0 ? kUrlBit : 0) | GiveFlags())));
  return m_urlFlag != 0 ? WriteCountedText(storage, m_urlLength, m_url.get()) : WriteLevels(storage);
}

u32 CObjectDescriptorBase::FieldsSize() const {
  return kFixedSize + (m_urlFlag != 0 ? 1u + m_urlLength : LevelsSize());
}

Mp4Result CObjectDescriptorBase::Serialize(CStorage* storage) {
  KT_TRY(CBaseDescriptor::Serialize(storage));
  KT_TRY(WriteFields(storage));
  if (m_urlFlag == 0 && !m_hasStreamList) return MP4_BAD_DESCRIPTOR;
  return ForEachList([&](CDescriptorList& list) { return list.SerializeAll(storage); });
}

Mp4Result CObjectDescriptorBase::CalculateSize() {
  KT_TRY(CBaseDescriptor::CalculateSize());
  KT_TRY(AddToSize(&m_size, FieldsSize()));
  return ForEachList([&](CDescriptorList& list) {
    u32 total = 0;
    KT_TRY(list.CalculateDescriptorsSize(&total));
    return AddToSize(&m_size, total);
  });
}

Mp4Result CObjectDescriptorBase::Dump(int indent) {
  KT_TRY(CBaseDescriptor::Dump(indent));
  PrintIndent(indent);
  std::printf("OD_ID: %d\n", m_objectDescriptorId);
  PrintIndent(indent);
  std::printf("URLFlag: %s\n", m_urlFlag != 0 ? "TRUE" : "FALSE");
  DumpFlags(indent);
  if (m_urlFlag != 0) {
    PrintIndent(indent);
    std::printf("URLString: %s\n", m_url ? reinterpret_cast<const char*>(m_url.get()) : "");
  } else {
    DumpLevels(indent);
  }
  return ForEachList([&](CDescriptorList& list) { return list.DumpDescriptors(indent + 1, m_level + 1u); });
}

Mp4Result CObjectDescriptorBase::SetObjectDescriptorId(u16 id) {
  if (id > kMaxId) return MP4_BAD_ARGUMENT;
  m_objectDescriptorId = id;
  return MP4_OK;
}

}  // namespace kt

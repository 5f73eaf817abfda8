#pragma once

#include "descriptors/descriptor.h"
#include "engine/storage/item_list.h"

namespace kt {

/// Reads one descriptor, header first, into the class that its tag names, or into a plain `CBaseDescriptor`
/// whose body is skipped. `parentTag` has no influence: the tags mean the same at all levels. `*tag` takes
/// the tag, or 0 when it is unknown.
///
/// MP4_BAD_DESCRIPTOR for a malformed size code or a nesting of more than 64 levels; MP4_NO_MEMORY; what the
/// class and the storage report. `*descriptor` is null on failure.
Mp4Result CreateDescriptor(CStorage* storage, u32 parentTag, std::unique_ptr<CBaseDescriptor>* descriptor,
                           u32* tag);

/// The descriptors inside a descriptor or command.
class CDescriptorList : public CItemList<CBaseDescriptor> {
 public:
  /// `owner` is the descriptor that holds the list, null inside a command. Its tag alone is kept.
  explicit CDescriptorList(const CBaseDescriptor* owner);

  using CItemList::Remove;

  /// The `occurrence`-th descriptor with that tag; 0 and 1 both mean the first. MP4_NOT_FOUND, with
  /// `*descriptor` null.
  Mp4Result FindByTag(u32 tag, CBaseDescriptor** descriptor, u32 occurrence);
  Mp4Result SerializeAll(CStorage* storage);
  /// Works each item's size out and writes it into memory. MP4_BUFFER_TOO_SMALL before an item for which
  /// there is too little room.
  Mp4Result SerializeDescriptors(u8** cursor, u32* room);
  /// Reads descriptors until `*remaining`, which it lowers, is exactly 0. MP4_DESCRIPTOR_OVERRUN when a
  /// descriptor is larger than what is left; it and those before it stay in the list.
  Mp4Result DeserializeDescriptors(CStorage* storage, u32* remaining);
  /// `level` is the number of boxes and descriptors that stand around the items. MP4_BAD_DESCRIPTOR below 64
  /// levels.
  Mp4Result DumpDescriptors(int indent, u32 level = 0);
  /// Works every item's size out and adds up their whole lengths. MP4_DESCRIPTOR_OVERRUN when the sum leaves
  /// 32 bits.
  Mp4Result CalculateDescriptorsSize(u32* total);
  /// Moves every descriptor with a tag in `firstTag`..`lastTag`, in order, into a new list with the same
  /// owner, which replaces `*extracted` also when it is empty. MP4_NO_MEMORY.
  Mp4Result ExtractByTagRange(std::unique_ptr<CDescriptorList>* extracted, i32 firstTag, i32 lastTag);

 private:
  u32 m_ownerTag = 0;
};

/// Makes `*list` when there is none. MP4_NO_MEMORY.
Mp4Result EnsureList(std::unique_ptr<CDescriptorList>* list, const CBaseDescriptor* owner);

}  // namespace kt

#pragma once

#include "engine/box/box.h"
#include "engine/storage/item_list.h"

namespace kt {

/// Reads one box, header first, into the class that its code names, or into a plain `CBox` whose payload is
/// skipped. `parentType` decides what "rtp " is. `*type` takes the box's code, or 0 when the code is unknown.
///
/// MP4_CORRUPT for a size below its header or a nesting of more than 64 levels; MP4_BAD_BOX for an "rtp "
/// in the wrong place; MP4_NO_MEMORY; what the class and the storage report. `*box` is null on failure.
/// Defined beside the box classes, which this floor does not know.
Mp4Result CreateBox(CStorage* storage, u32 parentType, std::unique_ptr<CBox>* box, u32* type);

/// The children of a box, or the top level of a file.
class CBoxList : public CItemList<CBox> {
 public:
  /// `owner` is the box that holds the list, null for the top level. Its type alone is kept.
  explicit CBoxList(const CBox* owner);

  /// The `occurrence`-th box of that type; 0 and 1 both mean the first. MP4_NOT_FOUND, with `*box` null.
  Mp4Result FindByType(u32 type, CBox** box, u32 occurrence);
  Mp4Result SerializeAll(CStorage* storage);
  /// Reads boxes until `*remaining`, which it lowers, is exactly 0. MP4_CORRUPT when a box is larger than
  /// what is left; that box and those before it stay in the list.
  Mp4Result DeserializeAll(CStorage* storage, u64* remaining);
  /// `level` is the number of boxes that stand around the items. MP4_CORRUPT below 64 levels.
  Mp4Result DumpAll(int indent, u32 level = 0);
  /// Works every item's size out and stores the sum of what `GetSize` says.
  Mp4Result CalculateSizeAll(u64* total);
  void Clear() {
    m_places.reset();
    CItemList::Clear();
  }

 private:
  // Where a search ended: `node` is the `occurrence`-th box of its type.
  struct Found {
    Node* node = nullptr;
    u32 occurrence = 0;
  };
  // The last search for a first box and the last one for a later box, kept apart: asking for one occurrence
  // after the other costs one pass, also when a look-up of another box stands between two of them.
  struct Places {
    Found first;
    Found later;
  };
  void Remember(const Found& found);

  u32 m_ownerType = 0;
  std::unique_ptr<Places> m_places;  // null until a search was long: most lists are short, and many are none
};

}  // namespace kt

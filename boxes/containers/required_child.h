#pragma once

#include <utility>

#include "engine/box/box.h"

namespace kt {

/// Reads the one child box that a sample entry has to have, off the `remaining` bytes of the entry. `make`
/// turns the header into the child, `Child*(CBox&&)`, which the caller owns; null means MP4_NO_MEMORY.
///
/// MP4_BAD_BOX when a box of another type stands there, MP4_CORRUPT when the child is larger than what is
/// left or nested too deep.
template <class Make>
Mp4Result ReadRequiredChild(CStorage* storage, u32 type, u64* remaining, Make make) {
  CNesting nesting(storage);
  if (nesting.TooDeep()) return MP4_CORRUPT;
  CBox header;
  KT_TRY(header.Deserialize(storage));
  u32 found = 0;
  KT_TRY(header.GetType(&found));
  if (found != type) return MP4_BAD_BOX;
  CBox* child = make(std::move(header));
  if (child == nullptr) return MP4_NO_MEMORY;
  KT_TRY(child->Deserialize(storage));
  u64 childSize = 0;
  KT_TRY(child->GetSize(&childSize));
  // No box is smaller than its header, unless the size of a box near 2^64 has wrapped.
  if (*remaining < childSize || childSize < 8) return MP4_CORRUPT;
  *remaining -= childSize;
  return MP4_OK;
}

}  // namespace kt

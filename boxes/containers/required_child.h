#pragma once

#include <utility>

#include "engine/box/box.h"

namespace kt {

/// Reads the one child box that a sample entry has to have, of the class `Child`, off the `remaining` bytes
/// of the entry. `make` turns the header into the child, `Child*(CBox&&)`, which the caller owns; null means
/// MP4_NO_MEMORY.
///
/// MP4_BAD_BOX when a box of another type stands there, MP4_CORRUPT when the child is larger than what is
/// left or nested too deep.
template <class Child, class Make>
Mp4Result ReadRequiredChild(CStorage* storage, u64* remaining, Make make) {
  CNesting nesting(storage);
  if (nesting.TooDeep()) return MP4_CORRUPT;
  CBox header;
  KT_TRY(header.Deserialize(storage));
  u32 found = 0;
  KT_TRY(header.GetType(&found));
  if (found != Child::kType) return MP4_BAD_BOX;
  Child* const child = make(std::move(header));
  if (child == nullptr) return MP4_NO_MEMORY;
  KT_TRY(child->Deserialize(storage));
  return child->TakeSizeOff(remaining);
}

}  // namespace kt

#pragma once

#include <optional>
#include <string>

#include "tools/diagnosis/box_place.h"

namespace kt {

/// What the strict reader makes of a box. It reads the payloads that it knows field by field and goes on
/// where these end, so what a box has more or less than its fields is what it stumbles over.
struct StrictLook {
  std::string fault = {};               // what it stumbles over; empty when it takes the box
  std::optional<BoxPlace> inside = {};  // the box within this one that the fault is in, unless it is this one
  std::optional<u64> children = {};     // where the boxes that this one holds begin
};

/// `around` is the code of the box that this one follows in its list, or of the one that holds the list when
/// it is the first: by it the reader tells the two kinds of "rtp " apart.
StrictLook LookAsStrictReader(FileBytes& file, const BoxPlace& box, u32 around);

/// Whether the strict reader knows how long the box has to be.
bool IsReadByField(u32 code);

}  // namespace kt

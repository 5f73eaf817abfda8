#pragma once

#include <memory>
#include <span>

#include "engine/box/box_list.h"

namespace kt {

/// Makes the class of a box from its header; null when memory is short.
using BoxMaker = std::unique_ptr<CBox> (*)(CBox&& header);

/// One code of the box factory, which `CreateBox` (engine/box/box_list.h) looks boxes up in.
struct BoxRow {
  u32 code;
  BoxMaker make;
};

/// The whole table, by rising code.
std::span<const BoxRow> BoxRows();

}  // namespace kt

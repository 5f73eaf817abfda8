#pragma once

#include <guiddef.h>

#include <bit>

#include "filter/formats/identifiers.h"

namespace kt {

/// The logic's identifiers as the platform has them, and back: the same 16 bytes.
constexpr GUID ToPlatform(const Guid& guid) {
  return std::bit_cast<GUID>(guid);
}
constexpr Guid FromPlatform(const GUID& guid) {
  return std::bit_cast<Guid>(guid);
}

}  // namespace kt

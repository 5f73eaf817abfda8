#pragma once

#include <windows.h>

#include "filter/logic/filter_result.h"

namespace kt {

/// The logic's results are the platform's numbers.
constexpr HRESULT ToPlatform(FilterResult result) {
  return static_cast<HRESULT>(result);
}

}  // namespace kt

#pragma once

#include <algorithm>

#include <ktmp4/types.h>

namespace kt {

/// The last of the places 1 to `places` that are reached, which all come ahead of those that are not; `first`
/// when even that one is not. The search goes out from `guess`, one of `first` to `places`, in strides that
/// double: the better the guess, the fewer places it asks about.
template <class IsReached>
u32 FindLastReached(u32 first, u32 guess, u32 places, const IsReached& isReached) {
  u32 place = guess, last = guess;
  for (u32 stride = 1; last < places && isReached(last + 1); stride *= 2) {
    place = last + 1;
    last += std::min(stride, places - last);
  }
  for (u32 stride = 1; place > first && !isReached(place); stride *= 2) {
    last = place - 1;
    place -= std::min(stride, last - first + 1);
  }
  while (place < last) {
    const u32 middle = last - (last - place) / 2;
    if (isReached(middle)) {
      place = middle;
    } else {
      last = middle - 1;
    }
  }
  return place;
}

}  // namespace kt

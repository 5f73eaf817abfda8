#pragma once

namespace kt {

/// From now on it is noted when memory runs out, and the program then ends with a message in any case.
void WatchMemory();

/// Throws `std::bad_alloc` when memory has run out since then. What the library could not tell for want of
/// memory looks like something that a file does not hold, so a result is only one once this has been asked.
void RequireEnoughMemory();

}  // namespace kt

#pragma once

#include <functional>

#include <ktmp4/types.h>

namespace kt {

/// Bytes of the heap that stand after `action` and did not before, measured in a process of its own so that
/// nothing freed earlier can hide them. `action` has to leave open what it opens. 0 where this cannot be
/// told.
u64 HeapTakenBy(const std::function<void()>& action);

}  // namespace kt

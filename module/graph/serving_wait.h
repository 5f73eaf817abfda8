#pragma once

#include <windows.h>

#include <span>

namespace kt {

/// Waits until one of `handles` is signalled and answers its index. With several signalled at once it is the
/// first of them.
///
/// On a thread of a single-threaded apartment, calls that other threads make into the apartment are served
/// meanwhile: the one that is waited for may itself wait for such a call. So a method that waits can be
/// entered again on the same thread before it returns.
DWORD WaitServingCalls(std::span<const HANDLE> handles);

}  // namespace kt

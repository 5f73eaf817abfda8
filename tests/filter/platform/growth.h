#pragma once

#include <windows.h>

#include <gtest/gtest.h>
#include <psapi.h>

#include <algorithm>
#include <vector>

#include <ktmp4/types.h>

namespace kt::test {

struct Use {
  i64 handles = 0, bytes = 0;
};

// Wine does not count handles. New ones take the lowest numbers that are free, so the last of many tells how
// many are in use.
inline Use UseOfThisProcess() {
  Use use;
  std::vector<HANDLE> probes(1000);
  for (HANDLE& probe : probes) {
    probe = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    use.handles = std::max(use.handles, static_cast<i64>(reinterpret_cast<INT_PTR>(probe) / 4));
  }
  for (const HANDLE probe : probes) CloseHandle(probe);
  PROCESS_MEMORY_COUNTERS memory = {};
  memory.cb = sizeof memory;
  EXPECT_TRUE(K32GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory));
  use.bytes = static_cast<i64>(memory.WorkingSetSize);
  return use;
}

/// What two hundred of them add, once platform and heap have what they keep.
template <class Cycle>
Use GrowthOver(Cycle cycle) {
  Use early;
  for (int i = 0; i < 200; ++i) {
    if (i == 50) early = UseOfThisProcess();
    cycle(i);
  }
  const Use late = UseOfThisProcess();
  return {late.handles - early.handles, late.bytes - early.bytes};
}

}  // namespace kt::test

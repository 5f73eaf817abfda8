// The module over and over: what is made goes again.

#include <windows.h>

#include <d3d9.h>
#include <psapi.h>
#include <strmif.h>
#include <vmr9.h>

#include "filter/platform/source_host.h"

namespace kt::test {
namespace {

using EnduranceTest = SourceTest;

struct Use {
  i64 handles = 0, bytes = 0;
};

// Wine does not count handles. New ones take the lowest numbers that are free, so the last of many tells how
// many are in use.
Use UseOfThisProcess() {
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

TEST_F(EnduranceTest, TwoHundredLivesLeaveNothing) {
  // What the filter makes of the platform's: some of it loses memory and handles by itself.
  const Use platform = GrowthOver([](int) {
    HostGraph graph;
    EXPECT_EQ(graph.Create(), S_OK);
    for (const CLSID& renderer : {CLSID_VideoMixingRenderer, CLSID_VideoMixingRenderer9}) {
      Made<IBaseFilter>(renderer);
    }
  });
  const std::wstring film = MediaFile(L"bframes-aac.mp4");
  const Use ours = GrowthOver([&](int cycle) {
    {
      PlayedSource played(cycle % 2 == 0 ? film : UrlOf(film, L"&cc=on"));
      played.Run();
      EXPECT_EQ(played.Seek(10'000'000 + cycle), S_OK);
      if (cycle % 4 == 0) {
        EXPECT_FALSE(played.LastSegment(0).empty());
      }
      played.Stop();
    }
    EXPECT_TRUE(Eventually([&] { return m_module.CanUnload() == S_OK; })) << cycle;
  });
  EXPECT_LT(ours.handles, platform.handles + 20);
  // A filter without its file takes 2 kB.
  EXPECT_LT(ours.bytes, platform.bytes + 150 * 2000);
}

}  // namespace
}  // namespace kt::test

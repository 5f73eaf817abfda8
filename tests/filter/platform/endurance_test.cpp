// The module over and over: what is made goes again.

#include <windows.h>

#include <d3d9.h>
#include <strmif.h>
#include <vmr9.h>

#include "filter/platform/growth.h"
#include "filter/platform/source_host.h"

namespace kt::test {
namespace {

using EnduranceTest = SourceTest;

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
  const auto live = [&](int cycle) {
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
  };
  // A filter without its file takes 2 kB.
  const i64 mostBytes = platform.bytes + 150 * 2000;
  Use ours = GrowthOver(live);
  // The working set grows by what else goes on, too; a leak does it again.
  if (ours.bytes >= mostBytes) ours = GrowthOver(live);
  EXPECT_LT(ours.handles, platform.handles + 20);
  EXPECT_LT(ours.bytes, mostBytes);
}

}  // namespace
}  // namespace kt::test

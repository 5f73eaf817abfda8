#include "engine/track/bit_rate_window.h"

#include <gtest/gtest.h>

#include <deque>
#include <random>
#include <tuple>

namespace kt {
namespace {

// A time so late that a second later passes 2^64 would otherwise empty the window and run past its end.
TEST(BitRateWindow, NeverDropsTheNewestSample) {
  CBitRateWindow window;
  for (const u32 size : {1u, 2u}) ASSERT_EQ(window.AddSample(size, ~u64{0}, 1000), MP4_OK);
  EXPECT_EQ(window.GetPeak(), 16u) << "the older one has left";
}

// Against a plain queue, with more samples in a second than the first piece of memory holds, and times that
// fall back.
TEST(BitRateWindow, CountsLikeAPlainQueue) {
  std::mt19937 random(7);
  CBitRateWindow window;
  std::deque<std::pair<u64, u32>> queue;
  u32 bits = 0, peak = 0;
  u64 time = 5000;
  for (int i = 0; i < 5000; ++i) {
    const u32 size = static_cast<u32>(random() % 1000) + 1;
    // Few in a second at first, so that the memory grows when the oldest no longer stands at its begin.
    time = time + random() % (i < 300 ? 80 : 12) - 4;
    if (i % 700 == 699) time += 900;
    ASSERT_EQ(window.AddSample(size, time, 1000), MP4_OK);
    queue.emplace_back(time, size);
    bits += size * 8;
    while (time > queue.front().first + 1000) {
      bits -= queue.front().second * 8;
      queue.pop_front();
    }
    peak = std::max(peak, bits);
    ASSERT_EQ(window.GetPeak(), peak) << i;
  }
  EXPECT_GT(queue.size(), 64u);
}

// A decoder config says less than the bits of a very large second, the sum itself is not cut.
TEST(BitRateWindow, BeyondThirtyTwoBits) {
  CBitRateWindow window;
  for (const u32 size : {3u, 0x20000000u}) ASSERT_EQ(window.AddSample(size, 0, 1), MP4_OK);
  EXPECT_EQ(window.GetPeak(), 24u);
  EXPECT_EQ(window.GetPeakInFull(), 0x100000018u);
}

TEST(BitRateWindow, AverageOverTheDuration) {
  const std::tuple<u32, u64, u32, u32> cases[] = {
      {1000, 2000, 1000, 4000},       {1000, 3000, 1000, 2666},        // cut, not rounded
      {1000, 10, 1000, 8000},                                          // shorter than a second
      {1000, 0, 1000, 8000},          {0x20000000, 1, 1, 0xFFFFFFFF},  // just beyond 32 bits
      {0x1FFFFFFF, 1, 1, 0xFFFFFFF8}, {1000, ~u64{0}, 1, 0},
  };
  for (const auto& [size, duration, timeScale, average] : cases) {
    CBitRateWindow window;
    ASSERT_EQ(window.AddSample(size, 0, timeScale), MP4_OK);
    EXPECT_EQ(window.GetAverage(duration, timeScale), average) << size << " " << duration;
  }
}

}  // namespace
}  // namespace kt

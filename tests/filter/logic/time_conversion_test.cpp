#include "filter/logic/time_conversion.h"

#include <gtest/gtest.h>

#include <random>

namespace kt {
namespace {

constexpr i64 kMost = std::numeric_limits<i64>::max();

TEST(TimeConversion, TruncatesTowardsZeroAndSaturates) {
  EXPECT_EQ(SignedTicksToHns(-1, 3), -3333333);
  EXPECT_EQ(SignedTicksToHns(1, 3), 3333333);
  EXPECT_EQ(HnsToTicks(-19999999, 1), -1);

  EXPECT_EQ(TicksToHns(std::numeric_limits<u64>::max(), 1), kMost);
  EXPECT_EQ(SignedTicksToHns(std::numeric_limits<i64>::min(), 1), -kMost);
  EXPECT_EQ(HnsToTicks(kMost, std::numeric_limits<u32>::max()), kMost);
  EXPECT_EQ(TicksToHns(5, 0), 0);
  EXPECT_EQ(SaturatingAdd(kMost, 1), kMost);
  EXPECT_EQ(SaturatingAdd(-kMost, -2), std::numeric_limits<i64>::min());
}

#ifdef __SIZEOF_INT128__
// The plain formula in 128 bits is the oracle of the split one.
TEST(TimeConversion, SplitMultiplicationEqualsThePlainOne) {
  __extension__ using Wide = unsigned __int128;
  std::mt19937_64 random(21);
  for (int i = 0; i < 20000; ++i) {
    const u64 value = random() >> (random() % 64);
    const u32 factor = static_cast<u32>(random() >> (32 + random() % 32));
    const u32 divisor = static_cast<u32>(random() >> (32 + random() % 32)) | 1;
    const Wide exact = static_cast<Wide>(value) * factor / divisor;
    constexpr u64 kLimit = std::numeric_limits<u64>::max();
    EXPECT_EQ(MultiplyDivide(value, factor, divisor), exact > kLimit ? kLimit : static_cast<u64>(exact))
        << value << " x " << factor << " / " << divisor;
  }
}
#endif

}  // namespace
}  // namespace kt

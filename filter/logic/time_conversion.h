#pragma once

#include <limits>

#include <ktmp4/types.h>

namespace kt {

/// The filter counts time in units of 100 ns.
inline constexpr u32 kHnsPerSecond = 10'000'000;

/// value x factor / divisor, truncated, with no overflow on the way: the largest number when the result does
/// not fit, 0 for a divisor of 0.
constexpr u64 MultiplyDivide(u64 value, u32 factor, u32 divisor) {
  if (divisor == 0) return 0;
  const u64 whole = value / divisor;
  const u64 part = value % divisor * factor / divisor;
  constexpr u64 kMost = std::numeric_limits<u64>::max();
  if (factor != 0 && whole > (kMost - part) / factor) return kMost;
  return whole * factor + part;
}

/// The largest or smallest signed number where the sum does not fit.
constexpr i64 SaturatingAdd(i64 a, i64 b) {
  if (b > 0 && a > std::numeric_limits<i64>::max() - b) return std::numeric_limits<i64>::max();
  if (b < 0 && a < std::numeric_limits<i64>::min() - b) return std::numeric_limits<i64>::min();
  return a + b;
}

constexpr i64 SaturateToSigned(u64 value) {
  constexpr u64 kMost = static_cast<u64>(std::numeric_limits<i64>::max());
  return static_cast<i64>(value < kMost ? value : kMost);
}

/// A position or a difference of times in media ticks, in 100 ns units; truncates towards 0.
constexpr i64 TicksToHns(u64 ticks, u32 timeScale) {
  return SaturateToSigned(MultiplyDivide(ticks, kHnsPerSecond, timeScale));
}
constexpr i64 SignedTicksToHns(i64 ticks, u32 timeScale) {
  return ticks < 0 ? -TicksToHns(0 - static_cast<u64>(ticks), timeScale)
                   : TicksToHns(static_cast<u64>(ticks), timeScale);
}

/// A position in 100 ns units, in media ticks; truncates towards 0.
constexpr i64 HnsToTicks(i64 hns, u32 timeScale) {
  const u64 size = hns < 0 ? 0 - static_cast<u64>(hns) : static_cast<u64>(hns);
  const i64 ticks = SaturateToSigned(MultiplyDivide(size, timeScale, kHnsPerSecond));
  return hns < 0 ? -ticks : ticks;
}

}  // namespace kt

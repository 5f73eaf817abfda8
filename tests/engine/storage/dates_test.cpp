#include "engine/storage/dates.h"

#include <gtest/gtest.h>

#include <array>

namespace kt::test {
namespace {

using Date = std::array<u32, 6>;

Mp4Result ToDate(u64 seconds, Date* date) {
  auto& [year, month, day, hour, minute, second] = *date;
  return SecondsToDate(seconds, &year, &month, &day, &hour, &minute, &second);
}

Mp4Result ToSeconds(const Date& date, u64* seconds) {
  return DateToSeconds(seconds, date[0], date[1], date[2], date[3], date[4], date[5]);
}

constexpr u64 kDay = 86400;
constexpr u64 kFourYears = 1461 * kDay;
constexpr u64 kEnd = 74 * kFourYears;  // the start of 2200

TEST(Dates, BothWaysAtTheEdges) {
  const std::pair<u64, Date> cases[] = {
      {0, {1904, 1, 1, 0, 0, 0}},
      {60 * kDay - 1, {1904, 2, 29, 23, 59, 59}},
      {366 * kDay - 1, {1904, 12, 31, 23, 59, 59}},
      {(366 + 59) * kDay, {1905, 3, 1, 0, 0, 0}},
      {(366 + 120) * kDay, {1905, 5, 1, 0, 0, 0}},
      {(366 + 181) * kDay, {1905, 7, 1, 0, 0, 0}},
      {(366 + 243) * kDay, {1905, 9, 1, 0, 0, 0}},
      {(366 + 304) * kDay, {1905, 11, 1, 0, 0, 0}},
      // 2100 is a leap year here, so everything behind it lies one day off the calendar.
      {49 * kFourYears + 59 * kDay, {2100, 2, 29, 0, 0, 0}},
      {kEnd - 1, {2199, 12, 31, 23, 59, 59}},
  };
  for (const auto& [expected, expectedDate] : cases) {
    Date date{};
    u64 seconds = 1;
    EXPECT_EQ(MP4_OK, ToDate(expected, &date));
    EXPECT_EQ(expectedDate, date) << expected;
    EXPECT_EQ(MP4_OK, ToSeconds(expectedDate, &seconds));
    EXPECT_EQ(expected, seconds);
  }
}

// Parts that are out of range store nothing; what else is no date counts as told.
TEST(Dates, LooseDatesCountAsTold) {
  constexpr u64 kRefused = 42;
  const std::pair<Date, u64> cases[] = {
      {{1800, 1, 1, 0, 0, 0}, 0},                   // years before the first add nothing
      {{1904, 0, 1, 0, 0, 0}, 0},                   // nor does month 0
      {{1905, 1, 0, 0, 0, 0}, 365 * kDay},          // day 0 is the day before
      {{1904, 1, 0, 0, 0, 0}, 0 - kDay},            // also of the first day
      {{1905, 2, 31, 0, 0, 0}, (366 + 61) * kDay},  // a day that the month does not have runs over
      {{2201, 1, 1, 0, 0, 0}, kRefused},
      {{1904, 13, 1, 0, 0, 0}, kRefused},
      {{1904, 1, 32, 0, 0, 0}, kRefused},
      {{1904, 1, 1, 24, 0, 0}, kRefused},
      {{1904, 1, 1, 0, 60, 0}, kRefused},
      {{1904, 1, 1, 0, 0, 60}, kRefused},
  };
  for (const auto& [date, expected] : cases) {
    u64 seconds = kRefused;
    EXPECT_EQ(expected == kRefused ? MP4_BAD_ARGUMENT : MP4_OK, ToSeconds(date, &seconds));
    EXPECT_EQ(expected, seconds);
  }
}

}  // namespace
}  // namespace kt::test

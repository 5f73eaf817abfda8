#include "engine/storage/dates.h"

namespace kt {
namespace {

constexpr u32 kFirstYear = 1904;
constexpr u32 kLastYearRead = 2199;
constexpr u32 kLastYearStored = 2200;  // one more than can be read back; callers rely on both limits
constexpr u64 kSecondsPerDay = 86400;

// Every fourth year, without the rule for centuries: files and readers agree on it.
bool IsLeapYear(u32 year) {
  return year % 4 == 0;
}

u64 YearLength(u32 year) {
  return (IsLeapYear(year) ? 366 : 365) * kSecondsPerDay;
}

u64 MonthLength(u32 year, u32 month) {
  constexpr u8 kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return (kDays[month - 1] + (month == 2 && IsLeapYear(year) ? 1U : 0U)) * kSecondsPerDay;
}

}  // namespace

Mp4Result SecondsToDate(u64 seconds, u32* year, u32* month, u32* day, u32* hour, u32* minute, u32* second) {
  u64 rest = seconds;
  u32 inYear = kFirstYear;
  for (; rest >= YearLength(inYear); ++inYear) {
    if (inYear == kLastYearRead) return MP4_BAD_VALUE;
    rest -= YearLength(inYear);
  }
  u32 inMonth = 1;
  for (; rest >= MonthLength(inYear, inMonth); ++inMonth) rest -= MonthLength(inYear, inMonth);
  const u32 inDay = static_cast<u32>(rest % kSecondsPerDay);
  *year = inYear;
  *month = inMonth;
  *day = static_cast<u32>(rest / kSecondsPerDay) + 1;
  *hour = inDay / 3600;
  *minute = inDay % 3600 / 60;
  *second = inDay % 60;
  return MP4_OK;
}

Mp4Result DateToSeconds(u64* seconds, u32 year, u32 month, u32 day, u32 hour, u32 minute, u32 second) {
  if (year > kLastYearStored || month > 12 || day > 31 || hour > 23 || minute > 59 || second > 59) {
    return MP4_BAD_ARGUMENT;
  }
  u64 sum = 0;
  for (u32 y = kFirstYear; y < year; ++y) sum += YearLength(y);
  for (u32 m = 1; m < month; ++m) sum += MonthLength(year, m);
  sum += (u64{day} - 1) * kSecondsPerDay + u64{hour} * 3600 + u64{minute} * 60 + second;
  *seconds = sum;
  return MP4_OK;
}

}  // namespace kt

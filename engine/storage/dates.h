#pragma once

#include <ktmp4/result.h>

namespace kt {

/// Breaks seconds since the start of 1904, without time zone, down into a calendar date. Every fourth year is
/// a leap year, 2100 included. MP4_BAD_VALUE beyond the year 2199. ISO/IEC 14496-12, 8.2.2.3.
Mp4Result SecondsToDate(u64 seconds, u32* year, u32* month, u32* day, u32* hour, u32* minute, u32* second);

/// The way back. A year before 1904 counts as 1904, a month 0 as 1, and day 0 is the day before the first.
/// MP4_BAD_ARGUMENT, with nothing stored, for a year above 2200 (one more than `SecondsToDate` gives), a
/// month above 12, a day above 31 in any month, an hour above 23, a minute or second above 59.
Mp4Result DateToSeconds(u64* seconds, u32 year, u32 month, u32 day, u32 hour, u32 minute, u32 second);

}  // namespace kt

#pragma once

#include <ktmp4/types.h>

namespace kt {

/// The answers of the filter's logic: the platform's HRESULT numbers, so that the filter hands them on as
/// they are. A negative number is a failure. The platform's names for them are macros and can not stand here;
/// `FilterResultName` gives them.
enum class [[nodiscard]] FilterResult : i32;
enum class FilterResult : i32 {
  Ok = 0,
  /// A success that says no; in delivery the end of the stream.
  False = 1,
  NoMoreItems = 0x00040103,
  NotImplemented = static_cast<i32>(0x80004001),
  Pointer = static_cast<i32>(0x80004003),
  Fail = static_cast<i32>(0x80004005),
  OutOfMemory = static_cast<i32>(0x8007000E),
  InvalidArgument = static_cast<i32>(0x80070057),
  WrongState = static_cast<i32>(0x80040227),
};

/// True for the failures, which are the negative numbers.
constexpr bool IsFailure(FilterResult result) {
  return static_cast<i32>(result) < 0;
}

/// The platform's name ("E_FAIL"), "unknown result" for a number that is none.
const char* FilterResultName(FilterResult result);

}  // namespace kt

#pragma once

#include <windows.h>

namespace kt::test {

/// Classes of the module's table that can not be made: one that says so, one that has no memory, one that
/// throws what nobody knows.
inline constexpr CLSID CLSID_Refused = {0xabb30f04, 0x7f2d, 0x4b86, {0x94, 1, 2, 3, 4, 5, 6, 1}};
inline constexpr CLSID CLSID_NoMemory = {0xabb30f04, 0x7f2d, 0x4b86, {0x94, 1, 2, 3, 4, 5, 6, 2}};
inline constexpr CLSID CLSID_Throwing = {0xabb30f04, 0x7f2d, 0x4b86, {0x94, 1, 2, 3, 4, 5, 6, 3}};

}  // namespace kt::test

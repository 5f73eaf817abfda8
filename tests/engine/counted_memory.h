#pragma once

#include <cstddef>

namespace kt::test {

inline constexpr std::size_t kEndless = ~std::size_t{0};

/// What this program's operator new and delete do and see.
struct CountedMemory {
  bool inLibrary = false;  // the test itself always has memory
  std::size_t left = kEndless;
  bool lasting = false;
  bool hasFailed = false;
  std::size_t blocks = 0, bytes = 0;  // that are in use
  std::size_t peak = 0;               // the most bytes since it was set
  int fill = 1;                       // what new memory holds; another one for each run
};

extern CountedMemory memory;

}  // namespace kt::test

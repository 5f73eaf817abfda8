#include "tools/terminal/memory_lack.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>

namespace kt {
namespace {

std::atomic<bool> g_hasRunOut = false;

[[noreturn]] void NoteLack() {
  g_hasRunOut = true;
  throw std::bad_alloc();
}

// Where the lack is thrown out of what claims that it throws nothing: the parser of command lines looks names
// of options up so.
[[noreturn]] void EndForLack() {
  if (!g_hasRunOut) std::abort();
  std::fputs("ktmp4: there is not enough memory\n", stderr);
  std::_Exit(1);
}

}  // namespace

void WatchMemory() {
  std::set_new_handler(NoteLack);
  std::set_terminate(EndForLack);
}

void RequireEnoughMemory() {
  if (g_hasRunOut) throw std::bad_alloc();
}

}  // namespace kt

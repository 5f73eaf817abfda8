#include "tools/terminal/memory_lack.h"

#include <atomic>
#include <new>

namespace kt {
namespace {

std::atomic<bool> g_hasRunOut = false;

[[noreturn]] void NoteLack() {
  g_hasRunOut = true;
  throw std::bad_alloc();
}

}  // namespace

void WatchMemory() {
  std::set_new_handler(NoteLack);
}

void RequireEnoughMemory() {
  if (g_hasRunOut) throw std::bad_alloc();
}

}  // namespace kt

// To be loaded into the program ahead of the C library (LD_PRELOAD): fails one of its allocations, or all
// from one on.
//
// FAIL_FROM and FAIL_TO name the first and the last of them, counted from 1 on, behind the beginning of
// `main`; a file named COUNT_IN is told how many there were.
#include <fcntl.h>
#include <unistd.h>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <new>

// The C library's own, below the names that are replaced here.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
}

namespace {

std::atomic<unsigned long> g_count = 0;

unsigned long NumberIn(const char* name) {
  const char* const text = std::getenv(name);
  return text != nullptr ? std::strtoul(text, nullptr, 10) : 0;
}

bool IsToFail() {
  static const unsigned long from = NumberIn("FAIL_FROM"), to = NumberIn("FAIL_TO");
  // The program sets it first of all.
  if (std::get_new_handler() == nullptr) return false;
  const unsigned long number = ++g_count;
  if (number < from || number > to) return false;
  errno = ENOMEM;
  return true;
}

[[gnu::destructor]] void TellCount() {
  const char* const name = std::getenv("COUNT_IN");
  const int file = name != nullptr ? open(name, O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, 0600) : -1;
  if (file < 0) return;
  dprintf(file, "%lu\n", g_count.load());
  close(file);
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) {
  return IsToFail() ? nullptr : __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
  return IsToFail() ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) {
  return IsToFail() ? nullptr : __libc_realloc(block, size);
}

}  // extern "C"

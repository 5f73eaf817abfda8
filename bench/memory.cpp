#include "bench/memory.h"

#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>

namespace kt {
namespace {

u64 HeapInUse() {
  const struct mallinfo2 heap = mallinfo2();
  return heap.uordblks + heap.hblkhd;
}

}  // namespace

u64 HeapTakenBy(const std::function<void()>& action) {
  std::array<int, 2> ends{};
  if (pipe(ends.data()) != 0) return 0;
  const pid_t child = fork();
  if (child < 0) return 0;
  if (child == 0) {
    const u64 before = HeapInUse();
    action();
    const u64 taken = HeapInUse() - before;
    const bool told = write(ends[1], &taken, sizeof taken) == sizeof taken;
    _exit(told ? 0 : 1);
  }
  close(ends[1]);
  u64 taken = 0;
  if (read(ends[0], &taken, sizeof taken) != sizeof taken) taken = 0;
  close(ends[0]);
  waitpid(child, nullptr, 0);
  return taken;
}

}  // namespace kt

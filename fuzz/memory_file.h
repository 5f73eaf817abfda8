#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include <ktmp4/types.h>

namespace kt::fuzz {

/// Ends the process, for the fuzzer to see, when what has to hold does not.
inline void Require(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "broken: %s\n", what);
  std::abort();
}

/// For a call that only has to come back, whatever it answers.
template <class Result>
void Ignore(Result /*result*/) {}

/// Dumps are made and thrown away.
inline void SilenceStandardOutput() {
  static const bool done = std::freopen("/dev/null", "w", stdout) != nullptr;
  Require(done, "standard output");
}

/// Makes `data` the content of a file in memory and gives its name. Linux only.
inline std::string NameOfFileWith(const u8* data, std::size_t size) {
  static const int file = memfd_create("ktmp4-fuzz", 0);
  Require(file >= 0, "memory file");
  Require(ftruncate(file, 0) == 0, "truncate");
  Require(pwrite(file, data, size, 0) == static_cast<ssize_t>(size), "write");
  return "/proc/self/fd/" + std::to_string(file);
}

/// The name of another file in memory, to be written.
inline std::string NameOfSecondFile() {
  static const int file = memfd_create("ktmp4-fuzz-written", 0);
  Require(file >= 0, "memory file");
  return "/proc/self/fd/" + std::to_string(file);
}

}  // namespace kt::fuzz

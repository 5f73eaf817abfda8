#include "bench/check.h"

#include <array>
#include <cstdio>
#include <cstdlib>

#include "bench/libav.h"

namespace kt {

void Fail(Mp4Result result, const char* what) {
  std::fprintf(stderr, "ktmp4_bench: %s: %s (%u): %s\n", what, Mp4ResultName(result), result,
               Mp4ResultText(result));
  std::exit(1);
}

void CheckPeer(int answer, const char* what) {
  if (answer >= 0) return;
  std::array<char, 256> text{};
  av_strerror(answer, text.data(), text.size());
  std::fprintf(stderr, "ktmp4_bench: libavformat: %s: %s\n", what, text.data());
  std::exit(1);
}

}  // namespace kt

#pragma once

#include <ktmp4/result.h>

namespace kt {

/// Both end the program with a message, the second when a call has failed: what the benchmark reads and
/// writes is sound.
[[noreturn]] void Fail(Mp4Result result, const char* what);
inline void Check(Mp4Result result, const char* what) {
  if (result != MP4_OK) Fail(result, what);
}
/// The same for an answer of libavformat, of which the negative ones are errors.
void CheckPeer(int answer, const char* what);

}  // namespace kt

#pragma once

#include <ktmp4/result.h>

namespace kt {

/// End the program with a message when a call has failed: what the benchmark reads and writes is sound.
void Check(Mp4Result result, const char* what);
/// The same for an answer of libavformat, of which the negative ones are errors.
void CheckPeer(int answer, const char* what);

}  // namespace kt

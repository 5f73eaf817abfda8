#include "tools/standard_streams.h"

#include "tools/failure.h"

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#else
#include <unistd.h>
#endif

namespace kt {
namespace {

constexpr const char* kWriteOutput = "cannot write on standard output";

}  // namespace

bool IsTerminal(std::FILE* stream) {
#ifdef _WIN32
  return _isatty(_fileno(stream)) != 0;
#else
  return isatty(fileno(stream)) != 0;
#endif
}

void KeepOutputAsWritten() {
#ifdef _WIN32
  std::fflush(stdout);
  _setmode(_fileno(stdout), _O_BINARY);
#endif
}

void Print(std::string_view text) {
  if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size()) throw SystemFailure(kWriteOutput);
}

void FlushOutput() {
  if (std::fflush(stdout) != 0) throw SystemFailure(kWriteOutput);
  if (std::ferror(stdout) != 0) throw Failure(std::string(kWriteOutput) + ": some of it was lost");
}

}  // namespace kt

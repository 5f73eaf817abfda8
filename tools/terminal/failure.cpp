#include "tools/terminal/failure.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace kt {

Failure ResultFailure(const std::string& operation, Mp4Result result, const std::string& reason) {
  return Failure(operation + ": " + Mp4ResultName(result) + " (" + std::to_string(result) +
                 "): " + (reason.empty() ? Mp4ResultText(result) : reason));
}

Failure SystemFailure(const std::string& operation) {
  return Failure(operation + ": " + std::generic_category().message(errno));
}

void RequireOpenFailedByFile(const std::string& operation) {
  if (errno == ENOMEM || errno == EMFILE || errno == ENFILE) throw SystemFailure(operation);
}

}  // namespace kt

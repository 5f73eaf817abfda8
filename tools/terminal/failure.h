#pragma once

#include <stdexcept>
#include <string>

#include <ktmp4/result.h>
#include "tools/terminal/shown_text.h"

namespace kt {

/// A command that could not do its work. The text is what `main` prints behind the command's name, in one
/// line; the program then ends with exit code 1.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// What failed has been told already; the program ends with exit code 1 without a further word.
struct FailureTold {};

/// `operation` failed with `result`: "cannot open "x.mp4": MP4_CORRUPT (6): the sizes of ...". `reason` takes
/// the place of the general sentence where more is known.
Failure ResultFailure(const std::string& operation, Mp4Result result, const std::string& reason = {});

/// `operation` failed with what the system keeps in `errno`.
Failure SystemFailure(const std::string& operation);

/// To be called when a file could not be opened, where that would say something about the file: throws this
/// failure when it was for want of memory or of handles.
void RequireOpenFailedByFile(const std::string& operation);

}  // namespace kt

#pragma once

#include <string>

#include "tools/bytes/file_bytes.h"

namespace kt {

/// What a file is that does not begin like one of this format: "it does not begin like an MP4 file but like
/// Matroska or WebM". Empty when it does, or may. `head` are its first bytes, 1,024 if there are as many.
std::string OtherFormat(ByteSpan head);

}  // namespace kt

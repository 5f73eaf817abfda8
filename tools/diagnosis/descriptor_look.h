#pragma once

#include <string>

#include "tools/bytes/file_bytes.h"

namespace kt {

/// What the strict reader stumbles over in the ES descriptor that the bytes begin with; empty when it takes
/// it, with the bytes that it has. ISO/IEC 14496-1, 7.2.6.5.
std::string EsDescriptorFault(ByteSpan bytes, u64* length);
/// The same for the object descriptor of "iods", initial or not, in the form of files. ISO/IEC 14496-14, 3.1.
std::string ObjectDescriptorFault(ByteSpan bytes, u64* length);

}  // namespace kt

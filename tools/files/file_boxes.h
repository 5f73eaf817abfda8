#pragma once

#include <algorithm>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/bytes/byte_span.h"

namespace kt {

// The boxes of a file as they stand in it, for what the library is not asked for.

struct BoxHeader {
  std::string_view type;
  u64 headerSize = 8;
  u64 size = 0;  // with the header
};

/// The header that the bytes begin with, of a box for which `room` bytes are left. None where no box can be.
std::optional<BoxHeader> HeaderOf(ByteSpan bytes, u64 room);

/// Gives type and payload of each box.
template <class Visit>
void ForEachBox(ByteSpan bytes, Visit&& visit) {
  while (const auto header = HeaderOf(bytes, bytes.size())) {
    const ByteSpan box = bytes.first(static_cast<std::size_t>(header->size));
    visit(header->type, From(box, header->headerSize));
    bytes = bytes.subspan(box.size());
  }
}

/// Gives the payload of each box of a type.
template <class Visit>
void ForEachBox(ByteSpan bytes, std::string_view type, Visit&& visit) {
  ForEachBox(bytes, [&](std::string_view found, ByteSpan payload) {
    if (found == type) visit(payload);
  });
}

/// The payload of the first box at the end of a path; nothing when there is none.
std::optional<ByteSpan> BoxAt(ByteSpan bytes, std::initializer_list<std::string_view> path);

/// What stands at the top of a file.
struct FileBoxes {
  /// The payload of "ftyp", cut behind a thousand brands; empty when the file has none.
  std::vector<u8> fileType;
  /// The payload of the first "moov"; nothing when there is none, or when the file ends inside of it.
  std::optional<std::vector<u8>> movie;
  /// A "moof" stands among the first boxes: samples are in fragments (ISO/IEC 14496-12, 8.8).
  bool hasFragments = false;
};
/// Throws a `Failure` when the file cannot be opened.
FileBoxes ReadFileBoxes(const std::string& name);

}  // namespace kt

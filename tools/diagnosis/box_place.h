#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/bytes/file_bytes.h"

namespace kt {

constexpr u32 CodeOf(std::string_view text) {
  u32 code = 0;
  for (const char letter : text) code = code << 8 | static_cast<u8>(letter);
  return code;
}

/// Where a box stands in its file, and how far it says that it goes. ISO/IEC 14496-12, 4.2.
struct BoxPlace {
  u32 code = 0;
  u64 begin = 0;  // of its header
  u64 headerSize = 8;
  u64 size = 0;               // with the header
  bool goesToTheEnd = false;  // of the file, by a size of 0

  u64 End() const { return begin + size; }
  u64 Payload() const { return begin + headerSize; }
  u64 PayloadSize() const { return size - headerSize; }
};

/// What a header says, held against the room that is left for its box.
enum class HeaderLook {
  kFits,
  kNoRoomForHeader,
  kSmallerThanHeader,
  kLargerThanRoom,
};

/// Reads the header at `position`, of a box that has to end at `end` at the latest.
HeaderLook LookAtHeader(FileBytes& file, u64 position, u64 end, BoxPlace* box);

/// Whether the bytes from `position` to `end` are boxes, one behind the other. Gives their codes.
bool AreBoxes(FileBytes& file, u64 position, u64 end, std::vector<u32>* codes = nullptr);

/// Whether all four are letters, digits and signs such as real codes have.
bool LooksLikeCode(u32 code);

/// "48,213".
std::string Grouped(u64 number);
/// The same of its digits.
std::string Grouped(std::string digits);
/// "1 byte", "48,213 bytes".
std::string BytesText(u64 count);
/// The code in quotes.
std::string QuotedCode(u32 code);

}  // namespace kt

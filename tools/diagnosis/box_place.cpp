#include "tools/diagnosis/box_place.h"

#include <algorithm>

#include "tools/terminal/shown_text.h"

namespace kt {

HeaderLook LookAtHeader(FileBytes& file, u64 position, u64 end, BoxPlace* box) {
  constexpr u32 kUuid = CodeOf("uuid");
  const u64 room = end - position;
  const ByteSpan head = file.At(position, std::min<u64>(room, 16));
  *box = {.code = static_cast<u32>(Number(head, 4, 4)), .begin = position, .size = Number(head, 0, 4)};
  if (head.size() < 8) return HeaderLook::kNoRoomForHeader;
  if (box->size == 0) {
    box->goesToTheEnd = true;
    box->size = file.Size() - position;
  } else if (box->size == 1) {
    if (head.size() < 16) return HeaderLook::kNoRoomForHeader;
    box->headerSize = 16;
    box->size = Number(head, 8, 8);
  }
  if (box->code == kUuid) box->headerSize += 16;
  if (box->size < box->headerSize) return HeaderLook::kSmallerThanHeader;
  return box->size > room ? HeaderLook::kLargerThanRoom : HeaderLook::kFits;
}

bool AreBoxes(FileBytes& file, u64 position, u64 end, std::vector<u32>* codes) {
  constexpr u32 kMost = 1000;
  if (end > file.Size()) return false;
  for (u32 count = 0; position < end; ++count) {
    BoxPlace box;
    if (count == kMost || LookAtHeader(file, position, end, &box) != HeaderLook::kFits) return false;
    if (codes != nullptr) codes->push_back(box.code);
    position = box.End();
  }
  return true;
}

bool LooksLikeCode(u32 code) {
  constexpr u8 kCopyrightSign = 0xA9;  // QuickTime's texts begin with it
  const auto isLetter = [](u8 byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9') ||
           byte == '-' || byte == '_' || byte == '.';
  };
  const auto first = static_cast<u8>(code >> 24);
  if (!isLetter(first) && first != kCopyrightSign) return false;
  for (const u32 shift : {16U, 8U, 0U}) {
    const auto byte = static_cast<u8>(code >> shift);
    if (!isLetter(byte) && byte != ' ') return false;
  }
  return true;
}

std::string Grouped(std::string digits) {
  for (std::size_t place = digits.size(); place > 3; place -= 3) digits.insert(place - 3, 1, ',');
  return digits;
}

std::string Grouped(u64 number) {
  return Grouped(std::to_string(number));
}

std::string BytesText(u64 count) {
  return Grouped(count) + (count == 1 ? " byte" : " bytes");
}

std::string QuotedCode(u32 code) {
  return "\"" + CodeText(code) + "\"";
}

}  // namespace kt

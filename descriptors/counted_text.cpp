#include "descriptors/counted_text.h"

#include <new>
#include <utility>

namespace kt {

Mp4Result ReadCountedText(CStorage* storage, u32* remaining, u8* length, std::unique_ptr<u8[]>* text) {
  if (*remaining < 1) return MP4_DESCRIPTOR_OVERRUN;
  u8 count = 0;
  KT_TRY(storage->ReadUInt8(&count));
  if (*remaining - 1 < count) return MP4_DESCRIPTOR_OVERRUN;
  std::unique_ptr<u8[]> read(new (std::nothrow) u8[count + std::size_t{1}]());
  if (!read) return MP4_NO_MEMORY;
  KT_TRY(storage->ReadBlock(read.get(), count));
  *remaining -= 1u + count;
  *length = count;
  *text = std::move(read);
  return MP4_OK;
}

Mp4Result WriteCountedText(CStorage* storage, u8 length, const u8* text) {
  KT_TRY(storage->WriteUInt8(length));
  return storage->WriteBlock(text, length);
}

}  // namespace kt

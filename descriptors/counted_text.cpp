#include "descriptors/counted_text.h"

#include <new>

namespace kt {

Mp4Result ReadCountedText(CStorage* storage, u32* remaining, u8* length, std::unique_ptr<u8[]>* text) {
  if (*remaining < 1) return MP4_DESCRIPTOR_OVERRUN;
  KT_TRY(storage->ReadUInt8(length));
  const u32 count = *length;
  text->reset(new (std::nothrow) u8[count + 1]());
  if (!*text) return MP4_NO_MEMORY;
  if (*remaining - 1 < count) return MP4_DESCRIPTOR_OVERRUN;
  KT_TRY(storage->ReadBlock(text->get(), count));
  *remaining -= count + 1;
  return MP4_OK;
}

Mp4Result WriteCountedText(CStorage* storage, u8 length, const u8* text) {
  KT_TRY(storage->WriteUInt8(length));
  return storage->WriteBlock(text, length);
}

}  // namespace kt

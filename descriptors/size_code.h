#pragma once

#include "engine/storage/memory_storage.h"

namespace kt {

/// What descriptors and commands share on the wire: a tag of one byte and a body size in groups of seven
/// bits, most significant first, each but the last with bit 7 set. ISO/IEC 14496-1, 8.3.3.

/// Reads tag and size. `tooLong` is the answer to a size code of more than five bytes; of the five, bits
/// beyond 32 are lost. `*headerSize` takes the bytes consumed.
Mp4Result ReadTagAndSize(CStorage* storage, u32* tag, u32* size, u8* headerSize, Mp4Result tooLong);

/// Writes tag and size in the fewest bytes. `tooLarge` is the answer to a size of 2^28 and more, which four
/// groups cannot hold; the tag has been written then.
Mp4Result WriteTagAndSize(CStorage* storage, u32 tag, u32 size, Mp4Result tooLarge);

/// The same at `*cursor`, which moves as `*room` falls. MP4_BUFFER_TOO_SMALL when the tag does not fit, and
/// when the size code does not, with the tag stored.
Mp4Result WriteTagAndSize(u8** cursor, u32* room, u32 tag, u32 size, Mp4Result tooLarge);

/// The bytes that tag and size take when written: 2 to 5.
u32 HeaderSizeOf(u32 size);

/// Prints an empty line, the name, and tag and size.
void DumpTagAndSize(int indent, const char* name, u32 tag, u32 size);

/// Adds `more` to a body size. MP4_DESCRIPTOR_OVERRUN when the sum leaves 32 bits.
Mp4Result AddToSize(u32* size, u64 more);

/// Lets `write`, which is handed a `CStorage*`, write exactly `count` bytes at the cursor, and moves behind
/// them. MP4_BUFFER_TOO_SMALL, with nothing written, when there is less room.
template <class Write>
Mp4Result WriteToBuffer(u8** cursor, u32* room, u32 count, Write write) {
  if (*room < count) return MP4_BUFFER_TOO_SMALL;
  if (count == 0) return MP4_OK;
  CMemoryStorage block;
  KT_TRY(block.Open(*cursor, count, MP4_MODE_WRITE));
  KT_TRY(write(&block));
  *cursor += count;
  *room -= count;
  return MP4_OK;
}

}  // namespace kt

#include "descriptors/size_code.h"

#include <cstdio>
#include <limits>

#include "engine/storage/printing.h"

namespace kt {
namespace {

constexpr u32 kMaxSizeBytes = 5;  // when read
constexpr u32 kMaxGroups = 4;     // when written

// The groups of a size, most significant first; none when there would be more than four.
struct SizeGroups {
  explicit SizeGroups(u32 size) {
    if (size >> (7 * kMaxGroups) != 0) return;
    do {
      ++count;
    } while (size >> (7 * count) != 0);
    for (u32 i = 0; i < count; ++i) {
      const u32 last = count - 1 - i;
      bytes[i] = static_cast<u8>((size >> (7 * last) & 0x7F) | (last > 0 ? 0x80 : 0));
    }
  }
  u32 count = 0;
  u8 bytes[kMaxGroups] = {};
};

}  // namespace

Mp4Result ReadTagAndSize(CStorage* storage, u32* tag, u32* size, u8* headerSize, Mp4Result tooLong) {
  u8 byte = 0;
  KT_TRY(storage->ReadUInt8(&byte));
  *tag = byte;
  *headerSize = 1;
  *size = 0;
  do {
    if (*headerSize > kMaxSizeBytes) return tooLong;
    KT_TRY(storage->ReadUInt8(&byte));
    ++*headerSize;
    *size = *size << 7 | (byte & 0x7Fu);
  } while (byte & 0x80);
  return MP4_OK;
}

Mp4Result WriteTagAndSize(CStorage* storage, u32 tag, u32 size, Mp4Result tooLarge) {
  KT_TRY(storage->WriteUInt8(static_cast<u8>(tag)));
  const SizeGroups groups(size);
  if (groups.count == 0) return tooLarge;
  return storage->WriteBytes(groups.bytes, groups.count);
}

Mp4Result WriteTagAndSize(u8** cursor, u32* room, u32 tag, u32 size, Mp4Result tooLarge) {
  KT_TRY(WriteToBuffer(cursor, room, 1,
                       [&](CStorage* block) { return block->WriteUInt8(static_cast<u8>(tag)); }));
  const SizeGroups groups(size);
  if (groups.count == 0) return tooLarge;
  return WriteToBuffer(cursor, room, groups.count,
                       [&](CStorage* block) { return block->WriteBytes(groups.bytes, groups.count); });
}

u32 HeaderSizeOf(u32 size) {
  u32 header = 1;
  do {
    ++header;
    size >>= 7;
  } while (size != 0 && header < 5);
  return header;
}

void DumpTagAndSize(int indent, const char* name, u32 tag, u32 size) {
  std::printf("\n");
  PrintIndent(indent);
  std::printf("%s\n", name);
  PrintIndent(indent);
  std::printf("Tag: 0x%02x  Size: %d\n", tag, static_cast<int>(size));
}

Mp4Result AddToSize(u32* size, u64 more) {
  const u64 sum = *size + more;
  if (more > std::numeric_limits<u32>::max() || sum > std::numeric_limits<u32>::max()) {
    return MP4_DESCRIPTOR_OVERRUN;
  }
  *size = static_cast<u32>(sum);
  return MP4_OK;
}

}  // namespace kt

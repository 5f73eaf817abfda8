// Reads the input as a list of boxes from memory, prints and sizes them, writes them and reads that again.
// Other than through a file object, what was read is also written here.

#include <algorithm>
#include <vector>

#include "engine/box/box_list.h"
#include "engine/storage/memory_storage.h"
#include "fuzz/memory_file.h"

namespace {

using namespace kt;
using kt::fuzz::Ignore;
using kt::fuzz::Require;

using Buffer = std::vector<u8>;

// Enough for what an input can grow by; sizes that boxes claim are no measure.
constexpr std::size_t kSpare = 1 << 16;

Mp4Result Read(CBoxList* list, Buffer* bytes) {
  CMemoryStorage storage;
  if (storage.Open(bytes->data(), static_cast<u32>(bytes->size()), MP4_MODE_READ) != MP4_OK)
    return MP4_FILE_IO;
  u64 remaining = bytes->size();
  return list->DeserializeAll(&storage, &remaining);
}

Mp4Result Write(CBoxList* list, Buffer* bytes) {
  CMemoryStorage storage;
  Require(storage.Open(bytes->data(), static_cast<u32>(bytes->size()), MP4_MODE_WRITE) == MP4_OK, "open");
  const Mp4Result result = list->SerializeAll(&storage);
  u64 end = 0;
  Require(storage.GetPosition(&end) == MP4_OK, "position");
  bytes->resize(static_cast<std::size_t>(end));
  return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size) {
  kt::fuzz::SilenceStandardOutput();
  Buffer bytes(data, data + size);
  CBoxList boxes(nullptr);
  const Mp4Result result = Read(&boxes, &bytes);
  const Mp4Result dumped = boxes.DumpAll(0);
  Require(result != MP4_OK || dumped == MP4_OK, "what can be read can be printed");
  u64 total = 0;
  Ignore(boxes.CalculateSizeAll(&total));
  // Also what could not be sized is written, as far as it goes.
  Buffer written(size * 2 + kSpare);
  if (Write(&boxes, &written) != MP4_OK) return 0;
  CBoxList again(nullptr);
  Ignore(Read(&again, &written));
  Ignore(again.CalculateSizeAll(&total));
  Ignore(again.DumpAll(0));
  return 0;
}

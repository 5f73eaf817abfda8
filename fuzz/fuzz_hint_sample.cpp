// Reads the input as a hint sample, prints, sizes and writes it. What was written has to read back, and to be
// written the same once the flags that move from writing to writing are out.

#include <vector>

#include "engine/storage/memory_storage.h"
#include "fuzz/memory_file.h"
#include "hint/hint_sample.h"

namespace {

using namespace kt;
using kt::fuzz::Ignore;
using kt::fuzz::Require;

using Buffer = std::vector<u8>;

// The padding flag goes through two places before it is gone.
constexpr int kRoundsToSettle = 3;

Mp4Result Read(CHintSample* hintSample, Buffer* bytes) {
  CMemoryStorage storage;
  const u32 size = static_cast<u32>(bytes->size());
  Require(storage.Open(bytes->data(), size, MP4_MODE_READ) == MP4_OK, "open");
  return hintSample->Deserialize(&storage, size);
}

// False for a sample with an extra list, which cannot be written.
bool Write(CHintSample* hintSample, Buffer* bytes) {
  Buffer written(bytes->size());
  CMemoryStorage storage;
  Require(storage.Open(written.data(), static_cast<u32>(written.size()), MP4_MODE_WRITE) == MP4_OK, "open");
  const Mp4Result result = hintSample->Serialize(&storage);
  Require(result == MP4_OK || result == MP4_NOT_READY, "what was read can be written where it was");
  if (result != MP4_OK) return false;
  u64 end = 0;
  Require(storage.GetPosition(&end) == MP4_OK && end == written.size(), "as much is written as was read");
  *bytes = std::move(written);
  return true;
}

void RequireSize(CHintSample* hintSample, std::size_t size) {
  u32 total = 0;
  Require(hintSample->CalculateSize() == MP4_OK && hintSample->GetSize(&total) == MP4_OK, "size");
  Require(total == 2 * size, "the size counts on from what was read");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size) {
  kt::fuzz::SilenceStandardOutput();
  if (size == 0) return 0;
  Buffer bytes(data, data + size);
  CHintSample first(nullptr);
  const Mp4Result result = Read(&first, &bytes);
  const Mp4Result dumped = first.Dump(0);  // also of what was refused
  Require(result != MP4_OK || dumped == MP4_OK, "what can be read can be printed");
  if (result != MP4_OK) return 0;
  if (!Write(&first, &bytes)) {
    Ignore(first.CalculateSize());
    return 0;
  }
  RequireSize(&first, size);
  for (int round = 0; round <= kRoundsToSettle; ++round) {
    CHintSample again(nullptr);
    Require(Read(&again, &bytes) == MP4_OK, "what was written can be read");
    const Buffer before = bytes;
    Require(Write(&again, &bytes), "what was written once can be written again");
    Require(round < kRoundsToSettle || bytes == before, "what was read back is written the same");
  }
  return 0;
}

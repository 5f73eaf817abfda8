// Reads the input as a descriptor, or behind a first byte that is odd as an object descriptor update command;
// prints, sizes and writes it. What was written has to read back and to be written the same again.

#include <vector>

#include "descriptors/descriptor_list.h"
#include "descriptors/es_descriptor.h"
#include "descriptors/object_descriptor_update.h"
#include "engine/storage/memory_storage.h"
#include "fuzz/memory_file.h"

namespace {

using namespace kt;
using kt::fuzz::Ignore;
using kt::fuzz::Require;

using Buffer = std::vector<u8>;

// A storage over a block that is exactly as large as its contents.
class Block {
 public:
  Block(Buffer* bytes, u32 mode) {
    const Mp4Result result = m_storage.Open(bytes->data(), static_cast<u32>(bytes->size()), mode);
    Require(result == MP4_OK || bytes->empty(), "open");
  }
  CMemoryStorage* Storage() { return &m_storage; }
  u64 Position() {
    u64 position = 0;
    Require(m_storage.GetPosition(&position) == MP4_OK, "position");
    return position;
  }

 private:
  CMemoryStorage m_storage;
};

// Writes `item` both ways; false when it cannot be written to a storage.
template <class Item>
bool Write(Item* item, Buffer* bytes) {
  if (item->CalculateSize() != MP4_OK) return false;
  u32 size = 0;
  u32 header = 0;
  Require(item->GetSize(&size, &header) == MP4_OK, "size");
  bytes->assign(std::size_t{size} + header, 0);
  Block block(bytes, MP4_MODE_WRITE);
  const Mp4Result result = item->Serialize(block.Storage());
  Require(result != MP4_OK || block.Position() == bytes->size(), "the size is what is written");

  for (const std::size_t room : {bytes->size(), bytes->size() - 1, bytes->size() / 2}) {
    Buffer direct(room);
    u8* cursor = direct.data();
    u32 left = static_cast<u32>(room);
    const Mp4Result answer = item->SerializeToBuffer(&cursor, &left);
    Require(cursor == direct.data() + (room - left), "the cursor and the room move together");
    if (answer != MP4_OK) continue;
    Require(room == bytes->size() && left == 0, "memory needs the room that a storage takes");
    Require(result != MP4_OK || direct == *bytes, "memory gets the bytes that a storage gets");
  }
  return result == MP4_OK;
}

void AskEsDescriptor(CBaseDescriptor* descriptor) {
  auto* es = dynamic_cast<CESDescriptor*>(descriptor);
  u32 size = 0;
  if (es == nullptr || es->GetDecoderSpecificInfoSize(&size) != MP4_OK) return;
  Buffer info(size);
  Ignore(es->GetDecoderSpecificInfo(size, &size, info.data()));
}

void FuzzDescriptor(Buffer bytes) {
  std::unique_ptr<CBaseDescriptor> descriptor;
  u32 tag = 0;
  Block block(&bytes, MP4_MODE_READ);
  if (CreateDescriptor(block.Storage(), 0, &descriptor, &tag) != MP4_OK) {
    Require(!descriptor, "no descriptor comes with a failure");
    return;
  }
  Require(descriptor->Dump(0) == MP4_OK, "what can be read can be printed");
  AskEsDescriptor(descriptor.get());
  Buffer written;
  if (!Write(descriptor.get(), &written)) return;
  Block again(&written, MP4_MODE_READ);
  std::unique_ptr<CBaseDescriptor> copy;
  Require(CreateDescriptor(again.Storage(), 0, &copy, &tag) == MP4_OK, "what was written can be read");
  Require(again.Position() == written.size(), "what was written is read to its end");
  Buffer twice;
  Require(Write(copy.get(), &twice) && twice == written, "what was read back is written the same");
}

void FuzzUpdate(Buffer bytes) {
  Block block(&bytes, MP4_MODE_READ);
  CBaseCommand header;
  if (header.Deserialize(block.Storage()) != MP4_OK) return;
  CObjectDescriptorUpdate update(&header);
  const Mp4Result result = update.Deserialize(block.Storage());
  const Mp4Result dumped = update.Dump(0);
  Require(result != MP4_OK || dumped == MP4_OK, "what can be read can be printed");
  Buffer written;
  Ignore(Write(&update, &written) ? MP4_OK : MP4_NOT_READY);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size) {
  kt::fuzz::SilenceStandardOutput();
  if (size < 2) return 0;
  Buffer bytes(data + 1, data + size);
  if (data[0] & 1) {
    FuzzUpdate(std::move(bytes));
  } else {
    FuzzDescriptor(std::move(bytes));
  }
  return 0;
}

#pragma once

#include <memory>
#include <string>

#include "descriptors/descriptor_list.h"
#include "support/open_storage.h"

namespace kt::test {

/// A descriptor or command around its body, with the shortest size code.
inline Bytes Descriptor(u32 tag, const std::vector<u8>& body = {}) {
  Bytes code;
  std::size_t left = body.size();
  do {
    code.insert(code.begin(), static_cast<u8>((left & 0x7F) | (code.empty() ? 0 : 0x80)));
    left >>= 7;
  } while (left > 0);
  return Bytes().U8(tag).Add(code).Add(body);
}

/// The answer of `CreateDescriptor` on these bytes, and how many of them it took.
struct ReadDescriptor {
  explicit ReadDescriptor(CStorage* storage) : result(CreateDescriptor(storage, 0, &descriptor, &tag)) {
    consumed = Got(*storage, &CStorage::GetPosition);
  }
  explicit ReadDescriptor(const Bytes& bytes) : ReadDescriptor(MemoryBlock(bytes)) {}
  template <class Class>
  Class& As() {
    return dynamic_cast<Class&>(*descriptor);
  }

  std::unique_ptr<CBaseDescriptor> descriptor;
  u32 tag = 0xABCD;
  Mp4Result result = MP4_OK;
  u64 consumed = 0;
};

/// The bytes of a descriptor or command by way of a storage; `*result` takes the first failure.
template <class Item>
Bytes Written(Item& item, Mp4Result* result) {
  u32 size = 0, header = 0;
  *result = item.CalculateSize();
  if (*result == MP4_OK) *result = item.GetSize(&size, &header);
  // Some room to spare, so that a size that is too small shows in the bytes.
  MemoryBlock storage(std::size_t{size} + header + 64);
  if (*result == MP4_OK) *result = item.Serialize(storage);
  if (*result == MP4_OK) {
    EXPECT_EQ(storage.Position(), size + header);
  }
  return storage.Written();
}

template <class Item>
Bytes Written(Item& item) {
  Mp4Result result = MP4_OK;
  Bytes bytes = Written(item, &result);
  EXPECT_EQ(MP4_OK, result);
  return bytes;
}

template <class Item>
Mp4Result WriteResult(Item& item) {
  Mp4Result result = MP4_OK;
  static_cast<void>(Written(item, &result));
  return result;
}

/// What writing into so much memory answers.
template <class Item>
Mp4Result BufferResult(Item& item, u32 room) {
  Bytes bytes(64);
  u8* cursor = bytes.data();
  return item.SerializeToBuffer(&cursor, &room);
}

/// Writes into memory with every room from 0 up to what is needed: all but the last have to be refused as too
/// small, none may touch a byte beyond its room, and the last has to give the same bytes as a storage.
template <class Item>
void ExpectBufferFormMatches(Item& item, Mp4Result expectedResult = MP4_OK) {
  const Bytes expected = Written(item);
  for (std::size_t room = 0; room <= expected.size(); ++room) {
    SCOPED_TRACE(room);
    Bytes buffer(expected.size() + 8, 0xEE);
    u8* cursor = buffer.data();
    u32 left = static_cast<u32>(room);
    const Mp4Result result = item.SerializeToBuffer(&cursor, &left);
    EXPECT_EQ(room < expected.size() ? MP4_BUFFER_TOO_SMALL : expectedResult, result);
    EXPECT_EQ(room, left + static_cast<std::size_t>(cursor - buffer.data()));
    for (std::size_t i = room; i < buffer.size(); ++i) ASSERT_EQ(0xEE, buffer[i]);
    buffer.resize(expected.size());
    EXPECT_EQ(room == expected.size(), expected == buffer);
  }
}

}  // namespace kt::test

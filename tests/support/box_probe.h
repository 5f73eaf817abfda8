#pragma once

#include <memory>
#include <string>

#include "engine/box/box_list.h"
#include "support/open_storage.h"

namespace kt::test {

/// What `CreateBox` made of some bytes.
struct ReadBoxResult {
  Mp4Result result = MP4_OK;
  std::unique_ptr<CBox> box;
  u32 type = 0;      // as `CreateBox` stores it: 0 for an unknown code
  u64 position = 0;  // where the storage stood afterwards
};

/// Reads one box where the storage stands.
inline ReadBoxResult ReadBoxFrom(CStorage* storage, u32 parentType = 0) {
  ReadBoxResult read;
  read.result = CreateBox(storage, parentType, &read.box, &read.type);
  read.position = Got(*storage, &CStorage::GetPosition);
  EXPECT_EQ(read.result == MP4_OK, read.box != nullptr);
  return read;
}

/// Reads one box from the start of `bytes`.
inline ReadBoxResult ReadBox(const Bytes& bytes, u32 parentType = 0) {
  MemoryBlock storage(bytes);
  return ReadBoxFrom(storage, parentType);
}

/// The same for a box that has to be read without failure, as its class.
template <class BoxClass = CBox>
std::unique_ptr<BoxClass> ReadBoxAs(const Bytes& bytes) {
  ReadBoxResult read = ReadBox(bytes);
  EXPECT_EQ(MP4_OK, read.result) << Mp4ResultName(read.result);
  return std::unique_ptr<BoxClass>(static_cast<BoxClass*>(read.box.release()));
}

/// The bytes that `Serialize` gives after `CalculateSize`; more room than the size says is at hand.
inline Bytes WrittenBytes(CBox* box) {
  EXPECT_EQ(MP4_OK, box->CalculateSize());
  MemoryBlock storage(static_cast<std::size_t>(Got(*box, &CBox::GetSize)) + 64);
  EXPECT_EQ(MP4_OK, box->Serialize(storage));
  return storage.Written();
}

}  // namespace kt::test

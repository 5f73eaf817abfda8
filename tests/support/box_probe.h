#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "engine/box_list.h"
#include "engine/memory_storage.h"
#include "support/box_writer.h"

namespace kt::test {

/// What `CreateBox` made of some bytes.
struct ReadBoxResult {
  Mp4Result result = MP4_OK;
  std::unique_ptr<CBox> box;
  u32 type = 0;      // as `CreateBox` stores it: 0 for an unknown code
  u64 position = 0;  // where the storage stood afterwards
};

/// Reads one box from the start of `bytes`.
inline ReadBoxResult ReadBox(Bytes bytes, u32 parentType = 0) {
  ReadBoxResult read;
  CMemoryStorage storage;
  EXPECT_EQ(MP4_OK, storage.Open(bytes.data(), static_cast<u32>(bytes.size()), MP4_MODE_READ));
  read.result = CreateBox(&storage, parentType, &read.box, &read.type);
  EXPECT_EQ(MP4_OK, storage.GetPosition(&read.position));
  EXPECT_EQ(read.result == MP4_OK, read.box != nullptr);
  return read;
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
  u64 size = 0;
  EXPECT_EQ(MP4_OK, box->CalculateSize());
  EXPECT_EQ(MP4_OK, box->GetSize(&size));
  Bytes written(static_cast<std::size_t>(size) + 64);
  CMemoryStorage storage;
  EXPECT_EQ(MP4_OK, storage.Open(written.data(), static_cast<u32>(written.size()), MP4_MODE_WRITE));
  EXPECT_EQ(MP4_OK, box->Serialize(&storage));
  u64 end = 0;
  EXPECT_EQ(MP4_OK, storage.GetPosition(&end));
  written.resize(static_cast<std::size_t>(end));
  return written;
}

/// What `Dump` prints.
inline std::string DumpText(CBox* box, int indent = 0, Mp4Result expected = MP4_OK) {
  testing::internal::CaptureStdout();
  const Mp4Result result = box->Dump(indent);
  std::string text = testing::internal::GetCapturedStdout();
  EXPECT_EQ(expected, result);
  return text;
}

}  // namespace kt::test

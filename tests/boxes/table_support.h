#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "engine/box_list.h"
#include "engine/memory_storage.h"
#include "support/box_writer.h"

namespace kt::test {

/// Reads one box through the factory; null, with `*result` set, when it is refused.
template <class BoxClass>
std::unique_ptr<BoxClass> ReadBox(Bytes bytes, Mp4Result* result = nullptr) {
  CMemoryStorage storage;
  EXPECT_EQ(storage.Open(bytes.data(), static_cast<u32>(bytes.size()), MP4_MODE_READ), MP4_OK);
  std::unique_ptr<CBox> box;
  u32 type = 0;
  const Mp4Result read = CreateBox(&storage, 0, &box, &type);
  if (result != nullptr) {
    *result = read;
  } else {
    EXPECT_EQ(read, MP4_OK);
  }
  return std::unique_ptr<BoxClass>(static_cast<BoxClass*>(box.release()));
}

/// The bytes that a box writes, which have to be as many as it says.
inline Bytes Written(CBox& box) {
  u64 size = 0;
  EXPECT_EQ(box.CalculateSize(), MP4_OK);
  EXPECT_EQ(box.GetSize(&size), MP4_OK);
  Bytes bytes(static_cast<std::size_t>(size));
  CMemoryStorage storage;
  EXPECT_EQ(storage.Open(bytes.data(), static_cast<u32>(size), MP4_MODE_WRITE), MP4_OK);
  EXPECT_EQ(box.Serialize(&storage), MP4_OK);
  u64 position = 0;
  EXPECT_EQ(storage.GetPosition(&position), MP4_OK);
  EXPECT_EQ(position, size);
  return bytes;
}

inline std::string Dumped(CBox& box, int indent) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(box.Dump(indent), MP4_OK);
  return testing::internal::GetCapturedStdout();
}

/// A table box: its count and its records, given as one row of fields each.
inline Bytes Table(std::string_view code, const std::vector<std::vector<u32>>& records) {
  Bytes payload;
  payload.U32(records.size());
  for (const std::vector<u32>& record : records) {
    for (const u32 field : record) payload.U32(field);
  }
  return FullBox(code, 0, 0, payload);
}

/// An "stsz" with a table of sizes.
inline Bytes SizeTable(const std::vector<u32>& sizes) {
  Bytes payload;
  payload.U32(0).U32(sizes.size());
  for (const u32 size : sizes) payload.U32(size);
  return FullBox("stsz", 0, 0, payload);
}

/// What a look-up answered and stored.
template <class Value>
struct Answer {
  Mp4Result result = MP4_OK;
  Value value = 0;
  bool operator==(const Answer&) const = default;
  friend std::ostream& operator<<(std::ostream& stream, const Answer& answer) {
    return stream << Mp4ResultName(answer.result) << " " << answer.value;
  }
};

/// A look-up whose output held 777 before.
template <class Value, class Lookup>
Answer<Value> Ask(Lookup lookup) {
  Answer<Value> answer{MP4_OK, 777};
  answer.result = lookup(&answer.value);
  return answer;
}

}  // namespace kt::test

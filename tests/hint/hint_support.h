#pragma once

#include <gtest/gtest.h>

#include <string>

#include "engine/memory_storage.h"
#include "hint/hint_sample.h"
#include "support/box_writer.h"

namespace kt::test {

// The parts of a hint sample as they stand in a file.

inline Bytes HintSampleBytes(std::initializer_list<Bytes> packets, const Bytes& extra = {}) {
  Bytes bytes = Bytes().U16(packets.size()).U16(0);
  for (const Bytes& packet : packets) bytes.Add(packet);
  return bytes.Add(extra);
}

/// A packet of time 0 whose constructors all have 16 bytes.
inline Bytes PacketBytes(u8 payloadType, u16 sequenceNumber, bool marker,
                         std::initializer_list<Bytes> constructors) {
  Bytes bytes = Bytes().U32(0).U8(0).U8((marker ? 0x80u : 0u) | payloadType).U16(sequenceNumber).U16(0);
  bytes.U16(constructors.size());
  for (const Bytes& constructor : constructors) bytes.Add(constructor);
  return bytes;
}

inline Bytes ImmediateBytes(const Bytes& data) {
  return Bytes().U8(1).U8(data.size()).Add(data).Zeros(14 - data.size());
}
inline Bytes SampleBytes(u32 sample, u16 length, u32 offset = 0) {
  return Bytes().U8(2).U8(0).U16(length).U32(sample).U32(offset).U16(1).U16(1);
}

inline Mp4Result Read(CHintSample* hintSample, Bytes bytes) {
  CMemoryStorage storage;
  EXPECT_EQ(storage.Open(bytes.data(), static_cast<u32>(bytes.size()), MP4_MODE_READ), MP4_OK);
  return hintSample->Deserialize(&storage, static_cast<u32>(bytes.size()));
}

/// What is written, with room for `room` bytes.
inline Bytes Written(CHintSample* hintSample, std::size_t room, Mp4Result expected = MP4_OK) {
  Bytes bytes(room);
  CMemoryStorage storage;
  EXPECT_EQ(storage.Open(bytes.data(), static_cast<u32>(room), MP4_MODE_WRITE), MP4_OK);
  EXPECT_EQ(hintSample->Serialize(&storage), expected);
  u64 end = 0;
  EXPECT_EQ(storage.GetPosition(&end), MP4_OK);
  bytes.resize(static_cast<std::size_t>(end));
  return bytes;
}

/// A sample that was built is written in exactly the size that it says.
inline Bytes Written(CHintSample* hintSample) {
  u32 size = 0;
  EXPECT_EQ(hintSample->CalculateSize(), MP4_OK);
  EXPECT_EQ(hintSample->GetSize(&size), MP4_OK);
  const Bytes bytes = Written(hintSample, size);
  EXPECT_EQ(bytes.size(), size);
  return bytes;
}

inline std::string DumpText(CHintSample* hintSample, int indent = 0) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(hintSample->Dump(indent), MP4_OK);
  return testing::internal::GetCapturedStdout();
}

}  // namespace kt::test

#pragma once

#include <gtest/gtest.h>

#include <string>

#include "hint/hint_sample.h"
#include "support/open_storage.h"

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

inline Mp4Result Read(CHintSample* hintSample, const Bytes& bytes) {
  return hintSample->Deserialize(MemoryBlock(bytes), static_cast<u32>(bytes.size()));
}

/// What is written, with room for `room` bytes.
inline Bytes Written(CHintSample* hintSample, std::size_t room, Mp4Result expected = MP4_OK) {
  MemoryBlock storage(room);
  EXPECT_EQ(hintSample->Serialize(storage), expected);
  return storage.Written();
}

/// A sample that was built is written in exactly the size that it says.
inline Bytes Written(CHintSample* hintSample) {
  EXPECT_EQ(hintSample->CalculateSize(), MP4_OK);
  const u32 size = Got(*hintSample, &CHintSample::GetSize);
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

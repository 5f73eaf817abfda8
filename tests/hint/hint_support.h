#pragma once

#include <gtest/gtest.h>

#include <string>

#include "hint/hint_sample.h"
#include "support/open_storage.h"

namespace kt::test {

/// A hint sample as it stands in a file.
inline Bytes HintSampleBytes(std::initializer_list<Bytes> packets, const Bytes& extra = {}) {
  Bytes bytes = Bytes().U16(packets.size()).U16(0);
  for (const Bytes& packet : packets) bytes.Add(packet);
  return bytes.Add(extra);
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

/// The packets of a hint sample in words: for each " #sequence number", with "*" for the marker, then its
/// bytes and its samples: a sample of 7 bytes as "1:7", from byte 500 on as "1:7@500".
inline std::string Describe(const Bytes& bytes) {
  CHintSample hintSample(nullptr);
  EXPECT_EQ(Read(&hintSample, bytes), MP4_OK);
  std::string text;
  CHintPacket* packet = nullptr;
  for (u32 i = 1; hintSample.GetPacket(i, &packet) == MP4_OK; ++i) {
    const RtpHeader header = packet->GetHeader();
    text += " #" + std::to_string(header.sequenceNumber) + (header.marker != 0 ? "*" : "");
    CRTPBaseConstructor* constructor = nullptr;
    for (u32 k = 1; packet->GetConstructor(k, &constructor) == MP4_OK; ++k) {
      if (const auto* data = dynamic_cast<CRTPImmediateConstructor*>(constructor)) {
        for (const u8 byte : data->Data()) text += " " + std::to_string(byte);
      } else if (const auto* piece = dynamic_cast<CRTPSampleConstructor*>(constructor)) {
        text += " " + std::to_string(piece->SampleNumber()) + ":" + std::to_string(piece->Length());
        if (piece->SampleOffset() != 0) text += "@" + std::to_string(piece->SampleOffset());
      }
    }
  }
  return text;
}

}  // namespace kt::test

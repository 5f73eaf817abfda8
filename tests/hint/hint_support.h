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

/// The packets of a hint sample in words, as a sender reads them: for each " #sequence number", with "*" for
/// the marker, then its bytes and its samples: a sample of 7 bytes as "1:7", from byte 500 on as "1:7@500";
/// other pieces with their type and track. What could not be read ends the text as "!result".
inline std::string Describe(const Bytes& bytes) {
  CHintPackets hints(bytes.data(), static_cast<u32>(bytes.size()));
  std::string text;
  RtpHeader header;
  Mp4Result result = MP4_OK;
  while ((result = hints.NextPacket(&header)) == MP4_OK) {
    text += " #" + std::to_string(header.sequenceNumber) + (header.marker != 0 ? "*" : "");
    RtpPiece piece;
    while ((result = hints.NextPiece(&piece)) == MP4_OK) {
      for (u32 i = 0; piece.bytes != nullptr && i < piece.length; ++i)
        text += " " + std::to_string(piece.bytes[i]);
      if (piece.type < RTP_CONSTRUCTOR_SAMPLE) continue;
      const bool isPlain = piece.type == RTP_CONSTRUCTOR_SAMPLE && piece.trackReference == 0;
      if (!isPlain) text += " " + std::to_string(piece.type) + "/" + std::to_string(piece.trackReference);
      text += " " + std::to_string(piece.number) + ":" + std::to_string(piece.length);
      if (piece.offset != 0) text += "@" + std::to_string(piece.offset);
    }
    if (result != MP4_NOT_FOUND) break;
  }
  return result == MP4_NOT_FOUND ? text : text + "!" + std::to_string(result);
}

}  // namespace kt::test

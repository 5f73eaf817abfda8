#include "hint/packet_building.h"

#include <algorithm>

namespace kt {
namespace {

// Lays packets into a hint sample, one after the other.
class CPacketLayer {
 public:
  CPacketLayer(RtpStream* stream, CHintSample* hintSample) : m_stream(stream), m_hintSample(hintSample) {}

  /// What follows goes into a new packet.
  Mp4Result StartPacket() {
    KT_TRY(m_hintSample->AddPacket(&m_packet));
    m_length = 0;
    return m_packet->SetHeader(m_stream->payloadType, m_stream->sequenceNumber++, 0, 0);
  }
  Mp4Result AddBytes(std::span<const u8> bytes) {
    m_length += bytes.size();
    return m_packet->AddImmediate(bytes.data(), static_cast<u32>(bytes.size()));
  }
  Mp4Result AddSample(const MediaSample& sample) { return AddPiece(sample, 0, sample.size); }
  Mp4Result AddPiece(const MediaSample& sample, u32 offset, u32 size) {
    m_length += size;
    return m_packet->AddSample(0, size, sample.number, offset);
  }
  /// MP4_NOT_READY for a sample that would go beyond the limit.
  Mp4Result AddSampleThatFits(const MediaSample& sample) {
    return Fits(sample.size) ? AddSample(sample) : MP4_NOT_READY;
  }
  bool Fits(u64 size) const { return m_length + size <= m_stream->maxPacketSize; }
  Mp4Result Mark() { return m_packet->SetMarker(1); }

 private:
  RtpStream* m_stream;
  CHintSample* m_hintSample;
  CHintPacket* m_packet = nullptr;
  u64 m_length = 0;  // payload bytes of the packet
};

Mp4Result AddSamplesThatFit(CPacketLayer* layer, std::span<const MediaSample> group) {
  for (const MediaSample& sample : group) KT_TRY(layer->AddSampleThatFits(sample));
  return layer->Mark();
}

// The pieces of a sample, the first one into the packet that has been started.
Mp4Result AddPieces(CPacketLayer* layer, const MediaSample& sample, u32 firstSize, u32 maxPacketSize) {
  u32 size = firstSize;
  for (u32 offset = 0; offset < sample.size;) {
    KT_TRY(layer->AddPiece(sample, offset, size));
    offset += size;
    size = std::min(sample.size - offset, maxPacketSize);
    if (size != 0) KT_TRY(layer->StartPacket());
  }
  return layer->Mark();
}

// AAC-hbr. The sizes are in bytes, the length of all headers in bits.

constexpr u32 kHeaderBits = 16;
constexpr u32 kHeadersSize = 4;  // of one header and the length before it

Mp4Result AddAuHeaders(CPacketLayer* layer, std::span<const MediaSample> group) {
  const u32 bits = static_cast<u32>(group.size()) * kHeaderBits;
  const u8 length[] = {static_cast<u8>(bits >> 8), static_cast<u8>(bits)};
  KT_TRY(layer->AddBytes(length));
  for (std::size_t i = 0; i < group.size(); ++i) {
    const u32 indexDelta = i == 0 ? 0 : group[i].number - group[i - 1].number - 1;
    const u8 header[] = {static_cast<u8>(group[i].size >> 5),
                         static_cast<u8>((group[i].size & 0x1F) << 3 | indexDelta)};
    KT_TRY(layer->AddBytes(header));
  }
  return MP4_OK;
}

Mp4Result BuildAacGroup(RtpStream* stream, std::span<const MediaSample> group, CHintSample* hintSample) {
  if (group.empty()) return MP4_BAD_ARGUMENT;
  CPacketLayer layer(stream, hintSample);
  KT_TRY(layer.StartPacket());
  KT_TRY(AddAuHeaders(&layer, group));
  return AddSamplesThatFit(&layer, group);
}

Mp4Result BuildAacFragments(RtpStream* stream, const MediaSample& sample, CHintSample* hintSample) {
  if (sample.size == 0) return MP4_NOT_FOUND;
  u32 firstSize = sample.size;
  if (u64{sample.size} + kHeadersSize > stream->maxPacketSize) {
    if (stream->maxPacketSize < kHeadersSize) return MP4_NOT_READY;
    firstSize = stream->maxPacketSize - kHeadersSize;
  }
  CPacketLayer layer(stream, hintSample);
  KT_TRY(layer.StartPacket());
  const u8 headers[] = {0, kHeaderBits, static_cast<u8>(sample.size >> 5), static_cast<u8>(sample.size << 3)};
  KT_TRY(layer.AddBytes(headers));
  return AddPieces(&layer, sample, firstSize, stream->maxPacketSize);
}

// MPEG-4 visual and captions.

Mp4Result BuildVideoGroup(RtpStream* stream, std::span<const MediaSample> group, CHintSample* hintSample) {
  if (group.empty()) return MP4_BAD_ARGUMENT;
  CPacketLayer layer(stream, hintSample);
  KT_TRY(layer.StartPacket());
  return AddSamplesThatFit(&layer, group);
}

Mp4Result BuildPlainFragments(RtpStream* stream, const MediaSample& sample, CHintSample* hintSample) {
  if (sample.size == 0) return MP4_NOT_FOUND;
  CPacketLayer layer(stream, hintSample);
  KT_TRY(layer.StartPacket());
  return AddPieces(&layer, sample, std::min(sample.size, stream->maxPacketSize), stream->maxPacketSize);
}

Mp4Result BuildCaptionGroup(RtpStream* stream, std::span<const MediaSample> group, CHintSample* hintSample) {
  if (group.empty()) return MP4_BAD_ARGUMENT;
  constexpr u8 kHeader[] = {0};
  CPacketLayer layer(stream, hintSample);
  KT_TRY(layer.StartPacket());
  KT_TRY(layer.AddBytes(kHeader));
  return AddSamplesThatFit(&layer, group);
}

// LATM.

constexpr u32 kLengthByte = 255;

// A byte of 255 for each whole 255 of the size, and one with the rest.
Mp4Result AddPayloadLength(CPacketLayer* layer, u32 size) {
  u8 bytes[CRTPImmediateConstructor::kMostBytes];
  const u32 whole = size / kLengthByte;
  if (whole >= std::size(bytes)) return MP4_BAD_ARGUMENT;
  std::fill_n(bytes, whole, static_cast<u8>(kLengthByte));
  bytes[whole] = static_cast<u8>(size % kLengthByte);
  return layer->AddBytes({bytes, whole + 1});
}

Mp4Result BuildLatmGroup(RtpStream* stream, std::span<const MediaSample> group, CHintSample* hintSample) {
  if (group.empty()) return MP4_BAD_ARGUMENT;
  CPacketLayer layer(stream, hintSample);
  KT_TRY(layer.StartPacket());
  for (const MediaSample& sample : group) {
    const u64 coded = u64{sample.size} + sample.size / kLengthByte + 1;
    if (coded > stream->maxPacketSize) return MP4_NOT_READY;
    if (!layer.Fits(coded)) KT_TRY(layer.StartPacket());
    KT_TRY(AddPayloadLength(&layer, sample.size));
    KT_TRY(layer.AddSample(sample));
  }
  return layer.Mark();
}

Mp4Result RefuseFragments(RtpStream* /*stream*/, const MediaSample& /*sample*/, CHintSample* /*hintSample*/) {
  return MP4_NOT_READY;
}

}  // namespace

const PayloadFormat kAacPayload{BuildAacGroup, BuildAacFragments};
const PayloadFormat kVideoPayload{BuildVideoGroup, BuildPlainFragments};
const PayloadFormat kLatmPayload{BuildLatmGroup, RefuseFragments};
const PayloadFormat kCaptionPayload{BuildCaptionGroup, BuildPlainFragments};

}  // namespace kt

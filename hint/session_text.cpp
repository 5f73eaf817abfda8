#include "hint/session_text.h"

#include <algorithm>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <limits>
#include <new>

#include "hint/bit_writer.h"

namespace kt {
namespace {

using Bytes = std::span<const u8>;

__attribute__((format(printf, 2, 3))) Mp4Result Format(SessionText* text, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  va_end(arguments);
  if (length < 0) return MP4_NO_MEMORY;
  const std::size_t size = static_cast<std::size_t>(length) + 1;
  text->reset(new (std::nothrow) char[size]);
  if (!*text) return MP4_NO_MEMORY;
  va_start(arguments, format);
  static_cast<void>(std::vsnprintf(text->get(), size, format, arguments));
  va_end(arguments);
  return MP4_OK;
}

Mp4Result FormatHex(Bytes bytes, SessionText* text) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  text->reset(new (std::nothrow) char[bytes.size() * 2 + 1]);
  if (!*text) return MP4_NO_MEMORY;
  char* out = text->get();
  for (const u8 byte : bytes) {
    *out++ = kDigits[byte >> 4];
    *out++ = kDigits[byte & 15];
  }
  *out = '\0';
  return MP4_OK;
}

// Four decimals behind a point, as the grammar has it whatever the locale prints.
class SecondsText {
 public:
  explicit SecondsText(double seconds) {
    const auto made = std::to_chars(m_text, m_text + sizeof m_text - 1, seconds, std::chars_format::fixed, 4);
    *(made.ec == std::errc() ? made.ptr : m_text) = '\0';
  }
  const char* Get() const { return m_text; }

 private:
  char m_text[std::numeric_limits<double>::max_exponent10 + 16];
};

// Any of the low three bits of the first byte counts as the mark of an escaped sampling frequency, not all of
// them as in ISO/IEC 14496-3, 1.6.2.1: receivers get the number of channels that comes of it.
u32 AacChannels(Bytes config) {
  if (config.size() < 2) return 2;
  const bool isEscaped = config.size() > 4 && (config[0] & 7) != 0 && (config[1] & 0x80) != 0;
  return config[isEscaped ? 4 : 1] >> 3 & 15u;
}

constexpr std::size_t kMuxConfigSize = 16;

// ISO/IEC 14496-3, 1.7.3.2. What does not fit is left out, group by group.
std::size_t MakeStreamMuxConfig(u32 maxSamplesPerPacket, Bytes audioConfig, u8 (&config)[kMuxConfigSize]) {
  CBitWriter writer;
  writer.Open(config, kMuxConfigSize);
  const auto write = [&writer](u32 value, u32 count) {
    static_cast<void>(writer.WriteBits(static_cast<u8>(value), count));
  };
  write(0, 1);                        // audioMuxVersion
  write(1, 1);                        // allStreamsSameTimeFraming
  write(maxSamplesPerPacket - 1, 6);  // numSubFrames
  write(0, 4);                        // numProgram
  write(0, 3);                        // numLayer
  for (const u8 byte : audioConfig) write(byte, 8);
  write(0, 3);    // frameLengthType
  write(255, 8);  // latmBufferFullness
  write(0, 1);    // otherDataPresent
  write(0, 1);    // crcCheckPresent
  return (writer.GetBitPosition() + 7) / 8;
}

// The byte behind a visual object sequence start code, 1 where there is none. ISO/IEC 14496-2, 6.2.2.
u32 VisualProfileLevel(Bytes config) {
  constexpr u8 kStartCode[] = {0x00, 0x00, 0x01, 0xB0};
  if (config.size() <= sizeof kStartCode) return 1;
  return std::equal(std::begin(kStartCode), std::end(kStartCode), config.begin()) ? config[4] : 1;
}

u32 KilobitsPerSecond(const StreamFacts& facts) {
  return facts.maxBitrate >> 10;
}

}  // namespace

Mp4Result FormatAacBlock(const StreamFacts& facts, const DecoderInfo& info, SessionText* text) {
  const Bytes config = info.value_or(Bytes());
  SessionText hex;
  KT_TRY(FormatHex(config, &hex));
  return Format(text,
                "m=audio 0 RTP/AVP %u\r\n"
                "b=AS:%u\r\n"
                "a=rtpmap:%u mpeg4-generic/%u/%u\r\n"
                "a=control:trackID=%u\r\n"
                "a=mpeg4-esid:%u\r\n"
                "a=fmtp:%u profile-level-id=15;mode=AAC-hbr;sizelength=13;indexlength=3;indexdeltalength=3;"
                "config=%s\r\n",
                facts.payloadType, KilobitsPerSecond(facts), facts.payloadType, facts.rtpTimeScale,
                AacChannels(config), facts.hintTrackId, facts.trackNumber, facts.payloadType, hex.get());
}

Mp4Result FormatLatmBlock(const StreamFacts& facts, u32 maxSamplesPerPacket, const DecoderInfo& info,
                          SessionText* text) {
  u8 config[kMuxConfigSize];
  const std::size_t size = info ? MakeStreamMuxConfig(maxSamplesPerPacket, *info, config) : 0;
  SessionText hex;
  KT_TRY(FormatHex(Bytes(config, size), &hex));
  return Format(text,
                "m=audio 0 RTP/AVP %u\r\n"
                "b=AS:%u\r\n"
                "a=rtpmap:%u MP4A-LATM/%u/1\r\n"
                "a=range:npt=0-%s\r\n"
                "a=control:trackID=%u\r\n"
                "a=mpeg4-esid:%u\r\n"
                "a=fmtp:%u profile-level-id=15;object=2;cpresent=0;config=%s\r\n",
                facts.payloadType, KilobitsPerSecond(facts), facts.payloadType, facts.rtpTimeScale,
                SecondsText(facts.durationSeconds).Get(), facts.hintTrackId, facts.trackNumber,
                facts.payloadType, hex.get());
}

// Receivers find the height in front of the width, and the stream's number behind its format.
Mp4Result FormatVideoBlock(const StreamFacts& facts, i16 width, i16 height, const DecoderInfo& info,
                           SessionText* text) {
  const Bytes config = info.value_or(Bytes());
  SessionText hex;
  KT_TRY(FormatHex(config, &hex));
  return Format(text,
                "m=video 0 RTP/AVP %u\r\n"
                "b=AS:%u\r\n"
                "a=rtpmap:%u MP4V-ES/%u\r\n"
                "a=range:npt=0-%s\r\n"
                "a=control:trackID=%u\r\n"
                "a=cliprect:0,0,%d,%d\r\n"
                "a=fmtp:%u profile-level-id=%u;config=%s\r\n"
                "a=mpeg4-esid:%u\r\n",
                facts.payloadType, KilobitsPerSecond(facts), facts.payloadType, facts.rtpTimeScale,
                SecondsText(facts.durationSeconds).Get(), facts.hintTrackId, height, width, facts.payloadType,
                VisualProfileLevel(config), hex.get(), facts.trackNumber);
}

Mp4Result FormatCaptionBlock(const StreamFacts& facts, SessionText* text) {
  return Format(text,
                "m=text 0 RTP/AVP %u\r\n"
                "b=AS:%u\r\n"
                "a=rtpmap:%u 608B/%u\r\n"
                "a=control:trackID=%u\r\n"
                "a=fmtp:%u AUP=2;config=0\r\n",
                facts.payloadType, KilobitsPerSecond(facts), facts.payloadType, facts.rtpTimeScale,
                facts.hintTrackId, facts.payloadType);
}

Mp4Result FormatDataUrl(const char* mediaType, const char* base64, SessionText* text) {
  return Format(text, "data:application/%s;base64,%s", mediaType, base64);
}

Mp4Result FormatMovieBlock(const char* initialObjectDescriptor, SessionText* text) {
  return Format(text,
                "a=control:*\r\n"
                "a=isma-compliance:1,1.0,1\r\n"
                "a=mpeg4-iod: \"data:application/mpeg4-iod;base64,%s\"\r\n",
                initialObjectDescriptor);
}

}  // namespace kt

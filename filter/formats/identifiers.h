#pragma once

#include <ktmp4/types.h>

namespace kt {

/// A globally unique identifier in the memory layout of the platform's `GUID`, so that one can be copied over
/// the other. The names below are those of the platform's headers where it has them; as they live in this
/// namespace, a Windows build can include both.
struct Guid {
  u32 data1 = 0;
  u16 data2 = 0;
  u16 data3 = 0;
  u8 data4[8] = {};

  bool operator==(const Guid&) const = default;
};

/// Media subtypes of the samples that the pins deliver. The stamped ones put 16 bytes of times ahead of each
/// sample.
inline constexpr Guid MEDIASUBTYPE_KtMp4Video = {
    0x4b936acb, 0xa13a, 0x4bb7, {0x9c, 0x13, 0x1b, 0xe3, 0xe1, 0x95, 0xa3, 0xa9}};
inline constexpr Guid MEDIASUBTYPE_KtMp4VideoStamped = {
    0x5b56d203, 0xbcfd, 0x4897, {0xb3, 0xb5, 0x91, 0x13, 0x2d, 0xd0, 0xe8, 0x25}};
inline constexpr Guid MEDIASUBTYPE_KtMp4Audio = {
    0x86c426a8, 0xb961, 0x4701, {0x9f, 0xeb, 0x70, 0x7e, 0x0e, 0x88, 0xa1, 0xc3}};
inline constexpr Guid MEDIASUBTYPE_KtMp4AudioStamped = {
    0x99baa45a, 0x7b46, 0x4548, {0x96, 0xf0, 0x30, 0x21, 0x3b, 0xd1, 0x04, 0xf2}};
inline constexpr Guid MEDIASUBTYPE_KtH263 = {
    0x7dca46f1, 0x0e3a, 0x41c4, {0x89, 0x07, 0x86, 0x42, 0x36, 0xaa, 0x0e, 0x24}};
inline constexpr Guid MEDIASUBTYPE_KtH263Stamped = {
    0x6a0a40f2, 0xc9f0, 0x4751, {0xbd, 0x2c, 0x19, 0xeb, 0x08, 0xd9, 0x15, 0x2c}};
inline constexpr Guid MEDIASUBTYPE_KtAmr = {
    0x1829d70c, 0x27f9, 0x4d60, {0xa7, 0x92, 0xc4, 0x45, 0x24, 0x12, 0x8a, 0x1d}};
inline constexpr Guid MEDIASUBTYPE_KtAmrStamped = {
    0x2c7e00d7, 0xc51c, 0x42cf, {0xaa, 0x6b, 0xa3, 0xed, 0xc1, 0xc0, 0xe2, 0x2e}};

/// Format block of the video types: a VIDEOINFOHEADER, the media time scale and the decoder specific info.
inline constexpr Guid FORMAT_KtMp4Video = {
    0x615e9085, 0x099b, 0x47f5, {0xae, 0xf7, 0x13, 0xcc, 0xa2, 0x7f, 0xc0, 0x16}};

/// The identifier that the platform builds on a four-character code; the code stands in it in file order.
constexpr Guid FourCcGuid(u32 code) {
  const u32 swapped = code >> 24 | (code >> 8 & 0xFF00) | (code << 8 & 0xFF0000) | code << 24;
  return {swapped, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xaa, 0x00, 0x38, 0x9b, 0x71}};
}
constexpr Guid FourCcGuid(const char (&text)[5]) {
  return FourCcGuid(FourCc(text));
}

/// The identifier that the platform builds on a tag of WAVEFORMATEX.
constexpr Guid WaveTagGuid(u16 tag) {
  return {tag, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xaa, 0x00, 0x38, 0x9b, 0x71}};
}

/// The platform's own.
inline constexpr Guid GUID_NULL = {};
inline constexpr Guid MEDIATYPE_Video = FourCcGuid("vids");
inline constexpr Guid MEDIATYPE_Audio = FourCcGuid("auds");
inline constexpr Guid MEDIATYPE_Text = FourCcGuid("txts");
inline constexpr Guid MEDIATYPE_AUXLine21Data = {
    0x670aea80, 0x3a82, 0x11d0, {0xb7, 0x9b, 0x00, 0xaa, 0x00, 0x37, 0x67, 0xa7}};
inline constexpr Guid MEDIASUBTYPE_Line21_BytePair = {
    0x6e8d4a22, 0x310c, 0x11d0, {0xb7, 0x9a, 0x00, 0xaa, 0x00, 0x37, 0x67, 0xa7}};
inline constexpr Guid MEDIASUBTYPE_RAW_AAC1 = WaveTagGuid(0x00FF);
inline constexpr Guid MEDIASUBTYPE_MPEG_HEAAC = WaveTagGuid(0x1610);
inline constexpr Guid MEDIASUBTYPE_MP3 = WaveTagGuid(0x0055);
inline constexpr Guid FORMAT_VideoInfo = {
    0x05589f80, 0xc356, 0x11ce, {0xbf, 0x01, 0x00, 0xaa, 0x00, 0x55, 0x59, 0x5a}};
inline constexpr Guid FORMAT_VideoInfo2 = {
    0xf72a76a0, 0xeb0a, 0x11d0, {0xac, 0xe4, 0x00, 0x00, 0xc0, 0xcc, 0x16, 0xba}};
inline constexpr Guid FORMAT_MPEG2Video = {
    0xe06d80e3, 0xdb46, 0x11cf, {0xb4, 0xd1, 0x00, 0x80, 0x5f, 0x6c, 0xbb, 0xea}};
inline constexpr Guid FORMAT_WaveFormatEx = {
    0x05589f81, 0xc356, 0x11ce, {0xbf, 0x01, 0x00, 0xaa, 0x00, 0x55, 0x59, 0x5a}};
/// Positions in 100 ns units.
inline constexpr Guid TIME_FORMAT_MEDIA_TIME = {
    0x7b785574, 0x8c82, 0x11cf, {0xbc, 0x0c, 0x00, 0xaa, 0x00, 0xac, 0x74, 0xf6}};

/// True for the four subtypes whose samples begin with a header of times.
constexpr bool IsStampedSubtype(const Guid& subtype) {
  return subtype == MEDIASUBTYPE_KtMp4VideoStamped || subtype == MEDIASUBTYPE_KtMp4AudioStamped ||
         subtype == MEDIASUBTYPE_KtH263Stamped || subtype == MEDIASUBTYPE_KtAmrStamped;
}

}  // namespace kt

#include "wine/library_decoder.h"

#include <strmif.h>

#include <amvideo.h>
#include <dvdmedia.h>
#include <mmreg.h>
#include <uuids.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "filter/formats/format_block.h"

namespace kt {
namespace {

constexpr u32 kRawAac = 0xFF, kAacWithPayload = 0x1610, kMp3 = 0x55, kOpus = 0x704F;
// What a picture takes is worked out in numbers of 32 bits.
constexpr LONG kLongestSide = 16384;
constexpr DWORD kHighestRate = 768'000;
constexpr WORD kMostChannels = 8;

/// The platform builds subtypes on the tags of sound formats, and in the same way on four characters.
GUID Subtype(u32 tag) {
  return {tag, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xaa, 0x00, 0x38, 0x9b, 0x71}};
}
GUID Subtype(const char* code) {
  u32 tag = 0;
  std::memcpy(&tag, code, sizeof tag);
  return Subtype(tag);
}

/// Calls a function of decoder.c; without the library nothing is open.
template <class Result, class... Arguments>
Result Call(const char* name, Arguments... arguments) {
  static const HMODULE library = LoadLibraryA(KTMP4_DECODER_LIBRARY);
  void* const function =
      library != nullptr ? reinterpret_cast<void*>(GetProcAddress(library, name)) : nullptr;
  if (function == nullptr) return Result();
  return reinterpret_cast<Result (*)(Arguments...)>(function)(arguments...);
}

/// The structure that a format block begins with; zero where the block is shorter.
template <class Header>
Header HeaderOf(const AM_MEDIA_TYPE& type) {
  Header header = {};
  if (type.cbFormat > 0)
    std::memcpy(&header, type.pbFormat, std::min<std::size_t>(sizeof header, type.cbFormat));
  return header;
}

std::vector<u8> BytesFrom(const AM_MEDIA_TYPE& type, std::size_t offset) {
  return {type.pbFormat + std::min<std::size_t>(offset, type.cbFormat), type.pbFormat + type.cbFormat};
}

/// Units of H.264 behind start codes, by which libavcodec knows them without a set-up of its own form.
std::vector<u8> WithStartCodes(std::span<const u8> units, std::size_t lengthBytes) {
  std::vector<u8> all;
  while (units.size() > lengthBytes) {
    std::size_t size = 0;
    for (const u8 byte : units.first(lengthBytes)) size = size << 8 | byte;
    units = units.subspan(lengthBytes);
    const auto unit = units.first(std::min(size, units.size()));
    all.insert(all.end(), {0, 0, 0, 1});
    all.insert(all.end(), unit.begin(), unit.end());
    units = units.subspan(unit.size());
  }
  return all;
}

template <class Header>
std::optional<DecoderSetUp> PictureSetUp(const AM_MEDIA_TYPE& type) {
  const BITMAPINFOHEADER header = HeaderOf<Header>(type).bmiHeader;
  // Decoders that look into the header alone go by these.
  if (header.biSize != sizeof header || header.biCompression != type.subtype.Data1) return std::nullopt;
  const bool isPicture = header.biWidth > 0 && header.biHeight > 0 && header.biWidth <= kLongestSide &&
                         header.biHeight <= kLongestSide;
  if (!isPicture) return std::nullopt;
  return DecoderSetUp{.info = BytesFrom(type, sizeof(Header)),
                      .width = static_cast<int>(header.biWidth),
                      .height = static_cast<int>(header.biHeight)};
}

/// The header that both picture headers and the sequence header stand behind.
std::optional<DecoderSetUp> SequenceSetUp(const AM_MEDIA_TYPE& type, bool hasRecord) {
  auto setUp = PictureSetUp<VIDEOINFOHEADER2>(type);
  if (!setUp) return setUp;
  setUp->info = BytesFrom(type, offsetof(MPEG2VIDEOINFO, dwSequenceHeader));
  if (hasRecord) return setUp;
  setUp->info = WithStartCodes(setUp->info, 2);
  setUp->lengthBytes = HeaderOf<MPEG2VIDEOINFO>(type).dwFlags;
  const bool isLength = setUp->lengthBytes >= 1 && setUp->lengthBytes <= 4;
  return isLength ? setUp : std::nullopt;
}

std::optional<DecoderSetUp> SoundSetUp(const AM_MEDIA_TYPE& type) {
  const auto header = HeaderOf<WAVEFORMATEX>(type);
  // Of four characters the first two take the place of the tag.
  if (header.wFormatTag != (type.subtype.Data1 & 0xFFFF)) return std::nullopt;
  if (sizeof header + header.cbSize != type.cbFormat) return std::nullopt;
  const bool isSound = header.nChannels > 0 && header.nChannels <= kMostChannels &&
                       header.nSamplesPerSec > 0 && header.nSamplesPerSec <= kHighestRate;
  if (!isSound) return std::nullopt;
  // Twelve bytes about the payload, or what is said of MP3, stand between.
  const std::size_t between = header.wFormatTag == kAacWithPayload ? 12
                              : header.wFormatTag == kMp3          ? header.cbSize
                                                                   : 0;
  return DecoderSetUp{.info = BytesFrom(type, sizeof header + between),
                      .rate = static_cast<int>(header.nSamplesPerSec),
                      .channels = header.nChannels};
}

CMediaType TypeOf(const GUID& major, const GUID& subtype, const GUID& format, const std::vector<u8>& block,
                  u32 sampleSize) {
  CMediaType type;
  type.majortype = major;
  type.subtype = subtype;
  type.formattype = format;
  type.bFixedSizeSamples = TRUE;
  type.lSampleSize = sampleSize;
  type.SetFormat(block.data(), static_cast<ULONG>(block.size()));
  return type;
}

}  // namespace

std::span<const DecodedType> DecodedTypes() {
  using enum TakenTypes;
  static const DecodedType types[] = {
      {::MEDIATYPE_Video, Subtype("MP4V"), ::FORMAT_VideoInfo, "mpeg4", First},
      {::MEDIATYPE_Video, Subtype("mp4v"), ::FORMAT_VideoInfo2, "mpeg4", Further},
      {::MEDIATYPE_Video, Subtype("H263"), ::FORMAT_VideoInfo, "h263", First},
      {::MEDIATYPE_Video, Subtype("s263"), ::FORMAT_VideoInfo, "h263", Further},
      {::MEDIATYPE_Video, Subtype("AVC1"), ::FORMAT_MPEG2Video, "h264", First},
      {::MEDIATYPE_Video, Subtype("avc1"), ::FORMAT_MPEG2Video, "h264", Further},
      {::MEDIATYPE_Video, Subtype("HVC1"), ::FORMAT_MPEG2Video, "hevc", First},
      {::MEDIATYPE_Video, Subtype("hvc1"), ::FORMAT_MPEG2Video, "hevc", Further},
      {::MEDIATYPE_Audio, Subtype(kRawAac), ::FORMAT_WaveFormatEx, "aac", First},
      {::MEDIATYPE_Audio, Subtype(kAacWithPayload), ::FORMAT_WaveFormatEx, "aac", Further},
      {::MEDIATYPE_Audio, Subtype(kMp3), ::FORMAT_WaveFormatEx, "mp3float", First},
      {::MEDIATYPE_Audio, Subtype(kOpus), ::FORMAT_WaveFormatEx, "opus", First},
      {::MEDIATYPE_Audio, Subtype("samr"), ::FORMAT_WaveFormatEx, "amrnb", Both},
      {::MEDIATYPE_Audio, Subtype("sawb"), ::FORMAT_WaveFormatEx, "amrwb", Both},
  };
  return types;
}

std::optional<DecoderSetUp> SetUpOf(const AM_MEDIA_TYPE& type) {
  const auto types = DecodedTypes();
  const auto found = std::ranges::find_if(types, [&](const DecodedType& each) {
    return each.majorType == type.majortype && each.subtype == type.subtype;
  });
  if (found == types.end() || type.formattype != found->format) return std::nullopt;
  auto setUp = found->format == ::FORMAT_WaveFormatEx ? SoundSetUp(type)
               : found->format == ::FORMAT_VideoInfo  ? PictureSetUp<VIDEOINFOHEADER>(type)
               : found->format == ::FORMAT_VideoInfo2
                   ? PictureSetUp<VIDEOINFOHEADER2>(type)
                   : SequenceSetUp(type, std::strcmp(found->codec, "hevc") == 0);
  if (setUp) setUp->codec = found->codec;
  return setUp;
}

CMediaType ShownType(const DecoderSetUp& setUp) {
  if (setUp.width > 0) {
    const auto width = static_cast<u32>(setUp.width), height = static_cast<u32>(setUp.height);
    std::vector<u8> block = VideoInfoBlock({.width = width, .height = height}, {});
    block[offsetof(VIDEOINFOHEADER, bmiHeader.biBitCount)] = 32;
    return TypeOf(::MEDIATYPE_Video, MEDIASUBTYPE_RGB32, ::FORMAT_VideoInfo, block, width * height * 4);
  }
  SoundFacts facts = {
      .tag = WAVE_FORMAT_PCM, .channels = static_cast<u16>(setUp.channels), .bitsPerSample = 16};
  facts.sampleRate = static_cast<u32>(setUp.rate);
  facts.blockAlign = static_cast<u16>(setUp.channels * 2);
  facts.bytesPerSecond = facts.sampleRate * facts.blockAlign;
  return TypeOf(::MEDIATYPE_Audio, MEDIASUBTYPE_PCM, ::FORMAT_WaveFormatEx, WaveFormatBlock(facts, {}),
                65536);
}

std::size_t PictureSize(const DecoderSetUp& setUp) {
  const auto width = static_cast<std::size_t>(setUp.width), height = static_cast<std::size_t>(setUp.height);
  return width * height + 2 * ((width + 1) / 2) * ((height + 1) / 2);
}

void ShowPicture(const std::string& picture, const DecoderSetUp& setUp, BYTE* target) {
  const int width = setUp.width, height = setUp.height;
  const int colourWidth = (width + 1) / 2, colourSize = colourWidth * ((height + 1) / 2);
  const auto* const lights = reinterpret_cast<const u8*>(picture.data());
  const u8* const blues = lights + static_cast<std::ptrdiff_t>(width) * height;
  const auto level = [](int value) { return static_cast<BYTE>(std::clamp(value >> 8, 0, 255)); };
  for (int line = height; line-- > 0;) {
    const u8* light = lights + static_cast<std::ptrdiff_t>(line) * width;
    const u8* const blue = blues + static_cast<std::ptrdiff_t>(line / 2) * colourWidth;
    for (int column = 0; column < width; ++column, target += 4) {
      const int grey = 298 * (*light++ - 16) + 128;
      const int u = blue[column / 2] - 128, v = blue[column / 2 + colourSize] - 128;
      target[0] = level(grey + 516 * u);
      target[1] = level(grey - 100 * u - 208 * v);
      target[2] = level(grey + 409 * v);
      target[3] = 0;
    }
  }
}

void Decoder::Close::operator()(LibraryDecoder* decoder) const {
  Call<void>("KtDecoderClose", decoder);
}

Decoder::Decoder(const DecoderSetUp& setUp) : m_lengthBytes(setUp.lengthBytes) {
  m_decoder.reset(Call<LibraryDecoder*>("KtDecoderOpen", setUp.codec.c_str(), setUp.info.data(),
                                        static_cast<int>(setUp.info.size()), setUp.rate, setUp.channels));
}

std::optional<std::vector<Decoded>> Decoder::Decode(std::span<const u8> sample, i64 time) {
  if (!m_decoder) return std::nullopt;
  const std::vector<u8> units =
      m_lengthBytes > 0 ? WithStartCodes(sample, m_lengthBytes) : std::vector(sample.begin(), sample.end());
  const int sent = Call<int>("KtDecoderSend", m_decoder.get(), units.empty() ? nullptr : units.data(),
                             static_cast<int>(units.size()), time);
  if (sent < 0) return std::nullopt;
  std::vector<Decoded> all;
  const char* bytes = nullptr;
  i64 shown = 0;
  while (const int size = Call<int>("KtDecoderReceive", m_decoder.get(), &bytes, &shown)) {
    all.push_back({shown, size > 0 ? std::string(bytes, static_cast<std::size_t>(size)) : std::string()});
  }
  return all;
}

}  // namespace kt

#include "filter/platform/decoder.h"

#include <amvideo.h>
#include <dvdmedia.h>
#include <gtest/gtest.h>
#include <mmreg.h>
#include <uuids.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "filter/formats/format_block.h"

namespace kt::test {
namespace {

/// Calls a function of winelib/decoder.c.
template <class Result, class... Arguments>
Result Call(const char* name, Arguments... arguments) {
  static const HMODULE library = LoadLibraryA(KTMP4_DECODER_LIBRARY);
  void* const function = reinterpret_cast<void*>(GetProcAddress(library, name));
  EXPECT_TRUE(library != nullptr && function != nullptr) << name << " of " << KTMP4_DECODER_LIBRARY;
  return reinterpret_cast<Result (*)(Arguments...)>(function)(arguments...);
}

/// The platform builds subtypes on the tags of sound formats, and in the same way on four characters.
GUID Subtype(u32 tag) {
  return {tag, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xaa, 0x00, 0x38, 0x9b, 0x71}};
}
GUID Subtype(const char* code) {
  u32 tag = 0;
  std::memcpy(&tag, code, sizeof tag);
  return Subtype(tag);
}

using enum TakenTypes;
constexpr u32 kRawAac = 0xFF, kAacWithPayload = 0x1610;

struct Coding {
  GUID subtype;
  const char* codec;
  const GUID& majorType;
  const GUID& format;
  std::vector<TakenTypes> taken;
};

const Coding kCodings[] = {
    {Subtype("MP4V"), "mpeg4", ::MEDIATYPE_Video, ::FORMAT_VideoInfo, {First}},
    {Subtype("mp4v"), "mpeg4", ::MEDIATYPE_Video, ::FORMAT_VideoInfo2, {Further}},
    {Subtype("H263"), "h263", ::MEDIATYPE_Video, ::FORMAT_VideoInfo, {First}},
    {Subtype("s263"), "h263", ::MEDIATYPE_Video, ::FORMAT_VideoInfo, {Further}},
    {Subtype("AVC1"), "h264", ::MEDIATYPE_Video, ::FORMAT_MPEG2Video, {First}},
    {Subtype("avc1"), "h264", ::MEDIATYPE_Video, ::FORMAT_MPEG2Video, {Further}},
    {Subtype(kRawAac), "aac", ::MEDIATYPE_Audio, ::FORMAT_WaveFormatEx, {First}},
    {Subtype(kAacWithPayload), "aac", ::MEDIATYPE_Audio, ::FORMAT_WaveFormatEx, {Further}},
    {Subtype("samr"), "amrnb", ::MEDIATYPE_Audio, ::FORMAT_WaveFormatEx, {First, Further}},
    {Subtype("sawb"), "amrwb", ::MEDIATYPE_Audio, ::FORMAT_WaveFormatEx, {First, Further}},
};

/// The structure that a format block begins with; zero where the block is shorter.
template <class Header>
Header HeaderOf(const AM_MEDIA_TYPE& type) {
  Header header = {};
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
DecoderSetUp PictureSetUp(const AM_MEDIA_TYPE& type) {
  const BITMAPINFOHEADER header = HeaderOf<Header>(type).bmiHeader;
  // Decoders that look into the header alone go by these.
  EXPECT_EQ(header.biSize, sizeof header);
  EXPECT_EQ(header.biCompression, type.subtype.Data1);
  return {.info = BytesFrom(type, sizeof(Header)),
          .width = static_cast<int>(header.biWidth),
          .height = static_cast<int>(header.biHeight)};
}

DecoderSetUp SoundSetUp(const AM_MEDIA_TYPE& type) {
  const auto header = HeaderOf<WAVEFORMATEX>(type);
  EXPECT_EQ(header.wFormatTag, type.subtype.Data1 & 0xFFFF);
  EXPECT_EQ(sizeof header + header.cbSize, type.cbFormat);
  // Twelve bytes about the payload may stand between.
  return {.info = BytesFrom(type, sizeof header + (header.wFormatTag == kAacWithPayload ? 12 : 0)),
          .rate = static_cast<int>(header.nSamplesPerSec),
          .channels = header.nChannels};
}

DecoderSetUp SetUpOf(const AM_MEDIA_TYPE& type) {
  const Coding& coding = *std::ranges::find(kCodings, type.subtype, &Coding::subtype);
  if (type.formattype != coding.format) return {};
  DecoderSetUp setUp = coding.format == ::FORMAT_WaveFormatEx ? SoundSetUp(type)
                       : coding.format == ::FORMAT_VideoInfo  ? PictureSetUp<VIDEOINFOHEADER>(type)
                                                              : PictureSetUp<VIDEOINFOHEADER2>(type);
  if (coding.format == ::FORMAT_MPEG2Video) {
    setUp.info = WithStartCodes(BytesFrom(type, offsetof(MPEG2VIDEOINFO, dwSequenceHeader)), 2);
    setUp.lengthBytes = HeaderOf<MPEG2VIDEOINFO>(type).dwFlags;
  }
  setUp.codec = coding.codec;
  return setUp;
}

CMediaType TypeOf(const GUID& major, const GUID& subtype, const GUID& format, const std::vector<u8>& block,
                  int sampleSize) {
  CMediaType type = PlainType(major, subtype);
  type.formattype = format;
  type.lSampleSize = static_cast<ULONG>(sampleSize);
  type.SetFormat(block.data(), static_cast<ULONG>(block.size()));
  return type;
}

/// What the platform's renderers take: pictures in 32 bits, the lowest line first, and sound in 16.
CMediaType OutputTypeOf(const DecoderSetUp& setUp) {
  const auto width = static_cast<u32>(setUp.width), height = static_cast<u32>(setUp.height);
  if (width > 0) {
    std::vector<u8> block = VideoInfoBlock({.width = width, .height = height}, {});
    block[offsetof(VIDEOINFOHEADER, bmiHeader.biBitCount)] = 32;
    return TypeOf(::MEDIATYPE_Video, MEDIASUBTYPE_RGB32, ::FORMAT_VideoInfo, block,
                  setUp.width * setUp.height * 4);
  }
  SoundFacts facts = {
      .tag = WAVE_FORMAT_PCM, .channels = static_cast<u16>(setUp.channels), .bitsPerSample = 16};
  facts.sampleRate = static_cast<u32>(setUp.rate);
  facts.blockAlign = static_cast<u16>(setUp.channels * 2);
  facts.bytesPerSecond = facts.sampleRate * facts.blockAlign;
  return TypeOf(::MEDIATYPE_Audio, MEDIASUBTYPE_PCM, ::FORMAT_WaveFormatEx, WaveFormatBlock(facts, {}),
                65536);
}

/// ITU-R BT.601.
void Show(const std::string& picture, int width, int height, BYTE* target) {
  const auto* const lights = reinterpret_cast<const u8*>(picture.data());
  const u8* const colours = lights + width * height;
  const auto level = [](int value) { return static_cast<BYTE>(std::clamp(value >> 8, 0, 255)); };
  for (int line = height; line-- > 0;) {
    for (int column = 0; column < width; ++column, target += 4) {
      const u8* const blue = colours + line / 2 * (width / 2) + column / 2;
      const int light = 298 * (lights[line * width + column] - 16) + 128;
      const int u = *blue - 128, v = blue[width * height / 4] - 128;
      target[0] = level(light + 516 * u);
      target[1] = level(light - 100 * u - 208 * v);
      target[2] = level(light + 409 * v);
    }
  }
}

class DecodingWork final : public StandInWork {
 public:
  explicit DecodingWork(std::shared_ptr<DecodedStream> stream) : m_stream(std::move(stream)) {}

  std::optional<CMediaType> OutputType(const AM_MEDIA_TYPE& input) override {
    m_setUp = m_stream->setUp = SetUpOf(input);
    m_decoder.emplace(m_setUp);
    if (!m_decoder->IsOpen()) return std::nullopt;
    return OutputTypeOf(m_setUp);
  }
  HRESULT Receive(IMediaSample* sample, CBaseOutputPin& output) override {
    BYTE* bytes = nullptr;
    REFERENCE_TIME start = 0, stop = 0;
    sample->GetPointer(&bytes);
    EXPECT_EQ(sample->GetTime(&start, &stop), S_OK);
    EXPECT_LT(start, stop);
    return Pass({bytes, static_cast<std::size_t>(sample->GetActualDataLength())}, start, output);
  }
  void EndOfStream(CBaseOutputPin& output) override {
    Pass({}, 0, output);
    Flush();
  }
  // A new decoder, so that what comes depends on what is sent alone: a flushed one keeps more than it has to.
  void Flush() override { m_decoder.emplace(m_setUp); }

 private:
  HRESULT Pass(std::span<const u8> bytes, i64 time, CBaseOutputPin& output) {
    HRESULT result = S_OK;
    for (const Decoded& next : m_decoder->Decode(bytes, time)) {
      if (result == S_OK && next.time >= 0) result = Deliver(next, output);
      m_stream->decoded.push_back(next);
    }
    return result;
  }
  HRESULT Deliver(const Decoded& decoded, CBaseOutputPin& output) const {
    ComPointer<IMediaSample> sample;
    const HRESULT result = output.GetDeliveryBuffer(sample.Put());
    if (FAILED(result)) return result;
    BYTE* target = nullptr;
    sample->GetPointer(&target);
    const int size = static_cast<int>(decoded.bytes.size());
    REFERENCE_TIME start = decoded.time, stop = start + 400'000;
    if (m_setUp.width > 0) {
      EXPECT_EQ(size, m_setUp.width * m_setUp.height * 3 / 2);
      Show(decoded.bytes, m_setUp.width, m_setUp.height, target);
    } else {
      EXPECT_LE(size, sample->GetSize());
      std::memcpy(target, decoded.bytes.data(), decoded.bytes.size());
      sample->SetActualDataLength(size);
      stop = start + i64{size} * 10'000'000 / (m_setUp.channels * 2) / m_setUp.rate;
    }
    sample->SetTime(&start, &stop);
    sample->SetSyncPoint(TRUE);
    return output.Deliver(sample.Get());
  }

  const std::shared_ptr<DecodedStream> m_stream;
  DecoderSetUp m_setUp;
  std::optional<Decoder> m_decoder;
};

}  // namespace

void Decoder::Close::operator()(LibraryDecoder* decoder) const {
  Call<void>("KtDecoderClose", decoder);
}

Decoder::Decoder(const DecoderSetUp& setUp) : m_lengthBytes(setUp.lengthBytes) {
  m_decoder.reset(Call<LibraryDecoder*>("KtDecoderOpen", setUp.codec.c_str(), setUp.info.data(),
                                        static_cast<int>(setUp.info.size()), setUp.rate, setUp.channels));
}

std::vector<Decoded> Decoder::Decode(std::span<const u8> sample, i64 time) {
  const std::vector<u8> units =
      m_lengthBytes > 0 ? WithStartCodes(sample, m_lengthBytes) : std::vector(sample.begin(), sample.end());
  EXPECT_GE(Call<int>("KtDecoderSend", m_decoder.get(), units.empty() ? nullptr : units.data(),
                      static_cast<int>(units.size()), time),
            0);
  std::vector<Decoded> all;
  const char* bytes = nullptr;
  i64 shown = 0;
  while (const int size = Call<int>("KtDecoderReceive", m_decoder.get(), &bytes, &shown)) {
    all.push_back({shown, std::string(bytes, static_cast<std::size_t>(std::max(size, 0)))});
  }
  return all;
}

StandInScript DecodingStandIn(const GUID& majorType, TakenTypes taken,
                              std::shared_ptr<DecodedStream> stream) {
  StandInPin input{PINDIR_INPUT, {}};
  for (const Coding& coding : kCodings) {
    if (coding.majorType == majorType && std::ranges::count(coding.taken, taken) > 0) {
      input.types.push_back(PlainType(majorType, coding.subtype));
    }
  }
  StandInScript script;
  script.pins = {input, {PINDIR_OUTPUT, {PlainType(majorType, ::GUID_NULL)}}};
  script.work = [stream] { return std::make_unique<DecodingWork>(stream); };
  return script;
}

}  // namespace kt::test

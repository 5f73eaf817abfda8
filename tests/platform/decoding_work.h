#pragma once

#include <strmif.h>

#include <amvideo.h>
#include <gtest/gtest.h>
#include <uuids.h>

#include <algorithm>
#include <cstring>
#include <set>
#include <span>

#include "engine/types.h"
#include "filter/platform/ktmp4source.h"
#include "platform/stand_in.h"

namespace kt::test {

/// Which decoder; the numbers are those of winelib/picture_decoder.c.
enum class Coding : int { Mpeg4 = 1, Aac = 2 };

/// What a decoder has put out: pictures in I420, pieces of sound in 16 bits. To be read once its stream has
/// ended.
using DecodedPieces = std::vector<std::vector<u8>>;

/// A picture in I420 as a renderer shows it: 32 bits, the lowest line first.
inline std::vector<u8> ToRgb32(std::span<const u8> picture, u32 width, u32 height) {
  std::vector<u8> shown;
  shown.reserve(std::size_t{width} * height * 4);
  const std::size_t plane = std::size_t{width} * height;
  for (u32 line = height; line-- > 0;) {
    for (u32 column = 0; column < width; ++column) {
      const std::size_t chroma = plane + std::size_t{line / 2} * (width / 2) + column / 2;
      const int y = 298 * (picture[std::size_t{line} * width + column] - 16);
      const int u = picture[chroma] - 128;
      const int v = picture[chroma + plane / 4] - 128;
      for (const int value : {y + 516 * u, y - 100 * u - 208 * v, y + 409 * v}) {
        shown.push_back(static_cast<u8>(std::clamp((value + 128) / 256, 0, 255)));
      }
      shown.push_back(0);
    }
  }
  return shown;
}

struct Decoder;

/// The functions of winelib/picture_decoder.c.
struct DecoderModule {
  template <class Function>
  Function* Find(const char* name) const {
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(m_module, name)));
  }

  const HMODULE m_module = LoadLibraryA(KTMP4_PICTURE_DECODER);
  Decoder* (*const m_open)(Coding, const u8*, int) = Find<Decoder*(Coding, const u8*, int)>("KtDecoderOpen");
  void (*const m_close)(Decoder*) = Find<void(Decoder*)>("KtDecoderClose");
  int (*const m_send)(Decoder*, const u8*, int) = Find<int(Decoder*, const u8*, int)>("KtDecoderSend");
  void (*const m_flush)(Decoder*) = Find<void(Decoder*)>("KtDecoderFlush");
  int (*const m_receive)(Decoder*, const u8**) = Find<int(Decoder*, const u8**)>("KtDecoderReceive");
};

inline const DecoderModule& Module() {
  static const DecoderModule module;
  return module;
}

inline u32 NumberAt(const AM_MEDIA_TYPE& type, std::size_t offset) {
  u32 number = 0;
  std::memcpy(&number, type.pbFormat + offset, sizeof number);
  return number;
}

inline CMediaType PictureType(u32 width, u32 height) {
  VIDEOINFOHEADER format = {};
  format.AvgTimePerFrame = 400'000;
  format.bmiHeader.biSize = sizeof format.bmiHeader;
  format.bmiHeader.biWidth = static_cast<LONG>(width);
  format.bmiHeader.biHeight = static_cast<LONG>(height);
  format.bmiHeader.biPlanes = 1;
  format.bmiHeader.biBitCount = 32;
  format.bmiHeader.biSizeImage = width * height * 4;
  CMediaType type = PlainType(::MEDIATYPE_Video, MEDIASUBTYPE_RGB32);
  type.formattype = FORMAT_VideoInfo;
  type.lSampleSize = format.bmiHeader.biSizeImage;
  type.SetFormat(&format, sizeof format);
  return type;
}

inline CMediaType SoundType(const WAVEFORMATEX& source) {
  const WORD align = static_cast<WORD>(source.nChannels * 2);
  const WAVEFORMATEX format = {
      WAVE_FORMAT_PCM, source.nChannels, source.nSamplesPerSec, source.nSamplesPerSec * align, align, 16, 0};
  CMediaType type = PlainType(::MEDIATYPE_Audio, MEDIASUBTYPE_PCM);
  type.formattype = ::FORMAT_WaveFormatEx;
  type.lSampleSize = 2048u * align;
  type.SetFormat(&format, sizeof format);
  return type;
}

class DecodingWork final : public StandInWork {
 public:
  DecodingWork(Coding coding, std::shared_ptr<DecodedPieces> pieces)
      : m_coding(coding), m_pieces(std::move(pieces)) {}
  ~DecodingWork() override { Module().m_close(m_decoder); }

  std::optional<CMediaType> OutputType(const AM_MEDIA_TYPE& input) override {
    // The set-up of the decoder stands behind the header of the format.
    const ULONG header = m_coding == Coding::Aac ? 18 : 104;
    if (input.cbFormat < header) return std::nullopt;
    Module().m_close(m_decoder);
    m_decoder = Module().m_open(m_coding, input.pbFormat + header, static_cast<int>(input.cbFormat - header));
    if (m_decoder == nullptr) return std::nullopt;
    if (m_coding == Coding::Aac) return SoundType(*reinterpret_cast<const WAVEFORMATEX*>(input.pbFormat));
    m_width = NumberAt(input, 52);
    m_height = NumberAt(input, 56);
    return PictureType(m_width, m_height);
  }

  HRESULT Receive(IMediaSample* sample, CBaseOutputPin& output) override {
    BYTE* bytes = nullptr;
    REFERENCE_TIME start = 0;
    REFERENCE_TIME stop = 0;
    sample->GetPointer(&bytes);
    sample->GetTime(&start, &stop);
    // Samples come in decoding order with their decoding times, pictures in the order of their display.
    m_times.insert(start);
    Module().m_send(m_decoder, bytes, static_cast<int>(sample->GetActualDataLength()));
    return DeliverReady(output);
  }

  void EndOfStream(CBaseOutputPin& output) override {
    Module().m_send(m_decoder, nullptr, 0);
    DeliverReady(output);
    Flush();
  }

  void Flush() override {
    if (m_decoder != nullptr) Module().m_flush(m_decoder);
    m_times.clear();
  }

 private:
  HRESULT DeliverReady(CBaseOutputPin& output) {
    const u8* bytes = nullptr;
    while (const int size = Module().m_receive(m_decoder, &bytes)) {
      const std::span<const u8> piece(bytes, static_cast<std::size_t>(size));
      m_pieces->emplace_back(piece.begin(), piece.end());
      ComPointer<IMediaSample> sample;
      HRESULT result = output.GetDeliveryBuffer(sample.Put());
      if (FAILED(result)) return result;
      const std::vector<u8> shown = m_coding == Coding::Aac ? std::vector<u8>(piece.begin(), piece.end())
                                                            : ToRgb32(piece, m_width, m_height);
      BYTE* target = nullptr;
      sample->GetPointer(&target);
      std::memcpy(target, shown.data(), shown.size());
      sample->SetActualDataLength(static_cast<LONG>(shown.size()));
      REFERENCE_TIME start = m_times.empty() ? 0 : *m_times.begin();
      if (!m_times.empty()) m_times.erase(m_times.begin());
      REFERENCE_TIME stop = m_times.empty() ? start + 400'000 : *m_times.begin();
      sample->SetTime(&start, &stop);
      sample->SetSyncPoint(TRUE);
      result = output.Deliver(sample.Get());
      if (result != S_OK) return result;
    }
    return S_OK;
  }

  const Coding m_coding;
  const std::shared_ptr<DecodedPieces> m_pieces;
  Decoder* m_decoder = nullptr;
  u32 m_width = 0;
  u32 m_height = 0;
  std::multiset<REFERENCE_TIME> m_times;
};

inline const GUID& SubtypeOf(Coding coding) {
  return coding == Coding::Aac ? ::MEDIASUBTYPE_KtMp4Audio : ::MEDIASUBTYPE_KtMp4Video;
}

/// A filter that really decodes one of the pins' types, with the decoders of the machine that Wine runs on.
/// What comes out goes to `pieces`, too.
inline StandInScript DecoderScript(Coding coding, std::shared_ptr<DecodedPieces> pieces) {
  const GUID& major = coding == Coding::Aac ? ::MEDIATYPE_Audio : ::MEDIATYPE_Video;
  StandInScript script;
  script.pins = {{PINDIR_INPUT, {PlainType(major, SubtypeOf(coding))}},
                 {PINDIR_OUTPUT, {PlainType(major, ::GUID_NULL)}}};
  script.work = [coding, pieces] { return std::make_unique<DecodingWork>(coding, pieces); };
  return script;
}

/// Tells the filter mapper of a decoder for as long as this lives, so that graphs find it by themselves.
class MappedDecoder {
 public:
  MappedDecoder(REFCLSID clsid, Coding coding) : m_clsid(clsid) {
    const bool isSound = coding == Coding::Aac;
    const CLSID* major = isSound ? &::MEDIATYPE_Audio : &::MEDIATYPE_Video;
    const REGPINTYPES input = {major, &SubtypeOf(coding)};
    WCHAR name[] = L"In";
    const REGFILTERPINS pin = {name, FALSE, FALSE, FALSE, FALSE, nullptr, nullptr, 1, &input};
    REGFILTER2 registered = {};
    registered.dwVersion = 1;
    registered.dwMerit = MERIT_PREFERRED;
    registered.cPins = 1;
    registered.rgPins = &pin;
    EXPECT_EQ(CoCreateInstance(CLSID_FilterMapper2, nullptr, CLSCTX_INPROC_SERVER, IID_IFilterMapper2,
                               m_mapper.PutVoid()),
              S_OK);
    EXPECT_EQ(m_mapper->RegisterFilter(m_clsid, isSound ? L"Sound Decoder" : L"Picture Decoder", nullptr,
                                       &CLSID_LegacyAmFilterCategory, nullptr, &registered),
              S_OK);
  }
  ~MappedDecoder() { m_mapper->UnregisterFilter(&CLSID_LegacyAmFilterCategory, nullptr, m_clsid); }
  MappedDecoder(const MappedDecoder&) = delete;
  MappedDecoder& operator=(const MappedDecoder&) = delete;

 private:
  const CLSID m_clsid;
  ComPointer<IFilterMapper2> m_mapper;
};

}  // namespace kt::test

// Real pictures: a pin renders itself down to a window, with libavcodec in the decoder's place. What comes
// out of that is what ffmpeg makes of the same file.

#include <strmif.h>

#include <amvideo.h>
#include <control.h>
#include <uuids.h>

#include <cstring>
#include <set>

#include "filter/platform/source_host.h"
#include "filter/platform/stand_in.h"
#include "support/movie_builder.h"

namespace kt::test {
namespace {

constexpr u32 kWidth = 176;
constexpr u32 kHeight = 144;
constexpr int kPictureSize = kWidth * kHeight * 3 / 2;
constexpr i64 kPictureLength = 400'000;
/// The set-up of the decoder stands behind the header of the format.
constexpr ULONG kFormatHeader = 104;

/// In I420.
using Pictures = std::vector<std::vector<u8>>;

/// The pictures of the file as ffmpeg decodes them, in the order of their display.
Pictures PicturesOfFfmpeg() {
  const std::vector<u8> all = ReadFile(KTMP4_DECODED_PICTURES);
  Pictures pictures;
  for (auto at = all.begin(); all.end() - at >= kPictureSize; at += kPictureSize) {
    pictures.emplace_back(at, at + kPictureSize);
  }
  return pictures;
}

struct Decoder;

/// The functions of winelib/picture_decoder.c.
struct DecoderModule {
  template <class Function>
  Function* Find(const char* name) const {
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(m_module, name)));
  }

  const HMODULE m_module = LoadLibraryA(KTMP4_PICTURE_DECODER);
  Decoder* (*const m_open)(const u8*, int) = Find<Decoder*(const u8*, int)>("KtDecoderOpen");
  void (*const m_close)(Decoder*) = Find<void(Decoder*)>("KtDecoderClose");
  int (*const m_send)(Decoder*, const u8*, int) = Find<int(Decoder*, const u8*, int)>("KtDecoderSend");
  void (*const m_flush)(Decoder*) = Find<void(Decoder*)>("KtDecoderFlush");
  int (*const m_receive)(Decoder*, const u8**) = Find<int(Decoder*, const u8**)>("KtDecoderReceive");
};

const DecoderModule& Module() {
  static const DecoderModule module;
  return module;
}

/// As the platform's renderer takes pictures: 32 bits, the lowest line first. In grey.
CMediaType ShownType() {
  VIDEOINFOHEADER format = {};
  format.AvgTimePerFrame = kPictureLength;
  format.bmiHeader.biSize = sizeof format.bmiHeader;
  format.bmiHeader.biWidth = kWidth;
  format.bmiHeader.biHeight = kHeight;
  format.bmiHeader.biPlanes = 1;
  format.bmiHeader.biBitCount = 32;
  format.bmiHeader.biSizeImage = kWidth * kHeight * 4;
  CMediaType type = PlainType(::MEDIATYPE_Video, MEDIASUBTYPE_RGB32);
  type.formattype = FORMAT_VideoInfo;
  type.lSampleSize = format.bmiHeader.biSizeImage;
  type.SetFormat(&format, sizeof format);
  return type;
}

void Show(const u8* picture, u8* target) {
  for (u32 line = kHeight; line-- > 0;) {
    for (u32 column = 0; column < kWidth; ++column, target += 4) {
      std::memset(target, picture[line * kWidth + column], 3);
    }
  }
}

class DecodingWork final : public StandInWork {
 public:
  explicit DecodingWork(std::shared_ptr<Pictures> pictures) : m_pictures(std::move(pictures)) {}
  ~DecodingWork() override { Module().m_close(m_decoder); }

  std::optional<CMediaType> OutputType(const AM_MEDIA_TYPE& input) override {
    Module().m_close(std::exchange(m_decoder, nullptr));
    if (input.cbFormat < kFormatHeader) return std::nullopt;
    m_decoder =
        Module().m_open(input.pbFormat + kFormatHeader, static_cast<int>(input.cbFormat - kFormatHeader));
    return m_decoder != nullptr ? std::optional(ShownType()) : std::nullopt;
  }
  HRESULT Receive(IMediaSample* sample, CBaseOutputPin& output) override {
    BYTE* bytes = nullptr;
    REFERENCE_TIME start = 0, stop = 0;
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
    const u8* picture = nullptr;
    while (const int size = Module().m_receive(m_decoder, &picture)) {
      EXPECT_EQ(size, kPictureSize);
      m_pictures->emplace_back(picture, picture + size);
      ComPointer<IMediaSample> sample;
      HRESULT result = output.GetDeliveryBuffer(sample.Put());
      if (FAILED(result)) return result;
      BYTE* target = nullptr;
      sample->GetPointer(&target);
      Show(picture, target);
      REFERENCE_TIME start = m_times.extract(m_times.begin()).value(), stop = start + kPictureLength;
      sample->SetTime(&start, &stop);
      sample->SetSyncPoint(TRUE);
      result = output.Deliver(sample.Get());
      if (result != S_OK) return result;
    }
    return S_OK;
  }

  const std::shared_ptr<Pictures> m_pictures;
  Decoder* m_decoder = nullptr;
  std::multiset<REFERENCE_TIME> m_times;
};

using RealPicturesTest = SourceTest;

TEST_F(RealPicturesTest, APinPlaysAndSeeksInAWindow) {
  const std::wstring film = MediaFile(L"bframes-aac.mp4");
  const Pictures expected = PicturesOfFfmpeg();
  ASSERT_EQ(expected.size(), 100u) << "nothing to compare with in " << KTMP4_DECODED_PICTURES;
  ASSERT_NE(Module().m_module, nullptr);
  const auto decoded = std::make_shared<Pictures>();
  StandInScript script;
  script.pins = {{PINDIR_INPUT, {PlainType(::MEDIATYPE_Video, ::MEDIASUBTYPE_KtMp4Video)}},
                 {PINDIR_OUTPUT, {PlainType(::MEDIATYPE_Video, ::GUID_NULL)}}};
  script.work = [&] { return std::make_unique<DecodingWork>(decoded); };
  const StandInClass decoder(::CLSID_KtMp4Decoder, script);

  PlayedSource source;
  ASSERT_EQ(source.Load(film), S_OK);
  IGraphBuilder* const graph = source.Graph().m_builder.Get();
  ASSERT_EQ(source.Render(0, graph), S_OK);
  // Without the platform's mixing renderers it ends in the plain one.
  EXPECT_EQ(DescribeGraph(graph), "Mpeg-4 Decoder>Video Renderer, Source>Mpeg-4 Decoder");
  ComPointer<IVideoWindow> window;
  ASSERT_EQ(source.Graph().m_builder->QueryInterface(IID_IVideoWindow, window.PutVoid()), S_OK);

  OpenedMovie movie(ReadFile(film));
  const std::unique_ptr<CMp4Track> track = movie.OpenTrack(1);
  const auto shown = [&](u32 sample) { return Got(*track, &CMp4Track::GetSampleCompositionTime, sample); };
  for (const i64 position : {0, 22'000'000}) {
    ASSERT_EQ(source.Seek(position), S_OK);
    // Of 512 ticks each, in the order of their display.
    std::size_t picture = (shown(SamplesFrom(film, 1, position).front()) - shown(1)) / 512;
    EXPECT_EQ(picture > 30, position != 0);
    decoded->clear();
    source.Run();
    EXPECT_TRUE(source.Graph().Comes(EC_COMPLETE));
    long visible = 0;
    EXPECT_EQ(window->get_Visible(&visible), S_OK);
    EXPECT_EQ(visible, -1L);
    source.Stop();
    // The file's last sample is not delivered; it may be one that another picture is shown behind.
    EXPECT_GE(decoded->size() + picture, expected.size() - 2);
    for (std::size_t i = 0; i < decoded->size() && picture < expected.size() - 2; ++i, ++picture) {
      ASSERT_TRUE(decoded->at(i) == expected[picture]) << "picture " << picture;
    }
  }
}

}  // namespace
}  // namespace kt::test

// Real pictures and real sound: a graph that the platform builds by itself from a file plays to its end,
// decoded by libavcodec, in a window. What is decoded and shown is what ffmpeg makes of the same file.

#include <control.h>

#include "platform/decoding_work.h"
#include "platform/source_host.h"

namespace kt::test {
namespace {

constexpr CLSID CLSID_SoundDecoder = {
    0x0d1b6a52, 0x51c0, 0x4f62, {0x8e, 0x2e, 0x9d, 0xb5, 0x3c, 0x6a, 0x10, 0x77}};
constexpr u32 kWidth = 176;
constexpr u32 kHeight = 144;
constexpr std::ptrdiff_t kPictureSize = kWidth * kHeight * 3 / 2;

/// The pictures of the file as ffmpeg decodes them, in the order of their display.
DecodedPieces PicturesOfFfmpeg() {
  const std::vector<u8> all = ReadFile(KTMP4_DECODED_PICTURES);
  DecodedPieces pictures;
  for (auto at = all.begin(); all.end() - at >= kPictureSize; at += kPictureSize) {
    pictures.emplace_back(at, at + kPictureSize);
  }
  return pictures;
}

/// The picture, counted from 0 in the order of display, with which decoding begins after a seek to
/// `position`.
std::size_t FirstPictureAt(i64 position) {
  const std::wstring film = MediaFile(L"bframes-aac.mp4");
  const auto shown = [&](u32 sample) {
    u64 time = 0;
    std::memcpy(&time, SamplesOf(film, {.isStamped = true, .first = sample}).at(0).bytes.data(), sizeof time);
    return time;
  };
  // Of 512 ticks each.
  return static_cast<std::size_t>((shown(SeekedTo(film, 1, position).first) - shown(1)) / 512);
}

class RealPicturesTest : public SourceTest {
 protected:
  void SetUp() override {
    SourceTest::SetUp();
    ASSERT_EQ(m_graph.Create(), S_OK);
    ASSERT_NE(Module().m_module, nullptr);
    ASSERT_EQ(m_expected.size(), 100u) << "nothing to compare with in " << KTMP4_DECODED_PICTURES;
  }
  void TearDown() override {
    m_graph.m_control->Stop();
    m_graph.Release();
    SourceTest::TearDown();
  }

  template <class Interface>
  ComPointer<Interface> Face(REFIID iid) {
    ComPointer<Interface> face;
    EXPECT_EQ(m_graph.m_builder->QueryInterface(iid, face.PutVoid()), S_OK);
    return face;
  }

  /// What the window shows. Renderers differ in which line they give first.
  std::vector<u8> Grab() {
    const ComPointer<IBasicVideo> video = Face<IBasicVideo>(IID_IBasicVideo);
    // Not asked for the size first: not every renderer takes that question.
    LONG size = static_cast<LONG>(sizeof(BITMAPINFOHEADER) + kWidth * kHeight * 4);
    std::vector<u8> image(static_cast<std::size_t>(size));
    EXPECT_EQ(video->GetCurrentImage(&size, reinterpret_cast<LONG*>(image.data())), S_OK);
    image.erase(image.begin(), image.begin() + sizeof(BITMAPINFOHEADER));
    // The fourth byte means nothing.
    for (std::size_t i = 3; i < image.size(); i += 4) image[i] = 0;
    return image;
  }

  /// Waits in the paused state until a picture is there, and looks at it.
  void ExpectShown(std::size_t picture) {
    EXPECT_TRUE(SUCCEEDED(m_graph.m_control->Pause()));
    OAFilterState state = State_Stopped;
    EXPECT_EQ(m_graph.m_control->GetState(10'000, &state), S_OK);
    const std::vector<u8> shown = Grab();
    const std::vector<u8> upwards = ToRgb32(m_expected.at(picture), kWidth, kHeight);
    std::vector<u8> downwards;
    for (std::size_t at = upwards.size(); at > 0; at -= kWidth * 4) {
      const auto line = upwards.begin() + static_cast<std::ptrdiff_t>(at - kWidth * 4);
      downwards.insert(downwards.end(), line, line + kWidth * 4);
    }
    EXPECT_TRUE(shown == upwards || shown == downwards) << "picture " << picture;
  }

  void PlayToEnd() {
    EXPECT_TRUE(SUCCEEDED(m_graph.m_control->Run()));
    EXPECT_TRUE(m_graph.Comes(EC_COMPLETE));
  }

  /// All pictures that were decoded, one after the other from this one on.
  void ExpectDecoded(std::size_t first) {
    const DecodedPieces decoded = std::exchange(*m_pictures, {});
    // The file's last sample is not delivered; it may be one that another picture is shown behind.
    EXPECT_GE(decoded.size() + first, m_expected.size() - 2);
    for (std::size_t i = 0; i < decoded.size() && first + i < m_expected.size() - 2; ++i) {
      ASSERT_TRUE(decoded[i] == m_expected[first + i]) << "picture " << first + i;
    }
  }

  const DecodedPieces m_expected = PicturesOfFfmpeg();
  const std::shared_ptr<DecodedPieces> m_pictures = std::make_shared<DecodedPieces>();
  const std::shared_ptr<DecodedPieces> m_sound = std::make_shared<DecodedPieces>();
  HostGraph m_graph;
};

TEST_F(RealPicturesTest, AFilePlaysAndSeeksInAWindow) {
  const StandInClass pictureDecoder(::CLSID_KtMp4Decoder, DecoderScript(Coding::Mpeg4, m_pictures));
  const StandInClass soundDecoder(CLSID_SoundDecoder, DecoderScript(Coding::Aac, m_sound));
  const ReaderReplacement replacement;
  const MappedDecoder mappedPictures(::CLSID_KtMp4Decoder, Coding::Mpeg4);
  const MappedDecoder mappedSound(CLSID_SoundDecoder, Coding::Aac);
  ASSERT_EQ(m_graph.m_builder->RenderFile(MediaFile(L"bframes-aac.mp4").c_str(), nullptr), S_OK)
      << DescribeGraph(m_graph.m_builder.Get());
  EXPECT_EQ(DescribeGraph(m_graph.m_builder.Get()),
            "Picture Decoder>Video Renderer, Reader>Picture Decoder, Reader>Sound Decoder, "
            "Sound Decoder>Default DirectSound Device");

  ExpectShown(0);
  long visible = 0;
  EXPECT_EQ(Face<IVideoWindow>(IID_IVideoWindow)->get_Visible(&visible), S_OK);
  EXPECT_EQ(visible, -1L);
  PlayToEnd();
  ExpectDecoded(0);
  EXPECT_EQ(m_sound->size(), 173u);

  EXPECT_EQ(m_graph.m_control->Stop(), S_OK);
  i64 position = 22'000'000;
  EXPECT_TRUE(SUCCEEDED(
      Face<IMediaSeeking>(IID_IMediaSeeking)
          ->SetPositions(&position, AM_SEEKING_AbsolutePositioning, nullptr, AM_SEEKING_NoPositioning)));
  m_pictures->clear();
  const std::size_t first = FirstPictureAt(position);
  EXPECT_GT(first, 30u);
  ExpectShown(first);
  PlayToEnd();
  ExpectDecoded(first);
}

// The pin's own way, as graph managers go that ask pins to render themselves: without the platform's mixing
// renderers it ends in the plain one.
TEST_F(RealPicturesTest, APinRendersItselfDownToAWindow) {
  const StandInClass pictureDecoder(::CLSID_KtMp4Decoder, DecoderScript(Coding::Mpeg4, m_pictures));
  PlayedSource source;
  ASSERT_EQ(source.Load(MediaFile(L"bframes-aac.mp4")), S_OK);
  m_graph.m_builder = source.Graph().m_builder;
  ASSERT_EQ(source.Render(0, m_graph.m_builder.Get()), S_OK);
  EXPECT_EQ(DescribeGraph(m_graph.m_builder.Get()), "Mpeg-4 Decoder>Video Renderer, Source>Mpeg-4 Decoder");
  long visible = 0;
  source.Run();
  EXPECT_TRUE(source.Graph().Comes(EC_COMPLETE));
  EXPECT_EQ(Face<IVideoWindow>(IID_IVideoWindow)->get_Visible(&visible), S_OK);
  EXPECT_EQ(visible, -1L);
  ExpectDecoded(0);
}

}  // namespace
}  // namespace kt::test

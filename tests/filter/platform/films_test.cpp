// Films from their name down to what is shown and heard, by way of decoders that know the standard types
// alone: what comes out of these is what ffmpeg makes of the same file, at the times that the file gives.

#include <strmif.h>

#include <amvideo.h>
#include <control.h>
#include <uuids.h>

#include <algorithm>

#include <ktmp4/adapting_file.h>
#include "filter/platform/decoder.h"
#include "filter/platform/source_host.h"
#include "support/movie_builder.h"

namespace kt::test {
namespace {

enum class Way {
  ByName,    ///< `RenderFile`
  BySource,  ///< the source's pins build their graph, and find decoders of other types
  Stamped,   ///< source and companion agree on the stamped type
};

struct Film {
  std::string name;
  bool isAdapted = false;

  friend void PrintTo(const Film& film, std::ostream* stream) { *stream << film.name; }
};

const Film kFilms[] = {{KTMP4_MEDIA "/bframes-aac.mp4"},
                       {KTMP4_MEDIA "/h263.3gp"},
                       {KTMP4_FILMS "/amr.3gp"},
                       {KTMP4_FILMS "/amr-wide.3gp", true},
                       {KTMP4_FILMS "/h264-aac.mp4", true}};

/// What ffmpeg makes of a film, all in one; nothing when it has no such track.
std::string FromFfmpeg(const Film& film, bool isPicture) {
  const std::string name = std::filesystem::path(film.name).filename().string();
  const std::vector<u8> all = ReadFile(KTMP4_FILMS "/" + name + (isPicture ? ".i420" : ".s16"));
  return {all.begin(), all.end()};
}

/// The file as the library reads it, and what has to come of a track behind a seek.
class FilmFile {
 public:
  explicit FilmFile(const Film& film) : m_isAdapted(film.isAdapted) {
    CMp4File* file = nullptr;
    EXPECT_EQ(film.isAdapted ? CreateAdaptingMp4File(&file) : CreateMp4File(&file), MP4_OK);
    m_file.reset(file);
    EXPECT_EQ(file->Open(film.name.c_str(), MP4_MODE_READ, MP4_TYPE_MP4), MP4_OK);
  }

  /// The only track of a kind.
  void Choose(u32 kind) {
    for (u32 index = 1; !m_track || Got(*m_track, &CMp4Track::GetTrackType) != kind; ++index) {
      CMp4Track* track = nullptr;
      ASSERT_EQ(m_file->OpenTrack(index, &track), MP4_OK);
      m_track.reset(track);
    }
  }

  /// Samples go out from the sync sample on: all but the last, or that too in one of the platform's types.
  std::vector<Decoded> Expected(i64 position, const DecoderSetUp& setUp, bool isPlain) {
    const u64 ticks = static_cast<u64>(position * Scale() / 10'000'000);
    const u32 found = std::max(Ask(*m_track, &CMp4Track::FindSampleByDecodingTime, ticks).value, 1u);
    // The times count from the sample that is due, or in an adapted film from the position itself.
    const i64 begin = m_isAdapted ? position : Due(found);
    const u32 first =
        Got(*m_track, &CMp4Track::FindSyncSample, Got(*m_track, &CMp4Track::GetSampleCompositionTime, found));
    const u32 count = Got(*m_track, &CMp4Track::GetSampleCount);
    Decoder decoder(setUp);
    std::vector<Decoded> expected;
    for (u32 sample = first; sample < count + (setUp.codec == "h264"); ++sample) {
      const i64 shown = Hns(Got(*m_track, &CMp4Track::GetSampleCompositionTime, sample));
      std::ranges::move(decoder.Decode(SampleOf(*m_track, sample), shown - begin).value(),
                        std::back_inserter(expected));
    }
    std::ranges::move(decoder.Decode({}, 0).value(), std::back_inserter(expected));
    // That nothing follows on what is shown last is not known before the end: it is shown at once.
    if (isPlain) expected.back().time = std::min(expected.back().time, Due(count) - begin);
    return expected;
  }
  i64 Tick() { return 10'000'000 / Scale() + 1; }

 private:
  i64 Scale() { return Got(*m_track, &CMp4Track::GetTimeScale); }
  i64 Hns(u64 ticks) { return static_cast<i64>(ticks) * 10'000'000 / Scale(); }
  i64 Due(u32 sample) { return Hns(Got(*m_track, &CMp4Track::GetSampleDecodingTime, sample)); }

  const bool m_isAdapted;
  std::unique_ptr<CMp4File> m_file;
  std::unique_ptr<CMp4Track> m_track;
};

class FilmsTest : public SourceTest, public testing::WithParamInterface<std::tuple<Film, Way>> {
 protected:
  void SetUp() override {
    SourceTest::SetUp();
    ASSERT_EQ(m_companion.Register(), S_OK);
  }
  void TearDown() override {
    SourceTest::TearDown();
    EXPECT_TRUE(Eventually([&] { return m_companion.CanUnload() == S_OK; }));
    EXPECT_EQ(m_companion.Unregister(), S_OK);
  }

  /// Connects a pin with the companion by the stamped type, and has the graph render that.
  static HRESULT RenderStamped(HostGraph& graph, IPin* pin) {
    const auto companion = Made<IBaseFilter>(::CLSID_KtMp4Decoder);
    EXPECT_EQ(graph.m_builder->AddFilter(companion.Get(), nullptr), S_OK);
    ComPointer<IEnumPins> pins;
    ComPointer<IPin> input, output;
    companion->EnumPins(pins.Put());
    EXPECT_EQ(pins->Next(1, input.Put(), nullptr), S_OK);
    EXPECT_EQ(pins->Next(1, output.Put(), nullptr), S_OK);
    const HRESULT result = ConnectByType(graph, pin, input.Get(), 1);
    return SUCCEEDED(result) ? graph.m_builder->Render(output.Get()) : result;
  }

  /// Plays from a position to the end.
  static void Play(HostGraph& graph, i64 position) {
    const auto seeking = As<IMediaSeeking>(graph.m_builder);
    EXPECT_TRUE(SUCCEEDED(seeking->SetPositions(&position, AM_SEEKING_AbsolutePositioning, nullptr, 0)));
    EXPECT_TRUE(SUCCEEDED(graph.m_control->Run()));
    EXPECT_TRUE(graph.Comes(EC_COMPLETE));
    EXPECT_EQ(graph.m_control->Stop(), S_OK);
  }

  void Compare(const DecodedStream& stream, bool isPicture, i64 position) {
    const std::string all = FromFfmpeg(m_film, isPicture);
    ASSERT_EQ(stream.decoded.empty(), all.empty());
    if (all.empty()) return;
    FilmFile file(m_film);
    file.Choose(isPicture ? MP4_KIND_VIDEO : MP4_KIND_AUDIO);
    const bool isPlain = stream.setUp.codec == "mpeg4" && m_way != Way::Stamped;
    const std::vector<Decoded> expected = file.Expected(position, stream.setUp, isPlain);
    ASSERT_EQ(stream.decoded.size(), expected.size());
    std::size_t at = 0;
    for (std::size_t i = 0; i < expected.size(); ++i) {
      const auto& [time, bytes] = stream.decoded[i];
      // Ticks may be cut off at other places on the way.
      ASSERT_LE(std::abs(time - expected[i].time), file.Tick()) << i << ": " << time;
      ASSERT_TRUE(bytes == expected[i].bytes) << i;
      // Sound depends on what came before. Of pictures one is missing: that of the sample that did not come.
      at = isPicture ? all.find(bytes, at) : position == 0 ? i * bytes.size() : at;
      ASSERT_TRUE(at < all.size() && (position > 0 || all.compare(at, bytes.size(), bytes) == 0)) << i;
    }
  }

  const Film m_film = std::get<0>(GetParam());
  const Way m_way = std::get<1>(GetParam());
  const ServerModule m_companion{DecoderPath()};
};

TEST_P(FilmsTest, ShowAndSoundAsTheyShould) {
  const std::wstring name = std::filesystem::path(m_film.name).wstring();
  const std::wstring url = UrlOf(name, m_film.isAdapted ? L"&adapt=on" : L"");
  const TakenTypes taken = m_way == Way::BySource ? TakenTypes::Further : TakenTypes::First;
  const auto pictures = std::make_shared<DecodedStream>(), sound = std::make_shared<DecodedStream>();
  const MappedStandIn seeing(L"Pictures", DecodingStandIn(::MEDIATYPE_Video, taken, pictures));
  const MappedStandIn hearing(L"Sound", DecodingStandIn(::MEDIATYPE_Audio, taken, sound));
  PlayedSource source;
  HostGraph named;
  HostGraph& graph = m_way == Way::ByName ? named : source.Graph();
  if (m_way == Way::ByName) {
    const ReaderReplacement replacement;
    ASSERT_EQ(named.Create(), S_OK);
    ASSERT_EQ(named.m_builder->RenderFile(url.c_str(), nullptr), S_OK);
  } else {
    ASSERT_EQ(source.Load(url), S_OK);
    // Without a clock what has no sound goes as fast as it can.
    ASSERT_EQ(As<IMediaFilter>(graph.m_control)->SetSyncSource(nullptr), S_OK);
  }
  const std::size_t pins = m_way == Way::ByName ? 0 : source.Pins().size();
  for (std::size_t i = 0; i < pins; ++i) {
    EXPECT_EQ(m_way == Way::Stamped ? RenderStamped(graph, source.Pins()[i].Get())
                                    : source.Render(i, graph.m_builder.Get()),
              S_OK);
  }
  for (const i64 position : {0, 7'654'321}) {
    SCOPED_TRACE(testing::Message() << m_film.name << " from " << position);
    pictures->decoded.clear();
    sound->decoded.clear();
    Play(graph, position);
    Compare(*pictures, true, position);
    Compare(*sound, false, position);
  }
}

using testing::Combine, testing::Values, testing::ValuesIn;
INSTANTIATE_TEST_SUITE_P(Found, FilmsTest, Combine(ValuesIn(kFilms), Values(Way::ByName, Way::BySource)));
// No pin has a stamped type for H.264.
INSTANTIATE_TEST_SUITE_P(Stamped, FilmsTest,
                         Combine(ValuesIn(kFilms, std::end(kFilms) - 1), Values(Way::Stamped)));

}  // namespace
}  // namespace kt::test

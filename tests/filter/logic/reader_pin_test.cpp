#include "filter/logic/reader_pin.h"

#include <tuple>

#include "support/fake_host.h"
#include "support/movie_builder.h"

namespace kt::test {
namespace {

FakeTrackFacts Video(u32 format, u16 width, u16 height) {
  return {.format = format, .width = width, .height = height};
}

FakeTrackFacts Audio(u32 format) {
  return {.kind = MP4_KIND_AUDIO, .format = format, .sampleRate = 44100, .channels = 2};
}

MediaType TypeAt(const CReaderPin& pin, i32 position) {
  MediaType type;
  EXPECT_EQ(pin.GetMediaType(position, &type), FilterResult::Ok);
  return type;
}

MediaType Types(const Guid& majorType, const Guid& subtype) {
  return {majorType, subtype, GUID_NULL, true, false, 1, {}};
}

// AMR has one rate and one channel, whatever its entry says.
TEST(ReaderPin, OffersTheTypesOfItsFormat) {
  const std::tuple<FakeTrackFacts, u32, Guid, Guid, u32, u32> rows[] = {
      {Video(MP4_FORMAT_MP4V, 8, 6), 1, MEDIASUBTYPE_KtMp4Video, MEDIASUBTYPE_KtMp4VideoStamped, 0, 0},
      {Video(MP4_FORMAT_S263, 8, 6), 4, MEDIASUBTYPE_KtH263, MEDIASUBTYPE_KtH263Stamped, 0, 0},
      {Video(MP4_FORMAT_MP4A, 8, 6), 0, MEDIASUBTYPE_KtMp4Video, MEDIASUBTYPE_KtMp4VideoStamped, 0, 0},
      {Audio(MP4_FORMAT_MP4A), 2, MEDIASUBTYPE_KtMp4Audio, MEDIASUBTYPE_KtMp4AudioStamped, 44100, 2},
      {Audio(MP4_FORMAT_SAWB), 5, MEDIASUBTYPE_KtAmr, MEDIASUBTYPE_KtAmrStamped, 16000, 1},
      {Audio(MP4_FORMAT_SAMR), 6, MEDIASUBTYPE_KtAmr, MEDIASUBTYPE_KtAmrStamped, 8000, 1},
      {Audio(MP4_FORMAT_MP4V), 0, GUID_NULL, GUID_NULL, 44100, 2},
  };
  for (const auto& [track, format, plain, stamped, rate, channels] : rows) {
    SCOPED_TRACE(track.kind * 10 + track.format);
    FakeHost host({track});
    CReaderPin& pin = host.LoadOnePin();
    const bool video = track.kind == MP4_KIND_VIDEO;
    EXPECT_EQ(std::tuple(pin.Format(), pin.SampleRate(), pin.Channels()), std::tuple(format, rate, channels));
    for (const i32 position : {0, 1}) {
      const MediaType type = TypeAt(pin, position);
      const Guid subtype = position ? stamped : plain;
      EXPECT_EQ(type,
                (MediaType{video ? MEDIATYPE_Video : MEDIATYPE_Audio, subtype,
                           video ? FORMAT_KtMp4Video : FORMAT_WaveFormatEx, false, video, 0, type.format}));
      // What an audio pin of unknown format offers it refuses.
      const bool known = subtype != GUID_NULL;
      EXPECT_EQ(pin.CheckMediaType(type), known ? FilterResult::Ok : FilterResult::InvalidArgument);
      EXPECT_EQ(pin.SetMediaType(type), FilterResult::Ok);
      EXPECT_EQ(pin.HeaderSize(), position && known ? 16u : 0u);
    }
    MediaType type;
    EXPECT_EQ(pin.GetMediaType(-1, &type), FilterResult::InvalidArgument);
    EXPECT_EQ(pin.GetMediaType(2, &type), FilterResult::NoMoreItems);
  }
}

TEST(ReaderPin, AcceptsByKindAlone) {
  const std::tuple<FakeTrackFacts, MediaType, FilterResult> rows[] = {
      // The subtype need not be that of the track.
      {Video(MP4_FORMAT_S263, 8, 6), Types(MEDIATYPE_Video, MEDIASUBTYPE_KtMp4Video), FilterResult::Ok},
      {Audio(MP4_FORMAT_SAMR), Types(MEDIATYPE_Audio, MEDIASUBTYPE_KtMp4AudioStamped), FilterResult::Ok},
      {Video(MP4_FORMAT_MP4V, 8, 6), Types(MEDIATYPE_Video, GUID_NULL), FilterResult::InvalidArgument},
      {Audio(MP4_FORMAT_MP4A), Types(MEDIATYPE_Video, MEDIASUBTYPE_KtMp4Video),
       FilterResult::InvalidArgument},
      {CaptionTrack({0}), Types(MEDIATYPE_AUXLine21Data, GUID_NULL), FilterResult::InvalidArgument},
  };
  for (const auto& [track, type, result] : rows)
    EXPECT_EQ(FakeHost({track}).LoadOnePin().CheckMediaType(type), result);
}

TEST(ReaderPin, FormatBlocksByteForByte) {
  FakeHost host({Video(MP4_FORMAT_MP4V, 0x0140, 0x00F0), Audio(MP4_FORMAT_MP4A), Audio(MP4_FORMAT_MP4A)});
  host.file.tracks[0].timeScale = 78125;
  host.file.tracks[0].info = {0xAA, 0xBB, 0xCC};
  host.file.tracks[1].info = {0x12, 0x10};
  ASSERT_EQ(host.Source().Load("a.mp4"), FilterResult::Ok);
  // The size thrice; 10000000 / 78125 = 128, one tick and not a frame; the decoder info behind all.
  const std::pair<std::size_t, u8> set[] = {
      {8, 0x40},  {9, 0x01},  {12, 0xF0}, {24, 0x40}, {25, 0x01}, {28, 0xF0},  {52, 0x40},  {53, 0x01},
      {56, 0xF0}, {40, 0x80}, {88, 0x2D}, {89, 0x31}, {90, 0x01}, {104, 0xAA}, {105, 0xBB}, {106, 0xCC}};
  std::vector<u8> video(107);
  for (const auto& [at, byte] : set) video[at] = byte;
  // No format tag, no byte rate; block alignment 1, 16 bits, and a count of 0 although the info follows.
  const std::vector<u8> audio = {0, 0, 2, 0, 0x44, 0xAC, 0, 0, 0, 0, 0, 0, 1, 0, 16, 0, 0, 0, 0x12, 0x10};
  for (const i32 position : {0, 1}) {
    EXPECT_EQ(TypeAt(host.Pin(0), position).format, video);
    EXPECT_EQ(TypeAt(host.Pin(1), position).format, audio);
    EXPECT_EQ(TypeAt(host.Pin(2), position).format, std::vector<u8>(audio.begin(), audio.begin() + 18));
  }
}

// What learning has to refuse must not cost the host the logic of the pin that it has made.
TEST(ReaderPin, AFormatBlockHasABound) {
  FakeTrackFacts track = Video(MP4_FORMAT_MP4V, 8, 6);
  MediaType type;
  for (const u32 claim : {(256u << 20) - 103, 0xFFFFFFFFu}) {
    track.infoClaim = claim;
    EXPECT_EQ(FakeHost({track}).LoadOnePin().GetMediaType(0, &type), FilterResult::OutOfMemory);
  }
}

// Which failures end the learning, and what is known by then.
TEST(ReaderPin, LearnsUntilATrackFails) {
  const FakeTrackFacts video = Video(MP4_FORMAT_MP4V, 8, 6), audio = Audio(MP4_FORMAT_MP4A);
  // What learning answers; the kind, the format and the bytes of decoder info that are known then.
  const std::tuple<const char*, FakeTrackFacts, u32, u32, u32, std::size_t> rows[] = {
      {"GetTimeScale", video, 1, PIN_UNKNOWN, PIN_FORMAT_UNKNOWN, 0},
      {"GetSampleCount", video, 0, PIN_VIDEO, PIN_FORMAT_MPEG4_VIDEO, 2},
      {"GetTrackType", video, 1, PIN_UNKNOWN, PIN_FORMAT_UNKNOWN, 0},
      {"GetVideoSize", video, 1, PIN_VIDEO, PIN_FORMAT_UNKNOWN, 0},
      {"GetSampleFormat", video, 1, PIN_VIDEO, PIN_FORMAT_UNKNOWN, 0},
      {"GetSampleRate", audio, 0, PIN_AUDIO, PIN_FORMAT_MPEG4_AUDIO, 2},
      {"GetChannelCount", audio, 0, PIN_AUDIO, PIN_FORMAT_MPEG4_AUDIO, 2},
      {"GetSampleFormat", audio, 1, PIN_AUDIO, PIN_FORMAT_UNKNOWN, 0},
      {"GetDecoderSpecificInfoSize", audio, 0, PIN_AUDIO, PIN_FORMAT_MPEG4_AUDIO, 0},
      {"GetDecoderSpecificInfo", audio, 0, PIN_AUDIO, PIN_FORMAT_MPEG4_AUDIO, 2},
  };
  for (const auto& [failing, learned, result, kind, format, info] : rows) {
    SCOPED_TRACE(failing);
    FakeFileFacts file;
    FakeTrackFacts facts = learned;
    facts.info = {1, 2};
    facts.failing = {failing};
    FakeTrack track(file, facts);
    CTrackLock lock;
    file.lock = &lock;
    CReaderPin pin(lock, "pin");
    EXPECT_EQ(pin.SetTrack(&track), result);
    EXPECT_EQ(std::tuple(pin.Kind(), pin.Format(), pin.DecoderInfo().size()), std::tuple(kind, format, info));
  }
}

TEST(ReaderPin, APinThatKnowsNothingOffersEmptyTypesAndTakesNone) {
  CTrackLock lock;
  CReaderPin pin(lock, "pin");
  EXPECT_EQ(pin.SetTrack(nullptr), 1u);
  for (const i32 position : {0, 1}) EXPECT_EQ(TypeAt(pin, position), MediaType());
  EXPECT_EQ(pin.CheckMediaType(MediaType()), FilterResult::InvalidArgument);
  BufferRequest request;
  EXPECT_EQ(pin.DecideBufferSize(&request), FilterResult::Ok);
  EXPECT_EQ(request, (BufferRequest{1, 65581}));
}

TEST(ReaderPin, BufferSizes) {
  const MediaType text = Types(MEDIATYPE_Text, GUID_NULL);
  const MediaType pairs = Types(MEDIATYPE_AUXLine21Data, MEDIASUBTYPE_Line21_BytePair);
  const std::tuple<const char*, FakeTrackFacts, MediaType, BufferRequest> rows[] = {
      {"video", Video(MP4_FORMAT_MP4V, 320, 240), {}, {1, 153616}},
      {"no width", Video(MP4_FORMAT_MP4V, 0, 240), {}, {1, 100016}},
      {"no height", Video(MP4_FORMAT_MP4V, 320, 0), {}, {1, 100016}},
      {"just below 256 MiB", Video(MP4_FORMAT_MP4V, 16383, 8192), {}, {1, 268419088}},
      // A header must not be able to ask for gigabytes. The second is 65534 in 32 bits.
      {"above", Video(MP4_FORMAT_MP4V, 11586, 11586), {}, {}},
      {"far above", Video(MP4_FORMAT_MP4V, 65535, 32769), {}, {}},
      {"AMR wide", Audio(MP4_FORMAT_SAWB), {}, {1, 1296}},
      {"AMR narrow", Audio(MP4_FORMAT_SAMR), {}, {1, 656}},
      {"MPEG-4 audio", Audio(MP4_FORMAT_MP4A), {}, {1, 4112}},
      {"captions as text", CaptionTrack({0}), text, {32, 272}},
      {"captions as pairs", CaptionTrack({0}), pairs, {1, 166}},
  };
  for (const auto& [what, track, connected, expected] : rows) {
    FakeHost host({track});
    CReaderPin& pin = host.LoadOnePin();
    ASSERT_EQ(pin.SetMediaType(connected), FilterResult::Ok);
    BufferRequest request;
    const bool refused = expected == BufferRequest();
    EXPECT_EQ(pin.DecideBufferSize(&request), refused ? FilterResult::OutOfMemory : FilterResult::Ok) << what;
    EXPECT_EQ(request, expected) << what;
    EXPECT_EQ(CReaderPin::CheckBufferSize(request, request.size), FilterResult::Ok) << what;
    EXPECT_EQ(CReaderPin::CheckBufferSize(request, i64{request.size} - 1), FilterResult::Fail) << what;
  }
}

// What pins of adapted files offer behind the two types that they have, and whether they take those.
TEST(ReaderPin, OffersThePlatformsTypesForAdaptedTracks) {
  const Bytes boxes =
      Bytes(Box("avcC", {1, 0x64, 0, 0x1F, 0xFF, 0xE1, 0, 1, 0x67, 0})).Add(Esds(0x40, 5, {0x12, 0x10}));
  const std::tuple<u32, FakeTrackFacts, std::vector<Guid>, bool> rows[] = {
      {FourCc("avc1"), Video(0, 8, 6), {FourCcGuid("AVC1"), FourCcGuid("avc1")}, false},
      {FourCc("vp09"), Video(0, 8, 6), {}, false},
      {FourCc("avc1"), Audio(0), {}, false},
      {FourCc(".mp3"), Audio(0), {MEDIASUBTYPE_MP3}, false},
      {FourCc("mp4a"), Audio(MP4_FORMAT_MP4A), {MEDIASUBTYPE_RAW_AAC1, MEDIASUBTYPE_MPEG_HEAAC}, true},
      {FourCc("mp4v"), Video(MP4_FORMAT_MP4V, 8, 6), {}, true},
  };
  for (const auto& [code, facts, subtypes, takesOwn] : rows) {
    SCOPED_TRACE(code);
    FakeHost host({facts});
    host.file.tracks[0].samples = TrackAt({0, 10}, std::vector<u8>(5000)).samples;
    CReaderPin& pin = host.LoadOnePin();
    pin.Adapt({1, 1, code, 8, 6, 2, 44100, boxes.data(), static_cast<u32>(boxes.size())});
    const MediaType own = facts.kind == MP4_KIND_VIDEO ? Types(MEDIATYPE_Video, MEDIASUBTYPE_KtMp4Video)
                                                       : Types(MEDIATYPE_Audio, MEDIASUBTYPE_KtMp4Audio);
    EXPECT_EQ(pin.CheckMediaType(own) == FilterResult::Ok, takesOwn);
    MediaType type;
    for (std::size_t i = 0; i < subtypes.size(); ++i) {
      type = TypeAt(pin, static_cast<i32>(i) + 2);
      EXPECT_EQ(type.subtype, subtypes[i]);
      type.format.clear();
      EXPECT_EQ(pin.CheckMediaType(type), FilterResult::Ok);
      type.formatType = GUID_NULL;
      EXPECT_EQ(pin.CheckMediaType(type), FilterResult::InvalidArgument);
    }
    EXPECT_EQ(pin.GetMediaType(static_cast<i32>(subtypes.size()) + 2, &type), FilterResult::NoMoreItems);
    BufferRequest request;
    EXPECT_EQ(pin.DecideBufferSize(&request), FilterResult::Ok);
    EXPECT_EQ(request.size, code == FourCc("mp4v") ? 112u : 5016u);
  }
}

// The last decoding time and one mean step more, not the duration of the track header.
TEST(ReaderPin, Duration) {
  const std::tuple<u32, std::vector<u64>, FilterResult, i64> rows[] = {
      {1000, {}, FilterResult::False, 0},
      {1000, {5}, FilterResult::Ok, 60000},
      {1000, {0, 10, 30}, FilterResult::Ok, 450000},
      {1000, {u64{1} << 44, u64{1} << 44}, FilterResult::Ok, (i64{1} << 45) * 10000},
      // A tick of no length would divide by zero.
      {0, {0, 0}, FilterResult::False, 0}};
  for (const auto& [timeScale, times, result, duration] : rows) {
    FakeHost host({TrackAt(times)});
    host.file.tracks[0].duration = 777;
    host.file.tracks[0].timeScale = timeScale;
    EXPECT_EQ(Ask(host.LoadOnePin(), &CReaderPin::GetDuration),
              (Answer<i64, FilterResult>{result, duration}));
    // The time of a frame stands at 40.
    EXPECT_EQ(TypeAt(host.Pin(), 0).format == std::vector<u8>(104), timeScale == 0);
  }
}

}  // namespace
}  // namespace kt::test

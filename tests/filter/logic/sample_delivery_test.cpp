#include "filter/logic/sample_delivery.h"

#include <algorithm>
#include <limits>
#include <map>
#include <optional>
#include <tuple>

#include "filter/logic/position_change.h"
#include "support/box_writer.h"
#include "support/fake_host.h"
#include "support/fake_media_sample.h"

namespace kt::test {
namespace {

constexpr i64 kSecond = 10'000'000;

using Span = FakeMediaSample::Span;

/// A source over a fake file with everything that a delivery works with, all of it scripted.
class Bench : public FakeHost, StreamClock, RequestWait, TextReceiver, CaptionDecoder {
 public:
  /// Connected with the first type that the pin offers.
  explicit Bench(const FakeTrackFacts& track, const char* name = "a.mp4") : FakeHost({track}, name) {
    Connect(0);
  }

  FakeTrackFacts& Track() { return file.tracks[0]; }
  void Connect(i32 position) {
    MediaType type;
    ASSERT_EQ(Pin().GetMediaType(position, &type), FilterResult::Ok);
    ASSERT_EQ(Pin().SetMediaType(type), FilterResult::Ok);
  }
  FilterResult Fill() { return m_delivery.FillBuffer(media = FakeMediaSample(room)); }

  i64 GetStreamTime() override {
    ExpectUnlocked();
    return streamTime;
  }
  bool WaitForRequest(u32 milliseconds) override {
    ExpectUnlocked();
    waits.push_back(milliseconds);
    if (clockRate != 0) streamTime += clockRate * milliseconds * 10'000;
    return waits.size() == requestAtWait;
  }
  void AddMetadataText(i64 time, const char* text) override {
    ExpectUnlocked();
    texts[time] = text;
  }
  void Decode(const u8* bytes, i32 count, i64 time) override {
    ExpectUnlocked();
    decoded[time] = std::vector<u8>(bytes, bytes + count);
  }

  std::size_t room = 1024;
  FakeMediaSample media{0};
  i64 streamTime = 0;
  /// 1 while the graph runs.
  i64 clockRate = 0;
  /// The wait that a request ends, counted from 1.
  std::size_t requestAtWait = 0;
  std::vector<u32> waits;
  std::map<i64, std::string> texts;
  std::map<i64, std::vector<u8>> decoded;

 private:
  void ExpectUnlocked() {
    EXPECT_FALSE(Source().TrackLock().IsHeldByCaller())
        << "the track lock is held across a wait or a delivery";
  }

  CSampleDelivery m_delivery{Source(), Pin(), DeliverySurroundings{*this, *this, *this, *this}};
};

FakeTrackFacts Audio(u32 format) {
  FakeTrackFacts track = TrackAt({0, 1024, 2048});
  track.kind = MP4_KIND_AUDIO;
  track.format = format;
  return track;
}

/// Enough captions behind `time` for the file to go on.
FakeTrackFacts CaptionAt(u64 time) {
  return CaptionTrack({time, time + 1000, u64{1} << 40});
}

TEST(SampleDelivery, ASampleGoesOutWithItsBytesAndTimes) {
  // The samples taken, the type and the base; start and stop.
  const std::tuple<u32, i32, u64, i64, i64> rows[] = {
      {0, 0, 0, 1'000'000, 1'400'000},
      {1, 1, 150, -100'000, 500'000},
      // The stop has no sign.
      {0, 0, 300, -2'000'000, 18'446'744'072'109'551},
  };
  for (const auto& [taken, position, base, start, stop] : rows) {
    FakeTrackFacts track = TrackAt({100, 140, 200});
    track.samples[1].compositionTime = 0x0102030405060708;
    Bench bench(track);
    bench.Connect(position);
    SetPosition(bench.Pin(), {taken, base, 0, 0});
    ASSERT_EQ(bench.Fill(), FilterResult::Ok);
    std::vector<u8> expected = {1, 2, 3, 4};
    if (position) expected = {8, 7, 6, 5, 4, 3, 2, 1, 140, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3, 4};
    EXPECT_EQ(bench.media.length, expected.size());
    bench.media.bytes.resize(expected.size());
    EXPECT_EQ(bench.media.bytes, expected);
    EXPECT_EQ(bench.media.time, Span(start, stop));
    EXPECT_EQ(bench.media.mediaTime, Span(taken + 1, taken + 2));
    // The second composes behind the third.
    EXPECT_EQ(bench.media.sync, taken == 0);
  }
}

// Under a type of the platform samples are stamped with the times of their display, to the last one.
TEST(SampleDelivery, APlatformTypeGoesByTheTimesOfDisplay) {
  FakeTrackFacts track = TrackAt({100, 110, 120, 130});
  track.format = MP4_FORMAT_UNKNOWN;
  static constexpr u64 kShown[] = {110, 130, 120, 140};
  for (std::size_t i = 0; i < 4; ++i) track.samples[i].compositionTime = kShown[i];
  track.samples[1].sync = track.samples[2].sync = false;
  Bench bench(track);
  const Bytes setUp = Box("avcC", {1, 0x64, 0, 0x1F, 0xFF, 0xE1, 0, 1, 0x67, 0});
  bench.Pin().Adapt({1, 1, FourCc("avc1"), 8, 6, 0, 0, setUp.data(), static_cast<u32>(setUp.size())});
  bench.Connect(2);
  const auto played = [&] {
    std::string text;
    while (bench.Fill() == FilterResult::Ok) {
      const auto [start, stop] = *bench.media.time;
      text += std::to_string(start / 10000) + ".." + std::to_string(stop / 10000) + bench.media.flags + " ";
    }
    return text;
  };
  EXPECT_EQ(played(), "110..120d- 130..140-- 120..130-- 140..150-- ");
  // What is decoded there is a sync sample that is shown behind it; the one ahead of it has to come first.
  const i64 position = 1'350'000;
  EXPECT_EQ(ChangePosition(bench.Pin(), {&position, 1}, kSecond, nullptr), FilterResult::Ok);
  EXPECT_EQ(played(), "-25..-15dp -5..5-- -15..-5-p 5..15-- ");
}

TEST(SampleDelivery, MediaTimesOfAudioEndAFrameLater) {
  for (const auto& [format, stop] :
       {std::pair<u32, i64>{MP4_FORMAT_MP4A, 1025}, {MP4_FORMAT_SAWB, 321}, {MP4_FORMAT_SAMR, 161}}) {
    Bench bench(Audio(format));
    ASSERT_EQ(bench.Fill(), FilterResult::Ok);
    EXPECT_EQ(bench.media.mediaTime, Span(1, stop));
  }
  Bench unknown(Audio(MP4_FORMAT_MP4V));
  EXPECT_EQ(unknown.Fill(), FilterResult::False) << "audio of unknown format ends at its first sample";
}

TEST(SampleDelivery, AStopPositionEndsTheStreamBehindIt) {
  constexpr i64 kMost = std::numeric_limits<i64>::max();
  const std::pair<i64, u32> rows[] = {{0, 3},       {-1, 3},      {1'600'000, 3},
                                      {409'999, 1}, {410'000, 2}, {kMost, 3}};
  for (const auto& [stop, expected] : rows) {
    FakeTrackFacts track = TrackAt({0, 40, 80, 120});
    // Composition times decide.
    track.samples[1].compositionTime = 41;
    track.samples[2].compositionTime = 120;
    Bench bench(track);
    SetPosition(bench.Pin(), {.m_stopPosition = stop});
    u32 delivered = 0;
    while (bench.Fill() == FilterResult::Ok) ++delivered;
    EXPECT_EQ(delivered, expected) << stop;
    EXPECT_TRUE(bench.waits.empty()) << "only captions are paced";
  }
}

TEST(SampleDelivery, WhatDoesNotFitOrCanNotBeReadEndsTheStream) {
  const std::tuple<const char*, std::size_t, i32, FilterResult> rows[] = {
      {"", 4, 0, FilterResult::Ok},
      {"", 3, 0, FilterResult::False},
      {"", 20, 1, FilterResult::Ok},
      {"", 19, 1, FilterResult::False},
      {"", 0, 0, FilterResult::False},
      {"GetSampleSize", 20, 0, FilterResult::False},
      {"ReadSample", 20, 0, FilterResult::False},
      {"GetSampleDecodingTime", 20, 0, FilterResult::False},
      // What is not known of the sample itself is passed over.
      {"GetSampleCompositionTime", 20, 0, FilterResult::Ok},
  };
  for (const auto& [failing, room, position, result] : rows) {
    Bench bench(TrackAt({0, 40}));
    bench.Connect(position);
    bench.room = room;
    bench.Track().failing = {failing};
    EXPECT_EQ(bench.Fill(), result) << failing << " " << room;
    EXPECT_EQ(bench.Pin().Position().m_currentSample, 1u);
  }
}

TEST(SampleDelivery, ATimeScaleOfZeroEndsTheStream) {
  for (FakeTrackFacts facts : {TrackAt({0, 40}), CaptionTrack({0, 40})}) {
    facts.timeScale = 0;
    Bench bench(facts);
    SetPosition(bench.Pin(), {.m_stopPosition = 1});
    EXPECT_EQ(bench.Fill(), FilterResult::False);
  }
}

std::vector<u8> Marker(u8 flag, u8 length, const std::string& text) {
  return Bytes().U32(0x1B3).U24(0x090909).U32(0x1B2).U32(0x11223344).U8(flag).U8(length).Text(text);
}

TEST(SampleDelivery, FindsTheTextInVideoSamples) {
  std::vector<u8> otherStart = Marker(1, 2, "hi");
  otherStart[3] = 0xB6;
  std::vector<u8> otherMark = Marker(1, 2, "hi");
  otherMark[14] = 0x45;
  const struct {
    const char* what;
    std::vector<u8> bytes;
    const char* text = nullptr;
    i32 position = 0;
    u32 kind = MP4_KIND_VIDEO, format = MP4_FORMAT_MP4V;
  } rows[] = {
      {"whole", Marker(1, 2, "hi and video data"), "hi"},
      {"to the last byte", Marker(1, 2, "hi"), "hi"},
      {"a zero byte ends the text", Marker(1, 3, std::string("h\0i", 3)), "h"},
      {"cut by one", Marker(1, 3, "hi")},
      {"cut behind the length", Marker(1, 1, "")},
      {"no length", Marker(1, 0, "hi")},
      {"other flag", Marker(2, 2, "hi")},
      {"other start code", otherStart},
      {"other mark", otherMark},
      {"behind a header", Bytes().U8(2).Text("hi").Zeros(20), nullptr, 1},
      {"in sound", Marker(1, 2, "hi"), nullptr, 0, MP4_KIND_AUDIO, MP4_FORMAT_MP4A},
  };
  for (const auto& [what, bytes, text, position, kind, format] : rows) {
    FakeTrackFacts track = TrackAt({0, 40}, bytes);
    track.kind = kind;
    track.format = format;
    // A header whose times look like the marks.
    if (position) track.samples[0] = {bytes, 0x0144332211B20100, 0xB3010000};
    Bench bench(track);
    bench.Connect(position);
    SetPosition(bench.Pin(), {.m_baseTime = 20});
    ASSERT_EQ(bench.Fill(), FilterResult::Ok) << what;
    std::map<i64, std::string> texts;
    if (text) texts = {{-200'000, text}};
    EXPECT_EQ(bench.texts, texts) << what;
  }
}

// Texts come all the same, and captions without a wait, also past the end of the file.
TEST(SampleDelivery, ExtractorUseDeliversEmptySamples) {
  const std::tuple<FakeTrackFacts, const char*, std::optional<Span>, std::size_t, std::size_t> rows[] = {
      {TrackAt({0, 40}, Marker(1, 2, "hi")), "forextractoruse=2", Span(0, 400'000), 1, 0},
      {CaptionAt(600'000), "forextractoruse=1", Span(6'000'000'000, 6'010'000'000), 0, 0},
      {CaptionAt(600'000), "cc=on&forextractoruse=1", std::nullopt, 0, 1},
  };
  for (const auto& [track, parameters, time, texts, decoded] : rows) {
    Bench bench(track, (std::string("ktmp4file://c/x.mp4&") + parameters).c_str());
    bench.streamTime = std::numeric_limits<i64>::max();
    ASSERT_EQ(bench.Fill(), FilterResult::Ok);
    EXPECT_TRUE(bench.waits.empty());
    EXPECT_EQ(bench.media.length, 0u);
    EXPECT_EQ(bench.media.time, time);
    EXPECT_EQ(bench.media.sync, time ? std::optional(true) : std::nullopt);
    EXPECT_EQ(std::pair(bench.texts.size(), bench.decoded.size()), std::pair(texts, decoded));
  }
}

TEST(CaptionDelivery, DeliversTheSecondAndThirdByte) {
  const std::tuple<std::vector<u8>, std::size_t, FilterResult, std::vector<u8>> rows[] = {
      {{0xFF, 0x94, 0x20}, 166, FilterResult::Ok, {0x94, 0x20}},
      // Longer than the side buffer once was.
      {{0xFF, 0x94, 0x20, 4, 5, 6, 7, 8, 9}, 166, FilterResult::Ok, {0x94, 0x20}},
      {{0xFF, 0x94}, 166, FilterResult::Ok, {0x94, 0x00}},
      {{}, 2, FilterResult::Ok, {0x00, 0x00}},
      // Two bytes are written even for a sample of one.
      {{0xFF}, 1, FilterResult::False, {0xEE}},
      {std::vector<u8>(167), 166, FilterResult::False, {0xEE, 0xEE}},
  };
  for (const auto& [bytes, room, result, pair] : rows) {
    Bench bench(CaptionTrack({0, 40}));
    bench.Track().samples[0].bytes = bytes;
    bench.room = room;
    EXPECT_EQ(bench.Fill(), result) << bytes.size();
    bench.media.bytes.resize(pair.size());
    EXPECT_EQ(bench.media.bytes, pair) << bytes.size();
    if (result != FilterResult::Ok) continue;
    EXPECT_EQ(std::tuple(bench.media.length, bench.media.time, bench.media.mediaTime),
              std::tuple(2u, Span(0, 400'000), Span(1, 2)));
  }
}

// The wait is reckoned from the start position and the stream time, both from the beginning of the file.
TEST(CaptionDelivery, WaitsUntilFiftyMillisecondsBefore) {
  constexpr i64 kMost = std::numeric_limits<i64>::max();
  // Start position, stream time and rate of the clock; the waits.
  const struct {
    const char* what;
    FakeTrackFacts track;
    i64 start, streamTime, clockRate;
    std::vector<u32> waits = {};
    FilterResult result = FilterResult::Ok;
  } rows[] = {
      {"due", CaptionAt(50), 0, 0, 1},
      {"late", CaptionAt(1000), 0, 5 * kSecond, 1},
      {"a short wait is one", CaptionAt(550), 0, 0, 0, {500}},
      {"a start position counts", CaptionAt(3000), 2 * kSecond, 7'500'000, 0, {200}},
      {"a long wait is cut", CaptionAt(2050), 0, 0, 1, std::vector<u32>(20, 100)},
      {"a step is truncated", CaptionAt(569), 0, 0, 0, std::vector<u32>(20, 25)},
      {"without a clock all steps pass", CaptionAt(2050), 0, 0, 0, std::vector<u32>(20, 100)},
      {"a clock that jumps ends the wait", CaptionAt(2050), 0, 0, 10, {100, 100}},
      {"a step never becomes endless", CaptionAt(u64{1} << 40), 0, 0, 1'000, {2147483647}},
      // The length of the file is 100 ms and one mean step of 100 ms more.
      {"at the end", CaptionTrack({0, 100}), 100'000, 1'900'000, 0},
      {"behind it", CaptionTrack({0, 100}), 100'000, 1'900'001, 0, {}, FilterResult::False},
      {"far behind it", CaptionTrack({0, 100}), 100'000, kMost, 0, {}, FilterResult::False},
  };
  for (const auto& row : rows) {
    Bench bench(row.track);
    // The base of the stamps does not matter here.
    SetPosition(bench.Pin(), {0, 40, row.start, 0});
    bench.streamTime = row.streamTime;
    bench.clockRate = row.clockRate;
    EXPECT_EQ(bench.Fill(), row.result) << row.what;
    EXPECT_EQ(bench.waits, row.waits) << row.what;
    EXPECT_EQ(bench.media.length.value_or(0), row.result == FilterResult::Ok ? 2u : 0u) << row.what;
  }
}

// A stop must not wait for a caption that is minutes away.
TEST(CaptionDelivery, ARequestEndsTheWaitAndGivesTheSampleBackAsItIs) {
  for (const char* const name : {"a.mp4", "ktmp4file://c/x.mp4&cc=on"}) {
    Bench bench(CaptionAt(600'000), name);
    bench.requestAtWait = 3;
    EXPECT_EQ(bench.Fill(), FilterResult::Ok);
    EXPECT_EQ(bench.waits.size(), 3u);
    EXPECT_FALSE(bench.media.length.has_value());
    EXPECT_FALSE(bench.media.time.has_value());
    EXPECT_TRUE(bench.decoded.empty());

    // One that is all but due goes out as ever.
    Bench near(CaptionAt(550), name);
    near.requestAtWait = 1;
    EXPECT_EQ(near.Fill(), FilterResult::Ok);
    EXPECT_EQ(near.media.length, near.decoded.empty() ? 2u : 0u);
  }
}

TEST(CaptionDelivery, TextModeDecodesEverySampleAndDeliversEmptyOnes) {
  Bench bench(CaptionTrack({0, 40, 80}), "ktmp4file://c/x.mp4&cc=on");
  bench.Connect(1);
  bench.Track().samples[2].bytes = {0, 0x94, 0x2F};
  for (u32 i = 0; i < 3; ++i) {
    ASSERT_EQ(bench.Fill(), FilterResult::Ok) << "the last one is decoded, too";
    EXPECT_EQ(bench.media.length, 0u);
    EXPECT_FALSE(bench.media.time.has_value());
  }
  EXPECT_EQ(bench.decoded, (std::map<i64, std::vector<u8>>{
                               {0, {0x94, 0x20}}, {400'000, {0x94, 0x20}}, {800'000, {0x94, 0x2F}}}));
  EXPECT_EQ(bench.Fill(), FilterResult::False) << "and then the stream ends";
  // A decoder must not be fed what was never read.
  SetPosition(bench.Pin(), {});
  bench.Track().failing = {"ReadSample"};
  bench.decoded.clear();
  EXPECT_EQ(bench.Fill(), FilterResult::False);
  EXPECT_TRUE(bench.decoded.empty());
}

}  // namespace
}  // namespace kt::test

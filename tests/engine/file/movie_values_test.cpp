#include <ktmp4/ktmp4.hpp>

#include <iterator>

#include "support/written_movie.h"

namespace kt::test {
namespace {

static_assert(std::random_access_iterator<ktmp4::SampleRange::iterator>);
static_assert(std::ranges::view<ktmp4::SampleRange> && std::ranges::borrowed_range<ktmp4::SampleRange>);

// The tracks of a file in words: facts, then size, times, bytes and sync mark of each sample.
std::string Describe(const ktmp4::Result<ktmp4::Movie>& movie) {
  std::string text = movie ? "" : Mp4ResultName(movie.error());
  for (const ktmp4::Track& track : movie ? movie->Tracks() : std::vector<ktmp4::Track>()) {
    text += "kind " + std::to_string(track.Kind()) + " of " + std::to_string(track.TimeScale()) + ":";
    for (const ktmp4::Sample sample : track.Samples()) {
      const ktmp4::Result<std::vector<u8>> bytes = sample.Bytes();
      EXPECT_TRUE(!bytes || bytes->size() == sample.Size().value());
      text += " " + std::to_string(sample.Number()) + "@" + std::to_string(sample.DecodingTime()->count) +
              "/" + std::to_string(sample.CompositionTime()->count) + (sample.IsSync().value() ? "* " : " ") +
              (bytes ? std::string(bytes->begin(), bytes->end()) : Mp4ResultName(bytes.error()));
    }
    text += "\n";
  }
  return text;
}

// Writes two tracks, the pictures with hints.
void Write(const std::string& name) {
  const Bytes setUp = {0, 1};
  auto writer = ktmp4::Writer::Create(name).value();
  auto pictures = writer.AddVideo({.width = 32, .height = 16, .setUp = setUp, .timeScale = 1000}).value();
  auto sound = writer.AddAudio({.sampleRate = 8000, .setUp = setUp}).value();
  EXPECT_EQ(sound.Index(), 2u);
  EXPECT_EQ(SetTrackLanguage(&sound.Get(), "deu"), MP4_OK);
  for (const u64 time : {0u, 40u, 80u}) {
    pictures.Write(Bytes().Text("picture"), time, time + 40, time == 0).value();
    sound.Write(Bytes().Text("tone"), 8 * time, 8 * time).value();
  }
  EXPECT_EQ(sound.Write({}, 2000, 2000).error(), MP4_BAD_ARGUMENT);
  EXPECT_EQ(writer.Close().error(), MP4_NOT_FOUND) << "its tracks are open";
  pictures.Close().value();
  sound.Close().value();
  EXPECT_EQ(sound.Write(Bytes().Text("late"), 3000, 3000).error(), MP4_BAD_ARGUMENT);
  writer.AddHints(MP4_HINT_VIDEO, {1}).value();
  EXPECT_EQ(writer.Close().error(), MP4_NO_SCENE_TRACKS);
  EXPECT_EQ(ktmp4::Movie::Open(name).error(), MP4_NOT_FOUND) << "it is not closed";
  writer.AddScene(1, 2).value();
  writer.Close().value();
}

TEST(MovieValues, AreWrittenAndRead) {
  const TempFile temp;
  Write(temp.Name());
  EXPECT_TRUE(Describe(ktmp4::Movie::Open(temp.Name()))
                  .starts_with("kind 1 of 1000: 1@0/40* picture 2@40/80 picture 3@80/120 picture\n"
                               "kind 2 of 8000: 1@0/0* tone 2@320/320* tone 3@640/640* tone\n"))
      << Describe(ktmp4::Movie::Open(temp.Name()));
  const auto movie = ktmp4::Movie::Open(temp.Name()).value();
  EXPECT_EQ(movie.TrackCount(), 5u) << "with hints, object descriptors and scene";
  EXPECT_EQ(movie.OpenTrack(2)->Language().value(), "deu");
  const ktmp4::HintTrack hints = movie.OpenHintTrack(3).value();
  EXPECT_EQ(hints.MediaTrackId().value(), 1u);
  EXPECT_TRUE(hints.SessionText()->starts_with("m=video")) << *hints.SessionText();
}

TEST(MovieValues, AreThoseOfTheFile) {
  const OpenedMovie file(Track().With(&Track::stss, Stss({1, 3})));
  EXPECT_EQ(Describe(ktmp4::Movie::Open(file.Name())),
            "kind 1 of 1000: 1@0/0* a 2@10/10 bb 3@20/20* ccc 4@30/30 dddd\n");
  auto movie = ktmp4::Movie::Open(file.Name(), ktmp4::Reading::Adapting).value();
  EXPECT_EQ(movie.OpenTrack(2).error(), MP4_NOT_FOUND);
  EXPECT_EQ(movie.OpenHintTrack(1).error(), MP4_BAD_ARGUMENT);
  const ktmp4::Track track = movie.OpenTrack(1).value();
  EXPECT_EQ(track.VideoSize().value(), std::pair(u16{320}, u16{240}));
  EXPECT_EQ(track.DecoderSetUp().value(), (std::vector<u8>{0xD0, 0xD1}));
  EXPECT_EQ(track.Coding().value(), FourCc("mp4v"));
  ExpectEach(MP4_NOT_FOUND, {track.Coding(2).error(), track.Language().error()});
  EXPECT_EQ(track.ChannelCount().value_or(u16{7}), 7);
  EXPECT_EQ(track.FindSync(std::chrono::milliseconds(25))->Number(), 3u);
  EXPECT_EQ(track.Samples()[2].Number(), 3u);
  u8 room[2];
  EXPECT_EQ(track.Sample(2).ReadTo(room)->size(), 2u);
  EXPECT_EQ(track.Sample(3).ReadTo(room).error(), MP4_BUFFER_TOO_SMALL);
  EXPECT_EQ(track.Sample(5).Size().error(), MP4_NOT_FOUND);
  EXPECT_THROW(static_cast<void>(track.Sample(5).Bytes().value()), ktmp4::Error);
  movie = ktmp4::Movie::Open(file.Name()).value();
  EXPECT_EQ(track.Sample(1).Size().error(), MP4_NOT_READY) << "its movie has gone";
}

// Whole, and cut anywhere.
TEST(MovieValues, AreTheSameOutOfMemory) {
  const TempFile whole, cut;
  Write(whole.Name());
  const std::vector<u8> bytes = ReadFile(whole.Path());
  for (std::size_t size = 0; size <= bytes.size(); size += size + 60 < bytes.size() ? 29U : 1U) {
    WriteFile(cut.Path(), {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)});
    for (const auto reading : {ktmp4::Reading::Strict, ktmp4::Reading::Adapting}) {
      EXPECT_EQ(Describe(ktmp4::Movie::OpenMemory(std::span(bytes).first(size), reading)),
                Describe(ktmp4::Movie::Open(cut.Name(), reading)))
          << size;
    }
  }
  EXPECT_GT(Describe(ktmp4::Movie::OpenMemory(bytes)).size(), 200u);
  CMp4File* file = nullptr;
  EXPECT_EQ(CreateMp4FileOver(nullptr, 1, &file), MP4_BAD_ARGUMENT);
  ASSERT_EQ(CreateMp4FileOver(bytes.data(), bytes.size(), &file), MP4_OK);
  EXPECT_EQ(file->Open("name", MP4_MODE_WRITE, MP4_TYPE_MP4), MP4_BAD_ARGUMENT);
  delete file;
}

TEST(MovieValues, TakeNoMemoryForWhatTheFileCannotHold) {
  const OpenedMovie file(Track().With(&Track::stsz, Stsz({0xFFFFFFFF, 1, 1, 1})));
  const auto movie = ktmp4::Movie::Open(file.Name()).value();
  EXPECT_EQ(movie.OpenTrack(1)->Sample(1).Bytes().error(), MP4_FILE_IO);
}

TEST(MovieValues, CountTimesWithoutOverflow) {
  using std::chrono::nanoseconds;
  EXPECT_EQ((ktmp4::Ticks{270'000 + 45'000, 90'000}.Nanoseconds()), std::chrono::milliseconds(3500));
  EXPECT_EQ((ktmp4::Ticks{~u64{0}, 1}.Nanoseconds()), nanoseconds::max());
  EXPECT_EQ((ktmp4::Ticks{5, 0}.Nanoseconds()), nanoseconds::max());
  EXPECT_EQ((ktmp4::Ticks::From(std::chrono::milliseconds(3500), 90'000)), (ktmp4::Ticks{315'000, 90'000}));
  EXPECT_EQ(ktmp4::Ticks::From(nanoseconds(-1), 90'000).count, 0u);
}

}  // namespace
}  // namespace kt::test

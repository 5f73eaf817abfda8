// Files that are made to be expensive, each in two sizes. What they cost may grow as the file does, and no
// faster: the bounds are on growth and on memory to a byte of the file, and not on speed. KTMP4_BOMB_RECORDS
// gives the larger of the sizes.

#include <ktmp4/mp4_hint_track.h>
#include <time.h>

#include <cstdio>
#include <cstdlib>
#include <functional>

#include "engine/counted_memory.h"
#include "support/movie_builder.h"

namespace kt::test {
namespace {

constexpr u32 kAll = 0xFFFFFFFF;
constexpr u32 kRecords = 64'000, kTimesLarger = 16;
// A walk for each record would be 256 times as dear. What takes no time to speak of is not compared.
constexpr double kMostGrowth = 64, kShortest = 0.002;
// To a byte of the file, and for the objects themselves.
constexpr std::size_t kMemoryToByte = 24, kMemoryAtAll = 3 << 20;

Bytes Repeated(u32 count, const Bytes& bytes) {
  Bytes all;
  all.reserve(count * bytes.size());
  for (u32 i = 0; i < count; ++i) all.Add(bytes);
  return all;
}

Bytes Nested(std::string_view code, u32 levels) {
  Bytes bytes = Box(code);
  while (--levels > 0) bytes = Box(code, bytes);
  return bytes;
}

Bytes WithUserData(const Bytes& children) {
  Movie movie;
  movie.udta = Box("udta", children);
  return movie.Build();
}

Bytes Fragments(u32 count) {
  const Bytes run = FullBox("trun", 0, 0x301, Bytes().U32s({1, 0, 10, 4}));
  const Bytes fragment = Box("moof", {FullBox("mfhd", 0, 0, Bytes().U32(1)),
                                      Box("traf", {FullBox("tfhd", 0, 0x020000, Bytes().U32(1)), run})});
  Bytes file = MovieOf(Track()).Build();
  return file.Add(Repeated(count, fragment));
}

// Hint samples of as many packets as their count can tell, behind one another in one chunk.
Bytes ManyPackets(u32 count) {
  const Bytes packet = Bytes().U32(0).U16(0x8060).U16(1).U16(0).U16(0);
  const u32 packets = std::min(count, 0xFFFFu);
  const Bytes sample = Bytes().U16(packets).U16(0).Add(Repeated(packets, packet));
  const Bytes entry =
      Box("rtp ", Bytes().Zeros(6).U16(1).U16(1).U16(1).U32(1450).Add(Box("tims", Bytes().U32(90'000))));
  const Bytes header = FullBox("hmhd", 0, 0, Bytes().Zeros(16));
  const Bytes mdat = Box("mdat", sample);
  const auto size = static_cast<u32>(sample.size());
  Movie movie = MovieOf(TrackOf("hint", header, entry).WithOneChunk(1, Stsz({size})));
  movie.mdat = mdat;
  return movie.Build();
}

template <class Piece>
Bytes FileWith(Piece piece, const Bytes& content) {
  return MovieOf(Track().With(piece, content)).Build();
}

// So many samples in chunks of one, at the same place.
Track Sparse(u32 count) {
  const Track timed =
      Track().With(&Track::stsz, ConstantStsz(1, count)).With(&Track::stts, Stts({{count, 1}}));
  return timed.With(&Track::stsc, Stsc({{1, 1}}))
      .With(&Track::chunkOffsets, Stco(std::vector<u64>(count, 24)));
}

struct Bomb {
  std::string name;
  std::function<Bytes(u32 size)> make;
};

const Bomb kBombs[] = {
    {"deep nests, one behind the other",
     [](u32 n) { return WithUserData(Repeated(n / 50, Nested("udta", 55))); }},
    {"empty boxes that nobody knows", [](u32 n) { return WithUserData(Repeated(n * 2, Box("free"))); }},
    {"empty containers in each other",
     [](u32 n) {
       Bytes all;
       for (const char* code :
            {"trak", "mdia", "minf", "stbl", "dinf", "edts", "udta", "tref", "hnti", "hinf"}) {
         all.Add(Box(code, Repeated(n / 5, Box(code))));
       }
       return WithUserData(all);
     }},
    {"sample entries",
     [](u32 n) { return FileWith(&Track::stsd, Stsd(std::vector<Bytes>(n, Box("free")))); }},
    {"sizes that are not there",
     [](u32 n) {
       return FileWith(&Track::stsz, FullBox("stsz", 0, 0, Bytes().U32(0).U32(kAll).Zeros(n * 4)));
     }},
    {"samples of one size, as many as there can be",
     [](u32 n) {
       const Track track = Track().WithOneChunk(kAll - 1, ConstantStsz(1, kAll - 1));
       return MovieOf(track.With(&Track::udta, Box("udta", Box("free", Bytes(n, 1))))).Build();
     }},
    {"edits that jump",
     [](u32 n) {
       std::vector<std::pair<u32, i32>> edits;
       for (u32 i = 0; i < n; ++i) edits.emplace_back(i % 7, i % 3 ? -1 : static_cast<i32>(n - i));
       return FileWith(&Track::edts, Edts(edits));
     }},
    {"tracks",
     [](u32 n) {
       Movie movie;
       movie.tracks.assign(n / 6, Track());
       return movie.Build();
     }},
    // Neither each "trak" nor the movie header, which is not there, may be searched from the first box on.
    {"tracks without anything", [](u32 n) { return Box("moov", Repeated(n, Box("trak"))); }},
    {"references",
     [](u32 n) { return FileWith(&Track::edts, Box("tref", Repeated(n, Box("hint", Bytes().U32(1))))); }},
    {"descriptors in a descriptor",
     [](u32 n) {
       const Bytes inner = Repeated(n, Descriptor(14, Bytes().U32(1)));
       Movie movie;
       movie.udta = FullBox("iods", 0, 0, Descriptor(16, Bytes().U16(0x4F).Zeros(5).Add(inner)));
       return movie.Build();
     }},
    {"packets", ManyPackets},
    {"fragments", Fragments},
};

using Piece = decltype(&Track::stts);

/// Tables of `n` runs each, in a track of few samples or in one of `n`.
struct RunBomb {
  const char* name;
  bool isSparse;
  Piece piece;
  const char* code;
  Bytes (*run)(u32 n, u32 i);

  Bytes Make(u32 n) const {
    Bytes runs;
    for (u32 i = 0; i < n; ++i) runs.Add(run(n, i));
    return MovieOf((isSparse ? Sparse(n) : Track()).With(piece, TableBox(code, n, runs))).Build();
  }
};

const RunBomb kRunBombs[] = {
    {"runs of nearly all samples", false, &Track::stts, "stts",
     [](u32 n, u32) { return Bytes().U32(kAll / n).U32(1); }},
    {"runs of all samples, again and again", false, &Track::stts, "stts",
     [](u32, u32) { return Bytes().U32(kAll).U32(1); }},
    {"offsets for no sample", false, &Track::ctts, "ctts", [](u32, u32 i) { return Bytes().U32(0).U32(i); }},
    {"offsets of all samples, again and again", false, &Track::ctts, "ctts",
     [](u32, u32 i) { return Bytes().U32(kAll).U32(i); }},
    {"offsets up and down", true, &Track::ctts, "ctts",
     [](u32, u32 i) { return Bytes().U32(1).U32(i % 2 * 90'000); }},
    {"runs of chunks that jump", true, &Track::stsc, "stsc",
     [](u32 n, u32 i) { return Bytes().U32(i % 2 ? n - i : i + 1).U32(i % 3).U32(1); }},
    {"runs of empty chunks", true, &Track::stsc, "stsc",
     [](u32, u32 i) { return Bytes().U32(i * 4'000).U32(0).U32(1); }},
    {"sync samples that fall", true, &Track::stss, "stss", [](u32 n, u32 i) { return Bytes().U32(n - i); }},
};

double Seconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// What a reader asks of a track: facts, samples and times at both ends and between, searches. Gives what the
// longest answer took.
double AskTrack(CMp4Track& track) {
  double longest = 0;
  const auto ask = [&](auto question, auto... arguments) {
    const double start = Seconds();
    static_cast<void>((track.*question)(arguments...));
    longest = std::max(longest, Seconds() - start);
  };
  u32 count = 0, found = 0, size = 0;
  ask(&CMp4Track::GetSampleCount, &count);
  u8 bytes[64];
  for (const u32 sample : {1u, 2u, count / 3, count / 2, count - 1, count, kAll}) {
    u64 time = 0, shown = 0;
    ask(&CMp4Track::GetSampleDecodingTime, sample, &time);
    ask(&CMp4Track::GetSampleCompositionTime, sample, &shown);
    ask(&CMp4Track::ReadSample, sample, u32{sizeof(bytes)}, &size, &bytes[0]);
    for (const u64 wanted : {time, shown, time + 1, ~time}) {
      ask(&CMp4Track::FindSyncSample, wanted, &found);
      ask(&CMp4Track::FindSampleByDecodingTime, wanted, &found);
      ask(&CMp4Track::FindSampleByCompositionTime, wanted, &found);
    }
  }
  return longest;
}

struct Cost {
  Mp4Result opened = MP4_OK;
  u32 tracks = 0;  // that could be opened
  double seconds = 0;
  double longestAnswer = 0;  // to a question to a track
  std::size_t peak = 0;
};

// Opening, all tracks with their questions and hints, the dump, closing; what is printed goes nowhere.
Cost CostOf(const std::string& name, bool adapting) {
  testing::internal::CaptureStdout();
  memory.peak = memory.bytes;
  const std::size_t before = memory.bytes;
  const double start = Seconds();
  const auto file = NewFile(adapting);
  Cost cost{.opened = file->Open(name.c_str(), MP4_MODE_READ, MP4_TYPE_MP4)};
  u32 tracks = 0;
  static_cast<void>(file->GetTrackCount(&tracks));
  for (u32 index = 1; index <= tracks; ++index) {
    CMp4Track* track = nullptr;
    u32 timeScale = 0;
    static_cast<void>(file->GetMovieTimeScale(&timeScale));
    if (file->OpenTrack(index, &track) != MP4_OK) continue;
    ++cost.tracks;
    cost.longestAnswer = std::max(cost.longestAnswer, AskTrack(*track));
    EXPECT_EQ(file->CloseTrack(track), MP4_OK);
    CMp4HintTrack* hints = nullptr;
    if (file->OpenHintTrack(index, &hints) != MP4_OK) continue;
    EXPECT_EQ(hints->DumpHintSample(1), MP4_OK);
    delete hints;
  }
  static_cast<void>(file->Dump());
  static_cast<void>(file->Close());
  cost.seconds = Seconds() - start;
  cost.peak = memory.peak - before;
  static_cast<void>(testing::internal::GetCapturedStdout());
  return cost;
}

// Both sizes of a bomb, and the figures of the large one in a line.
void Explode(const Bomb& bomb, bool adapting) {
  const char* const wanted = std::getenv("KTMP4_BOMB_RECORDS");
  const u32 records = wanted != nullptr ? static_cast<u32>(std::strtoul(wanted, nullptr, 10)) : kRecords;
  const Bytes smallFile = bomb.make(records / kTimesLarger), largeFile = bomb.make(records);
  const TempFile smallOne(smallFile), largeOne(largeFile);
  const Cost small = CostOf(smallOne.Name(), adapting), large = CostOf(largeOne.Name(), adapting);
  const auto size = static_cast<double>(largeFile.size());
  std::printf("%-45s %-7s %-10s %5u tracks, %5.1f times the bytes: %5.1f times the time, ", bomb.name.c_str(),
              adapting ? "adapted" : "strict", Mp4ResultName(large.opened), large.tracks,
              size / static_cast<double>(smallFile.size()), large.seconds / small.seconds);
  std::printf("%5.1f ns and %4.1f bytes of memory to a byte, %6.3f ms for an answer\n",
              large.seconds * 1e9 / size, static_cast<double>(large.peak) / size, large.longestAnswer * 1e3);
  SCOPED_TRACE(bomb.name + (adapting ? ", adapted" : ""));
  EXPECT_LT(large.seconds / std::max(small.seconds, kShortest), kMostGrowth);
  EXPECT_LT(large.longestAnswer / std::max(small.longestAnswer, kShortest), kMostGrowth);
  EXPECT_LT(large.peak, kMemoryAtAll + kMemoryToByte * largeFile.size());
}

TEST(Growth, OfTimeAndMemoryIsThatOfTheFile) {
  std::vector<Bomb> bombs(std::begin(kBombs), std::end(kBombs));
  for (const char* code : {"stts", "ctts", "stss", "stsc", "stco", "co64", "stsd", "dref", "elst"}) {
    const auto make = [=](u32 n) {
      return FileWith(&Track::stts, TableBox(code, kAll, Bytes().Zeros(n * 8)));
    };
    bombs.push_back({std::string(code) + " that claims all", make});
  }
  for (const RunBomb& bomb : kRunBombs) bombs.push_back({bomb.name, [&](u32 n) { return bomb.Make(n); }});
  for (const Bomb& bomb : bombs) {
    Explode(bomb, false);
    Explode(bomb, true);
  }
}

}  // namespace
}  // namespace kt::test

// ktmp4_bench [--smoke] [--readme] [--folder=FOLDER] [--json=FILE] [Google Benchmark's options]
//
// Opens, reads and searches a generated film of two hours, side by side with libavformat and with bare calls
// of the system in one process, and prints how they stand to each other, --json as JSON too. --readme
// measures what the README shows alone. --smoke takes seconds in place of hours and one repetition, to see
// that everything works; its figures mean nothing.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <numeric>
#include <random>
#include <string>
#include <string_view>

#include "bench/long_file.h"
#include "bench/memory.h"
#include "bench/our_reader.h"
#include "bench/our_writer.h"
#include "bench/peer_reader.h"
#include "bench/peer_writer.h"
#include "bench/ratios.h"
#include "bench/raw_bound.h"
#include "bench/value_reader.h"

namespace {

using namespace kt;

constexpr u32 kVideo = 0;  // the position of the track that is searched, on both sides
constexpr u32 kSeeks = 10000;
constexpr u32 kRange = 10000;

struct Plan {
  bool smoke = false;
  bool forReadme = false;
  std::string folder = KTMP4_BENCH_FOLDER;
  std::string json;  // empty for none

  u32 Seconds() const { return smoke ? 20 : 7200; }
  std::array<u32, 3> GrowingSeconds() const {
    return smoke ? std::array{5U, 10U, 20U} : std::array{600U, 7200U, 72000U};
  }
  Sound WrittenSound() const { return {.samples = smoke ? 10'000U : 1'000'000U}; }
  std::string WrittenFile(const char* name) const { return folder + "/written-" + name + ".mp4"; }
  int Repetitions() const { return smoke ? 1 : 7; }
};

benchmark::internal::Benchmark* Register(const Plan& plan, const std::string& name, auto body) {
  return benchmark::RegisterBenchmark(name.c_str(), body)
      ->Unit(benchmark::kMillisecond)
      ->Repetitions(plan.Repetitions());
}

// Opening alone is timed; closing is not what a viewer waits for.
template <typename Reader>
void RegisterOpen(const Plan& plan, const std::string& name, const std::string& film) {
  Register(plan, name, [film](benchmark::State& state) {
    for (auto _ : state) {
      auto reader = std::make_unique<Reader>(film);
      state.PauseTiming();
      reader.reset();
      state.ResumeTiming();
    }
  });
}

// One pass over the whole file; every pass has to see what the others saw.
template <typename Reader>
void RegisterRead(const Plan& plan, const std::string& name, const std::string& film, Tally (Reader::*pass)(),
                  const Tally& expected) {
  Register(plan, name, [=](benchmark::State& state) {
    for (auto _ : state) {
      state.PauseTiming();
      auto reader = std::make_unique<Reader>(film);
      state.ResumeTiming();
      const Tally tally = (*reader.*pass)();
      state.PauseTiming();
      if (tally != expected) state.SkipWithError("the pass did not see every sample as it is");
      reader.reset();
      state.ResumeTiming();
    }
    state.SetItemsProcessed(static_cast<i64>(expected.samples) * state.iterations());
  });
}

// The fragments hold what the film holds, so that a pass over them has to see the same.
void RegisterAdapting(const Plan& plan, const std::string& film, const std::string& fragments,
                      const Tally& expected) {
  RegisterOpen<CAdaptingReader>(plan, "open/adapted", film);
  RegisterOpen<CAdaptingReader>(plan, "open fragments/ktmp4", fragments);
  RegisterOpen<CPeerReader>(plan, "open fragments/libavformat", fragments);
  RegisterRead<CAdaptingReader>(plan, "read fragments/ktmp4", fragments, &COurReader::ReadInFileOrder,
                                expected);
  RegisterRead<CPeerReader>(plan, "read fragments/libavformat", fragments, &CPeerReader::ReadAll, expected);
}

template <typename Reader, typename Stream>
void RegisterSeek(const Plan& plan, const std::string& name, const std::string& film,
                  u64 (Reader::*search)(Stream, const std::vector<u64>&), const std::vector<u64>& times) {
  Register(plan, name, [=](benchmark::State& state) {
    Reader reader(film);
    for (auto _ : state) benchmark::DoNotOptimize((reader.*search)(Stream{kVideo}, times));
    state.SetItemsProcessed(static_cast<i64>(times.size()) * state.iterations());
  });
}

// What a pin's delivery costs in one stretch of a track.
void RegisterRange(const Plan& plan, const std::string& name, const std::string& file, bool atEnd) {
  Register(plan, name, [=](benchmark::State& state) {
    COurReader reader(file);
    const u32 samples = reader.SampleCount(kVideo);
    const u32 count = std::min(kRange, samples);
    for (auto _ : state) {
      benchmark::DoNotOptimize(reader.DeliverRange(kVideo, atEnd ? samples - count + 1 : 1, count).checksum);
    }
    state.SetItemsProcessed(static_cast<i64>(count) * state.iterations());
  });
}

// The same samples without the questions.
void RegisterReadRange(const Plan& plan, const std::string& name, const std::string& file) {
  Register(plan, name, [=](benchmark::State& state) {
    COurReader reader(file);
    std::vector<u32> samples(std::min(kRange, reader.SampleCount(kVideo)));
    std::iota(samples.begin(), samples.end(), 1U);
    for (auto _ : state) benchmark::DoNotOptimize(reader.ReadThese(kVideo, samples).checksum);
  });
}

std::vector<u32> RandomSamples(u32 count) {
  std::mt19937 random(99);
  std::vector<u32> samples(kRange);
  for (u32& sample : samples) sample = 1 + static_cast<u32>(random()) % count;
  return samples;
}

void RegisterRandom(const Plan& plan, const std::string& name, const std::string& file) {
  Register(plan, name, [=](benchmark::State& state) {
    COurReader reader(file);
    const std::vector<u32> samples = RandomSamples(reader.SampleCount(kVideo));
    for (auto _ : state) benchmark::DoNotOptimize(reader.ReadThese(kVideo, samples).checksum);
    state.SetItemsProcessed(static_cast<i64>(samples.size()) * state.iterations());
  });
}

// What a pass over a file costs at least.
void RegisterRaw(const Plan& plan, const std::string& name, const std::string& file,
                 u64 (CRawReader::*pass)() = &CRawReader::ReadAndCopy) {
  Register(plan, name, [=](benchmark::State& state) {
    CRawReader reader(file);
    for (auto _ : state) benchmark::DoNotOptimize((reader.*pass)());
  });
}

void RegisterRawRandom(const Plan& plan, const std::string& name, const std::string& file) {
  Register(plan, name, [=](benchmark::State& state) {
    CRawReader reader(file);
    const std::vector<u32> samples = RandomSamples(COurReader(file).SampleCount(kVideo));
    for (auto _ : state) benchmark::DoNotOptimize(reader.ReadEach(kVideo, samples));
  });
}

// Lists and reads without a search, for what is set beside the bound.
void RegisterPass(const Plan& plan, const std::string& name, const std::string& file,
                  Tally (COurReader::*pass)()) {
  Register(plan, name, [=](benchmark::State& state) {
    COurReader reader(file);
    for (auto _ : state) benchmark::DoNotOptimize((reader.*pass)().checksum);
  });
}

// A whole file, from the first call to the closed file.
template <typename Writer>
void WriteSound(const Plan& plan, const std::string& path) {
  Writer writer(path);
  writer.Write(plan.WrittenSound());
  writer.Finish();
}

template <typename Writer>
void RegisterWrite(const Plan& plan, const std::string& name, const std::string& path) {
  Register(plan, name, [=](benchmark::State& state) {
    for (auto _ : state) WriteSound<Writer>(plan, path);
    state.SetItemsProcessed(static_cast<i64>(plan.WrittenSound().samples) * state.iterations());
  });
}

void RegisterRemux(const Plan& plan, const std::string& name, const std::string& film,
                   const std::string& path, void (*remux)(const std::string&, const std::string&),
                   const Tally& expected) {
  Register(plan, name, [=](benchmark::State& state) {
    for (auto _ : state) remux(film, path);
    if (CPeerReader(path).ReadAll() != expected) state.SkipWithError("the copy is not what was copied");
    state.SetItemsProcessed(static_cast<i64>(expected.samples) * state.iterations());
  });
}

// Hints of some kind stand in the file for nearly every sample; the two sides put other samples together.
void RegisterHinting(const Plan& plan, const std::string& name, const std::string& film,
                     const std::string& path, void (*remux)(const std::string&, const std::string&),
                     const Tally& expected) {
  Register(plan, name, [=](benchmark::State& state) {
    for (auto _ : state) remux(film, path);
    if (PeerCountSamples(path) < expected.samples * 3 / 2) state.SkipWithError("there are few hints");
    state.SetItemsProcessed(static_cast<i64>(expected.samples) * state.iterations());
  });
}

// The two sides have to write the same.
void RegisterWriting(const Plan& plan, const std::string& film, const Tally& expected) {
  const std::string ours = plan.WrittenFile("ktmp4"), theirs = plan.WrittenFile("libavformat");
  WriteSound<COurWriter>(plan, ours);
  WriteSound<CPeerWriter>(plan, theirs);
  if (CPeerReader(ours).ReadAll() != CPeerReader(theirs).ReadAll()) {
    std::fprintf(stderr, "ktmp4_bench: the two writers differ\n");
    std::exit(1);
  }
  RegisterWrite<COurWriter>(plan, "write/ktmp4", ours);
  RegisterWrite<CPeerWriter>(plan, "write/libavformat", theirs);
  RegisterRemux(plan, "remux/ktmp4", film, ours, OurRemux, expected);
  RegisterRemux(plan, "remux/libavformat", film, theirs, PeerRemux, expected);
  RegisterHinting(plan, "hint/ktmp4", film, plan.WrittenFile("hinted-ktmp4"), OurHintedRemux, expected);
  RegisterHinting(plan, "hint/libavformat", film, plan.WrittenFile("hinted-libavformat"), PeerHintedRemux,
                  expected);
}

// Heap that stands when all samples are written and the file is still open.
template <typename Writer>
u64 HeapWhileWriting(const Plan& plan, const char* name) {
  return HeapTakenBy([&] {
    auto* writer = new Writer(plan.WrittenFile(name));
    writer->Write(plan.WrittenSound());
  });
}

// Opening and the first search, for which each side has its index.
template <typename Reader, typename Stream>
void RegisterFirstSeek(const Plan& plan, const std::string& name, const std::string& film,
                       u64 (Reader::*search)(Stream, const std::vector<u64>&), u64 time) {
  Register(plan, name, [=](benchmark::State& state) {
    for (auto _ : state) {
      auto reader = std::make_unique<Reader>(film);
      benchmark::DoNotOptimize((reader.get()->*search)(Stream{kVideo}, {time}));
      state.PauseTiming();
      reader.reset();
      state.ResumeTiming();
    }
  });
}

std::string GrowthName(const char* what, u32 seconds) {
  return "growth/" + std::string(what) + "/" + std::to_string(seconds) + " s";
}

// Films of growing length with samples of a few bytes, so that the tables are what grows.
void RegisterGrowth(const Plan& plan, u32 seconds) {
  const std::string film = MakeLongFile({.seconds = seconds, .small = true}, plan.folder);
  const Tally expected = CPeerReader(film).ReadAll();
  const std::vector<u64> times = RandomTimes(kSeeks, COurReader(film).LastTime(kVideo));
  const auto name = [=](const char* what) { return GrowthName(what, seconds); };
  RegisterOpen<COurReader>(plan, name("open"), film);
  RegisterOpen<CPeerReader>(plan, name("open/libavformat"), film);
  RegisterFirstSeek(plan, name("first seek"), film, &COurReader::FindSyncSamples, times[0]);
  RegisterFirstSeek(plan, name("first seek/libavformat"), film, &CPeerReader::SearchIndex, times[0]);
  RegisterRead(plan, name("read"), film, &COurReader::ReadByTrack, expected);
  RegisterRead(plan, name("read/libavformat"), film, &CPeerReader::ReadAll, expected);
  RegisterSeek(plan, name("seek"), film, &COurReader::FindSyncSamples, times);
  RegisterSeek(plan, name("seek/libavformat"), film, &CPeerReader::SearchIndex, times);
}

constexpr u32 kChunkLengths[] = {10, 100, 10000};

std::string SoundName(const char* what, u32 samplesPerChunk) {
  return std::string(what) + "/chunks of " + std::to_string(samplesPerChunk);
}

void RegisterAll(const Plan& plan, const std::string& film, const std::string& fragments) {
  const Tally expected = CPeerReader(film).ReadAll();
  const std::vector<u64> times = RandomTimes(kSeeks, COurReader(film).LastTime(kVideo));

  RegisterOpen<COurReader>(plan, "open/ktmp4", film);
  RegisterOpen<CPeerReader>(plan, "open/libavformat", film);
  RegisterAdapting(plan, film, fragments, expected);
  RegisterRead(plan, "read/ktmp4", film, &COurReader::ReadInFileOrder, expected);
  RegisterRead(plan, "read/libavformat", film, &CPeerReader::ReadAll, expected);
  RegisterRead(plan, "read by time/ktmp4", film, &COurReader::ReadByTime, expected);
  RegisterRead(plan, "read by track/ktmp4", film, &COurReader::ReadByTrack, expected);
  RegisterRead(plan, "read by track/at once", film, &COurReader::ReadAtOnceByTrack, expected);
  RegisterSeek(plan, "seek/ktmp4", film, &COurReader::FindSyncSamples, times);
  RegisterSeek(plan, "seek/libavformat", film, &CPeerReader::Seek, times);
  RegisterSeek(plan, "search/libavformat", film, &CPeerReader::SearchIndex, times);
  RegisterRange(plan, "deliver/first samples", film, false);
  RegisterRange(plan, "deliver/last samples", film, true);
  RegisterReadRange(plan, "deliver/read alone", film);
  RegisterWriting(plan, film, expected);
  RegisterPass(plan, "list/ktmp4", film, &COurReader::ListByTrack);
  RegisterPass(plan, "list/at once", film, &COurReader::ListAtOnceByTrack);
  RegisterRaw(plan, "read/raw", film);
  RegisterRaw(plan, "read by track/raw", film, &CRawReader::ReadTurnsAndCopy);
  RegisterRandom(plan, "read pictures at random", film);
  RegisterRawRandom(plan, "read pictures at random/raw", film);
  Register(plan, "remux/raw", [plan, film](benchmark::State& state) {
    CRawReader reader(film);
    for (auto _ : state) benchmark::DoNotOptimize(reader.ReadAndWrite(plan.WrittenFile("raw")));
  });
  Register(plan, "write/raw", [plan](benchmark::State& state) {
    for (auto _ : state) WriteRaw(plan.WrittenSound(), plan.WrittenFile("raw"));
  });
  for (const u32 length : kChunkLengths) {
    const std::string sound =
        MakeLongFile({.seconds = plan.Seconds(), .withVideo = false, .samplesPerChunk = length}, plan.folder);
    RegisterRange(plan, SoundName("deliver first", length), sound, false);
    RegisterRange(plan, SoundName("deliver last", length), sound, true);
    RegisterRandom(plan, SoundName("read at random", length), sound);
    RegisterRawRandom(plan, SoundName("read at random/raw", length), sound);
    RegisterPass(plan, SoundName("read", length), sound, &COurReader::ReadByTrack);
    RegisterPass(plan, SoundName("read/at once", length), sound, &COurReader::ReadAtOnceByTrack);
    RegisterRaw(plan, SoundName("read/raw", length), sound);
  }
  for (const u32 seconds : plan.GrowingSeconds()) RegisterGrowth(plan, seconds);
}

template <typename Reader>
double HeapOfReader(const std::string& film) {
  return static_cast<double>(HeapTakenBy([&] { new Reader(film); }));
}

constexpr double kMilli = 1e3;
constexpr double kMicro = 1e6;
constexpr double kNano = 1e9;
constexpr double kMega = 1e-6;

void CompareWithPeer(CComparison& to, const Plan& plan, const CRatioReporter& report, const std::string& film,
                     double samples) {
  const auto least = [&](const char* name) { return report.Least(name); };
  to.Begin("", "ktmp4", "libavformat");
  to.Add("open and bind all tracks", least("open/ktmp4"), least("open/libavformat"), kMilli, "ms");
  const double peerRead = least("read/libavformat");
  const double perSample = kNano / samples;
  to.Add("read every sample, in file order", least("read/ktmp4"), peerRead, perSample, "ns/sample");
  to.Add("read every sample, by time", least("read by time/ktmp4"), peerRead, perSample, "ns/sample");
  to.Add("read every sample, track after track", least("read by track/ktmp4"), peerRead, perSample,
         "ns/sample");
  to.Add("sync sample at a random time, to av_seek_frame", least("seek/ktmp4"), least("seek/libavformat"),
         kNano / kSeeks, "ns/seek");
  to.Add("the same, to av_index_search_timestamp", least("seek/ktmp4"), least("search/libavformat"),
         kNano / kSeeks, "ns/seek");
  to.Add("heap after opening", HeapOfReader<COurReader>(film), HeapOfReader<CPeerReader>(film), kMega, "MB");
  to.Add("write samples of 200 bytes", least("write/ktmp4"), least("write/libavformat"),
         kNano / plan.WrittenSound().samples, "ns/sample");
  to.Add("copy the film", least("remux/ktmp4"), least("remux/libavformat"), perSample, "ns/sample");
  to.Add("copy the film and hint it", least("hint/ktmp4"), least("hint/libavformat"), perSample, "ns/sample");
  // The one side hints when all samples are written, the other as they come: what it takes beyond the copy.
  to.Add("hint it, beyond the copy", least("hint/ktmp4") - least("remux/ktmp4"),
         least("hint/libavformat") - least("remux/libavformat"), perSample, "ns/sample");
  to.Add("heap while writing", static_cast<double>(HeapWhileWriting<COurWriter>(plan, "ktmp4")),
         static_cast<double>(HeapWhileWriting<CPeerWriter>(plan, "libavformat")), kMega, "MB");
}

// Bare calls of the system and copies, for the same bytes in the same run.
void CompareWithBound(CComparison& to, const Plan& plan, const CRatioReporter& report, double samples) {
  const auto least = [&](const char* name) { return report.Least(name); };
  to.Begin("beside the raw bound", "ktmp4", "raw");
  const auto addPass = [&](const char* what, const char* ours, const char* raw) {
    to.Add(what, least(ours), least(raw), kNano / samples, "ns/sample");
  };
  addPass("read every sample, in file order", "read/ktmp4", "read/raw");
  addPass("..., by time", "read by time/ktmp4", "read/raw");
  addPass("..., track after track", "read by track/ktmp4", "read/raw");
  addPass("..., in one call", "read by track/at once", "read/raw");
  addPass("..., to reads of half a second", "read by track/ktmp4", "read by track/raw");
  addPass("..., in one call, to these", "read by track/at once", "read by track/raw");
  addPass("size and times of every sample, to reading it", "list/ktmp4", "read/raw");
  addPass("..., asked in one call", "list/at once", "read/raw");
  for (const u32 length : kChunkLengths) {
    const double count = 2.0 * plan.Seconds() * LongFile::kSoundRate / LongFile::kTicksPerSoundSample;
    const double raw = report.Least(SoundName("read/raw", length));
    to.Add(SoundName("read sound", length), report.Least(SoundName("read", length)), raw, kNano / count,
           "ns/sample");
    to.Add(SoundName("..., in one call", length), report.Least(SoundName("read/at once", length)), raw,
           kNano / count, "ns/sample");
  }
  to.Add("a random picture's bytes", least("read pictures at random"), least("read pictures at random/raw"),
         kMicro / kRange, "us/sample");
  for (const u32 length : kChunkLengths) {
    to.Add(SoundName("random sound", length), report.Least(SoundName("read at random", length)),
           report.Least(SoundName("read at random/raw", length)), kMicro / kRange, "us/sample");
  }
  // Here the bound is what the same samples cost without the questions, through the same door.
  to.Add("a picture delivered, to its bytes alone", least("deliver/first samples"),
         least("deliver/read alone"), kNano / kRange, "ns/sample");
  to.Add("write samples of 200 bytes", least("write/ktmp4"), least("write/raw"),
         kNano / plan.WrittenSound().samples, "ns/sample");
  to.Add("copy the film, to a read and a write", least("remux/ktmp4"), least("remux/raw"), kNano / samples,
         "ns/sample");
}

double SecondsOf(const auto& pass) {
  const std::clock_t begin = std::clock();
  benchmark::DoNotOptimize(pass().checksum);
  return static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
}

double Middle(std::vector<double> times) {
  std::ranges::sort(times);
  return times[times.size() / 2];
}

// What the values of C++ cost over the plain calls. That is less than what a shared machine makes of two
// benchmarks, and so a pass of one is followed by a pass of the other, and the middle of their ratios counts.
void CompareValues(CComparison& to, const Plan& plan, const CRatioReporter& report, const std::string& film,
                   double samples) {
  if (report.Least("read by track/ktmp4") <= 0) return;
  CValueReader values(film);
  COurReader plain(film);
  std::vector<double> ratios, ofPlain;
  for (int pass = 0; pass < (plan.smoke ? 1 : 41); ++pass) {
    const double ofValues = SecondsOf([&] { return values.ReadByTrack(); });
    ofPlain.push_back(SecondsOf([&] { return plain.ReadByTrack(); }));
    ratios.push_back(ofValues / ofPlain.back());
  }
  to.Begin("ktmp4", "values", "plain");
  to.Add("read every sample, track after track", Middle(ratios) * Middle(ofPlain), Middle(ofPlain),
         kNano / samples, "ns/sample");
}

// `scripts/draw_growth.py` draws these: what, a comma, and the length of the film.
void CompareGrowth(CComparison& to, const Plan& plan, const CRatioReporter& report) {
  to.Begin("growth", "ktmp4", "libavformat");
  for (const u32 seconds : plan.GrowingSeconds()) {
    const auto add = [&](const char* row, const std::string& what, double scale, const char* unit) {
      to.Add(row + std::string(", ") + std::to_string(seconds) + " s",
             report.Least(GrowthName(what.c_str(), seconds)),
             report.Least(GrowthName((what + "/libavformat").c_str(), seconds)), scale, unit);
    };
    constexpr double kSoundsPerSecond = 1.0 * LongFile::kSoundRate / LongFile::kTicksPerSoundSample;
    add("open and bind all tracks", "open", kMilli, "ms");
    add("open and search once", "first seek", kMilli, "ms");
    add("read a sample", "read", kNano / (seconds * (LongFile::kPictureRate + kSoundsPerSecond)),
        "ns/sample");
    add("sync sample at a random time", "seek", kNano / kSeeks, "ns/seek");
  }
}

// What the door for files of other writers costs, on the film as it is and in fragments.
void CompareAdapting(CComparison& to, const CRatioReporter& report, const std::string& film,
                     const std::string& fragments, double samples) {
  const auto least = [&](const char* name) { return report.Least(name); };
  const double heap = HeapOfReader<CAdaptingReader>(film);
  to.Begin("adapted", "ktmp4", "libavformat");
  to.Add("open and bind all tracks", least("open/adapted"), least("open/libavformat"), kMilli, "ms");
  to.Add("heap after opening", heap, HeapOfReader<CPeerReader>(film), kMega, "MB");
  to.Add("the film in fragments: open", least("open fragments/ktmp4"), least("open fragments/libavformat"),
         kMilli, "ms");
  to.Add("..., heap after opening", HeapOfReader<CAdaptingReader>(fragments),
         HeapOfReader<CPeerReader>(fragments), kMega, "MB");
  to.Add("..., read every sample", least("read fragments/ktmp4"), least("read fragments/libavformat"),
         kNano / samples, "ns/sample");
  to.Begin("ktmp4", "adapted", "strict");
  to.Add("open and bind all tracks", least("open/adapted"), least("open/ktmp4"), kMilli, "ms");
  to.Add("heap after opening", heap, HeapOfReader<COurReader>(film), kMega, "MB");
}

void CompareEnds(CComparison& to, const CRatioReporter& report) {
  to.Begin("ktmp4, cost of a sample", "last", "first");
  to.Add("delivered, of the film's pictures", report.Least("deliver/last samples"),
         report.Least("deliver/first samples"), kNano / kRange, "ns/sample");
  for (const u32 length : kChunkLengths) {
    to.Add(SoundName("delivered", length), report.Least(SoundName("deliver last", length)),
           report.Least(SoundName("deliver first", length)), kNano / kRange, "ns/sample");
  }
}

Plan TakeOwnOptions(int* argc, char** argv) {
  constexpr std::string_view kFolder = "--folder=", kJson = "--json=";
  Plan plan;
  int kept = 1;
  for (int i = 1; i < *argc; ++i) {
    const std::string_view option = argv[i];
    if (option == "--smoke") {
      plan.smoke = true;
    } else if (option == "--readme") {
      plan.forReadme = true;
    } else if (option.starts_with(kFolder)) {
      plan.folder = option.substr(kFolder.size());
    } else if (option.starts_with(kJson)) {
      plan.json = option.substr(kJson.size());
    } else {
      argv[kept++] = argv[i];
    }
  }
  *argc = kept;
  return plan;
}

}  // namespace

int main(int argc, char** argv) {
  const Plan plan = TakeOwnOptions(&argc, argv);
  // The two sides take turns, so that a machine that is busy for a while is busy for both.
  std::vector<char*> options(argv, argv + argc);
  char interleave[] = "--benchmark_enable_random_interleaving=true";
  // Seven times a tenth of a second find a quiet moment more readily than a second at once.
  char brief[] = "--benchmark_min_time=0.1";
  char shortest[] = "--benchmark_min_time=0.001";
  char readme[] =
      "--benchmark_filter=^(open|read/|read by track|read pictures|read "
      "fragments|seek|search|deliver/(first|read)|"
      "write|remux|hint|list)";
  options.insert(options.begin() + 1, interleave);
  options.insert(options.begin() + 1, plan.smoke ? shortest : brief);
  if (plan.forReadme) options.insert(options.begin() + 1, readme);
  int count = static_cast<int>(options.size());
  benchmark::Initialize(&count, options.data());
  if (benchmark::ReportUnrecognizedArguments(count, options.data())) return 2;

  const std::string film = MakeLongFile({.seconds = plan.Seconds()}, plan.folder);
  const std::string fragments = MakeLongFile({.seconds = plan.Seconds(), .fragmented = true}, plan.folder);
  RegisterAll(plan, film, fragments);
  CRatioReporter report;
  benchmark::RunSpecifiedBenchmarks(&report);
  const double samples = static_cast<double>(CPeerReader(film).ReadAll().samples);
  CComparison comparison;
  CompareWithPeer(comparison, plan, report, film, samples);
  CompareWithBound(comparison, plan, report, samples);
  CompareValues(comparison, plan, report, film, samples);
  CompareAdapting(comparison, report, film, fragments, samples);
  CompareEnds(comparison, report);
  CompareGrowth(comparison, plan, report);
  if (!plan.json.empty() && !comparison.WriteJson(plan.json)) {
    std::fprintf(stderr, "ktmp4_bench: cannot write %s\n", plan.json.c_str());
    return 1;
  }
  return report.HasFailed() ? 1 : 0;
}

// Threads at work at the same time, to be run under the thread sanitizer: files with a thread each, and a
// source whose pins have workers while others seek, ask, change its switches and load again.

#include <ktmp4/mp4_hint_track.h>

#include <chrono>
#include <map>
#include <thread>

#include "filter/logic/sample_delivery.h"
#include "filter/logic/seeking.h"
#include "support/fake_media_sample.h"
#include "support/written_movie.h"

namespace kt::test {
namespace {

constexpr int kThreads = 4;

void AtTheSameTime(auto&& work) {
  std::vector<std::jthread> threads;
  for (int i = 0; i < kThreads; ++i) threads.emplace_back([&work, i] { work(i); });
}

// A film with hints, the same each time.
Bytes WrittenFilm() {
  WrittenMovie movie(MP4_TYPE_3GP);
  CMp4Track* const pictures = movie.AddTrack(MP4_KIND_VIDEO, 1000, MP4_FORMAT_MP4V, {0, 1});
  CMp4Track* const sound = movie.AddTrack(MP4_KIND_AUDIO, 8000, MP4_FORMAT_MP4A, {0x12, 0x10});
  for (u64 i = 0; i < 300; ++i) {
    EXPECT_EQ(WriteSample(pictures, 40, 10 * i, i % 12 == 0), MP4_OK);
    EXPECT_EQ(WriteSample(sound, 20, 80 * i), MP4_OK);
  }
  for (CMp4Track* track : {pictures, sound}) EXPECT_EQ(movie->CloseTrack(track), MP4_OK);
  EXPECT_EQ(movie->CloseHintTrack(movie.AddHintTrack(MP4_HINT_VIDEO, {1})), MP4_OK);
  EXPECT_EQ(movie->CloseHintTrack(movie.AddHintTrack(MP4_HINT_AAC, {2})), MP4_OK);
  return movie.Finish({});
}

std::string ReadThrough(const Bytes& film) {
  OpenedMovie movie(film);
  std::string all;
  for (u32 index = 1; index <= Got(*movie, &CMp4File::GetTrackCount); ++index) {
    const auto track = movie.OpenTrack(index);
    const u32 count = Got(*track, &CMp4Track::GetSampleCount);
    for (u32 sample = 1; sample <= count; ++sample) {
      const Bytes bytes = SampleOf(*track, sample);
      all.append(bytes.begin(), bytes.end());
      all += std::to_string(Ask(*track, &CMp4Track::GetSampleDecodingTime, sample).value);
    }
    all += std::to_string(Ask(*track, &CMp4Track::FindSyncSample, u64{700}).value);
  }
  return all;
}

TEST(Threads, HaveAFileEach) {
  const Bytes film = WrittenFilm();
  const std::string content = ReadThrough(film);
  AtTheSameTime([&](int thread) {
    for (int round = 0; round < 5; ++round) {
      if (thread % 2 == 0) {
        EXPECT_TRUE(WrittenFilm() == film);
      }
      EXPECT_TRUE(ReadThrough(film) == content);
    }
  });
}

class Silent final : public ReaderHost, public StreamClock, public TextReceiver, public CaptionDecoder {
 public:
  void ShowError(const char* /*text*/) override {}
  bool AddPin(CReaderPin& /*pin*/) override { return true; }
  i64 GetStreamTime() override { return 0; }
  void AddMetadataText(i64 /*time*/, const char* /*text*/) override {}
  void Decode(const u8* /*bytes*/, i32 /*count*/, i64 /*time*/) override {}
};

// Delivers a pin's samples, again and again, until it is stopped.
class Worker final : public PinWorker, public RequestWait {
 public:
  Worker(const CReaderSource& source, CReaderPin& pin, Silent& silent)
      : m_delivery(source, pin, {silent, *this, silent, silent}) {}
  ~Worker() { StopWorker(); }
  bool WaitForRequest(u32 /*milliseconds*/) override { return m_isStopped; }
  void BeginFlush() override {}
  void StopWorker() override {
    m_isStopped = true;
    if (m_thread.joinable()) m_thread.join();
  }
  void EndFlush() override {}
  void RunWorker() override {
    m_isStopped = false;
    m_thread = std::thread([this] {
      while (!m_isStopped) m_delivered += m_delivery.FillBuffer(m_buffer) == FilterResult::Ok;
    });
  }
  u32 Delivered() const { return m_delivered; }

 private:
  CSampleDelivery m_delivery;
  FakeMediaSample m_buffer{1 << 16};
  std::atomic<bool> m_isStopped{true};
  std::atomic<u32> m_delivered{0};
  std::thread m_thread;
};

class Graph {
 public:
  explicit Graph(const std::string& name) : m_source(m_silent) { Load(name); }

  // All from any thread. The pins of an earlier file stay, without tracks, and the first answers for
  // positions.
  void Load(const std::string& name) {
    const std::lock_guard lock(m_state);
    m_workers.clear();
    const std::size_t first = m_source.Pins().size();
    m_hasLoadedAgain = first > 0;
    EXPECT_EQ(m_source.Load(name.c_str()), FilterResult::Ok);
    ASSERT_EQ(m_source.Pins().size(), first + 2);
    for (std::size_t i = first; i < first + 2; ++i) {
      CReaderPin& pin = *m_source.Pins()[i];
      MediaType type;
      EXPECT_EQ(pin.GetMediaType(0, &type), FilterResult::Ok);
      EXPECT_EQ(pin.SetMediaType(type), FilterResult::Ok);
      Worker& worker =
          *m_workers.emplace(&pin, std::make_unique<Worker>(m_source, pin, m_silent)).first->second;
      worker.RunWorker();
    }
  }
  void SeekOrAsk(u32 step) {
    const i64 position = step % 7 * 500'000;
    if (step % 3 == 0) {
      const std::lock_guard lock(m_state);
      const PositionChange change{&position, kAbsolutePositioning, nullptr, 0};
      const auto find = [this](CReaderPin& pin) -> PinWorker* {
        const auto worker = m_workers.find(&pin);
        return worker != m_workers.end() ? worker->second.get() : nullptr;
      };
      EXPECT_TRUE(m_seeking.SetPositions(change, find) == FilterResult::Ok || m_hasLoadedAgain);
    }
    i64 time = 0, stop = 0;
    static_cast<void>(m_seeking.GetPositions(&time, &stop));
    m_source.SetCaptionMode(step % 2 == 0 ? "on" : "off");
    EXPECT_TRUE(m_source.GetDuration(&time) == FilterResult::Ok || m_hasLoadedAgain);
  }
  u32 Delivered() const {
    u32 sum = 0;
    for (const auto& [pin, worker] : m_workers) sum += worker->Delivered();
    return sum;
  }

 private:
  Silent m_silent;
  CReaderSource m_source;
  FilterSeeking m_seeking{m_source};
  std::mutex m_state;
  std::map<const CReaderPin*, std::unique_ptr<Worker>> m_workers;
  std::atomic<bool> m_hasLoadedAgain{false};
};

TEST(Threads, SeekAskAndLoadWhilePinsDeliver) {
  const TempFile film(WrittenFilm());
  for (int life = 0; life < 4; ++life) {
    Graph graph(film.Name());
    AtTheSameTime([&](int thread) {
      for (u32 step = 0; step < 60; ++step) {
        graph.SeekOrAsk(step + static_cast<u32>(thread));
        if (thread == 0 && step % 20 == 19) graph.Load(film.Name());
      }
    });
    // The workers of the last file may not have begun yet.
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (graph.Delivered() == 0 && std::chrono::steady_clock::now() < end) std::this_thread::yield();
    EXPECT_GT(graph.Delivered(), 0u);
  }
}

}  // namespace
}  // namespace kt::test

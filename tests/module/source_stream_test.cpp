#include "module/source_stream.h"

#include <evcode.h>
#include <vfwmsgs.h>

#include <new>
#include <random>

#include "module/frame_test.h"

namespace kt::test {
namespace {

class SourceStreamTest : public FrameTest {};

using Kind = SinkEvent::Kind;

bool Ended(Connected& pair) {
  return Eventually([&] { return pair.Pin().Count(Kind::EndOfStream) > 0; });
}

TEST_F(SourceStreamTest, DeliversEverySampleThenTheEndOnce) {
  const Deadline deadline("plain delivery");
  Connected pair(CountingScript{.m_samples = 3});
  pair.Run();
  ASSERT_TRUE(Ended(pair));
  // Pausing and running again is no new start for a worker that waits behind the end.
  pair.m_source->Pause();
  pair.m_source->Run(0);
  pair.Stop();
  const std::vector<SinkEvent> expected = {
      {Kind::NewSegment, 1}, {Kind::Sample, 1}, {Kind::Sample, 2}, {Kind::Sample, 3}, {Kind::EndOfStream, 0}};
  EXPECT_EQ(pair.Pin().Events(), expected);
  EXPECT_EQ(pair.m_source->Pin().m_threads, 0);
}

// A fault while filling ends the stream and then aborts the play; nothing of it leaves the worker.
TEST_F(SourceStreamTest, AFailureEndsTheStreamAndTellsTheGraph) {
  const Deadline deadline("failing to fill");
  const std::pair<std::function<HRESULT(ULONG)>, HRESULT> cases[] = {
      {[](ULONG) { return E_ACCESSDENIED; }, E_ACCESSDENIED},
      {[](ULONG) -> HRESULT { throw std::bad_alloc(); }, E_OUTOFMEMORY},
      {[](ULONG) -> HRESULT { throw 3; }, E_UNEXPECTED},
  };
  // A graph that only takes events.
  class Graph final : public CUnknown, public IMediaEventSink {
   public:
    Graph() : CUnknown(nullptr) {}
    DECLARE_IUNKNOWN
    HRESULT NonDelegatingQueryInterface(REFIID iid, void** object) override {
      if (iid == IID_IMediaEventSink) return GetInterface(static_cast<IMediaEventSink*>(this), object);
      return CUnknown::NonDelegatingQueryInterface(iid, object);
    }
    HRESULT STDMETHODCALLTYPE Notify(LONG code, LONG_PTR first, LONG_PTR) override {
      const std::lock_guard lock(m_lock);
      m_endsAtEvent = m_sink->Pin().Count(Kind::EndOfStream);
      m_code = code;
      m_first = static_cast<HRESULT>(first);
      return S_OK;
    }
    std::mutex m_lock;
    CRecordingSink* m_sink = nullptr;
    std::size_t m_endsAtEvent = 0;
    LONG m_code = 0;
    HRESULT m_first = S_OK;
  };
  for (const auto& [fill, told] : cases) {
    Held<Graph> graph;
    Connected pair(CountingScript{.m_fill = fill});
    graph->m_sink = &*pair.m_sink;
    // The frame asks nothing of a graph but its event sink.
    pair.m_source->JoinFilterGraph(reinterpret_cast<IFilterGraph*>(static_cast<IMediaEventSink*>(&*graph)),
                                   L"Counting");
    pair.Run();
    EXPECT_TRUE(Eventually([&] {
      const std::lock_guard lock(graph->m_lock);
      return graph->m_code != 0;
    }));
    pair.Stop();
    pair.m_source->JoinFilterGraph(nullptr, nullptr);
    EXPECT_EQ(graph->m_code, EC_ERRORABORT);
    EXPECT_EQ(graph->m_first, told);
    EXPECT_EQ(graph->m_endsAtEvent, 1u);
    EXPECT_EQ(pair.Pin().Count(Kind::Sample), 0u);
  }
}

// Any answer but S_OK is the sink's last word.
TEST_F(SourceStreamTest, ASinkThatDeclinesGetsNothingMore) {
  const Deadline deadline("a declining sink");
  for (const HRESULT answer : {S_FALSE, E_FAIL, VFW_E_WRONG_STATE}) {
    Connected pair(CountingScript{.m_samples = 100},
                   SinkScript{.m_receive = [answer](ULONG number) { return number < 3 ? S_OK : answer; }});
    pair.Run();
    EXPECT_TRUE(Eventually([&] { return pair.Pin().Count(Kind::Sample) == 3; }));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    pair.Stop();
    EXPECT_EQ(pair.Pin().Count(Kind::Sample), 3u);
    EXPECT_EQ(pair.Pin().Count(Kind::EndOfStream), 0u);
  }
}

TEST_F(SourceStreamTest, AWorkerThatCanNotStartIsForgotten) {
  const Deadline deadline("a worker that does not start");
  Connected pair(CountingScript{.m_samples = 1, .m_threadCreate = E_ACCESSDENIED});
  pair.m_sink->Run(0);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(pair.m_source->Run(0), E_ACCESSDENIED);
    EXPECT_EQ(pair.m_source->State(), State_Stopped);
    EXPECT_EQ(pair.m_source->Pin().m_threads, 0);
  }
  pair.m_source->m_script.m_threadCreate = S_OK;
  EXPECT_EQ(pair.m_source->Run(0), S_OK);
  EXPECT_TRUE(Ended(pair));
}

// The pins that are active already are taken back when a later one fails.
TEST_F(SourceStreamTest, AFailingPinTakesTheOthersBack) {
  const Deadline deadline("a second pin that fails");
  Connected pair;
  pair.m_source->AddAnotherPin();
  Held<CRecordingSink> second;
  IPin* pin = pair.m_source->GetPin(1);
  ASSERT_EQ(pin->Connect(&second->Pin(), nullptr), S_OK);
  auto& late = static_cast<CCountingPin&>(*pair.m_source->GetPin(1));
  late.m_failStart = true;
  EXPECT_EQ(pair.m_source->Pause(), E_ABORT);
  EXPECT_EQ(pair.m_source->State(), State_Stopped);
  EXPECT_FALSE(pair.m_source->Pin().ThreadExists());
  EXPECT_FALSE(late.ThreadExists());
  pin->Disconnect();
  second->Pin().Disconnect();
}

TEST_F(SourceStreamTest, StopsWhileTheSinkBlocksInReceive) {
  const Deadline deadline("stop with a blocked sink");
  for (int i = 0; i < 50; ++i) {
    Connected pair(CountingScript{.m_samples = 100}, SinkScript{.m_blockFrom = 2});
    pair.Run();
    ASSERT_TRUE(Eventually([&] { return pair.Pin().IsBlocked(); }));
    pair.Stop();
    EXPECT_EQ(pair.Pin().Count(Kind::Sample), 2u);
  }
}

// The worker waits for the only buffer, which the sink keeps: only taking the buffers back frees it.
TEST_F(SourceStreamTest, StopsWhileTheWorkerWaitsForABuffer) {
  const Deadline deadline("stop without a buffer");
  for (int i = 0; i < 50; ++i) {
    Connected pair(CountingScript{.m_samples = 100}, SinkScript{.m_keep = true});
    pair.Run();
    ASSERT_TRUE(Eventually([&] { return pair.Pin().Count(Kind::Sample) == 1; }));
    EXPECT_EQ(pair.m_source->Stop(), S_OK);
    EXPECT_EQ(pair.m_source->Pin().m_threads, 0);
  }
}

// A renderer asks all sorts of things from inside of Receive, while a stop holds the state lock.
TEST_F(SourceStreamTest, AnswersTheSinksQuestionsDuringAStop) {
  const Deadline deadline("questions from Receive");
  CCountingSource* source = nullptr;
  std::atomic<int> asked{0};
  const auto ask = [&](ULONG) {
    CCountingPin& pin = source->Pin();
    CMediaType type;
    EXPECT_EQ(pin.ConnectionMediaType(&type), S_OK);
    EXPECT_EQ(pin.QueryAccept(&type), S_OK);
    ComPointer<IPin> peer;
    EXPECT_EQ(pin.ConnectedTo(peer.Put()), S_OK);
    FILTER_INFO info = {};
    source->QueryFilterInfo(&info);
    ComPointer<IEnumPins> pins;
    EXPECT_EQ(source->EnumPins(pins.Put()), S_OK);
    FILTER_STATE state = State_Stopped;
    EXPECT_EQ(source->GetState(0, &state), S_OK);
    source->StreamTime();
    source->NotifyEvent(EC_USER, 0, 0);
    ++asked;
    return S_OK;
  };
  Connected pair(CountingScript{.m_samples = 1000000}, SinkScript{.m_receive = ask});
  source = &*pair.m_source;
  for (int i = 0; i < 100; ++i) {
    pair.Run();
    const int before = asked;
    ASSERT_TRUE(Eventually([&] { return asked > before; }));
    // The source first: its sink is in the midst of asking.
    pair.m_source->Stop();
    pair.m_sink->Stop();
  }
}

TEST_F(SourceStreamTest, SurvivesAStormOfStateChanges) {
  const Deadline deadline("state changes", std::chrono::seconds(120));
  Connected pair(CountingScript{.m_samples = 1000000});
  std::mt19937 random(7);
  for (int i = 0; i < 500; ++i) {
    switch (random() % 3) {
      case 0:
        pair.Run();
        break;
      case 1:
        EXPECT_EQ(pair.m_sink->Pause(), S_OK);
        EXPECT_EQ(pair.m_source->Pause(), S_OK);
        break;
      default:
        pair.Stop();
        EXPECT_EQ(pair.m_source->Pin().m_threads, 0);
        break;
    }
  }
}

// What comes while the sink flushes counts for nothing. Behind a flush samples follow a new segment only, and
// count on from its start.
void ExpectOrderly(const std::vector<SinkEvent>& events) {
  bool flushing = false;
  ULONG due = 0;
  for (const SinkEvent& event : events) {
    if (event.kind == Kind::BeginFlush) flushing = true;
    if (event.kind == Kind::EndFlush) {
      flushing = false;
      due = 0;
    }
    if (event.kind == Kind::NewSegment && !flushing) due = event.value;
    if (event.kind == Kind::Sample) {
      ASSERT_FALSE(flushing);
      ASSERT_EQ(event.value, due) << "a sample from before the flush, or one that is missing";
      ++due;
    }
  }
}

TEST_F(SourceStreamTest, SurvivesAStormOfSeeks) {
  const Deadline deadline("seeks", std::chrono::seconds(120));
  // Plain delivery, a sink that blocks until it is flushed, one that starves the worker of buffers.
  for (const SinkScript& script : {SinkScript{}, SinkScript{.m_blockFrom = 1}, SinkScript{.m_keep = true}}) {
    Connected pair(CountingScript{.m_samples = 1000000}, script);
    pair.Run();
    std::mt19937 random(11);
    for (int i = 0; i < 300; ++i) {
      if (i % 50 == 25) pair.Stop();
      if (i % 50 == 35) pair.Run();
      pair.m_source->Pin().Seek(1 + random() % 900000);
      if (i % 10 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    pair.m_source->Pin().Seek(5);
    EXPECT_TRUE(Eventually([&] {
      const std::vector<SinkEvent> events = pair.Pin().Events();
      return !events.empty() && events.back().kind == Kind::Sample;
    }));
    pair.Stop();
    ExpectOrderly(pair.Pin().Events());
  }
}

// Released while it plays, a source ends its worker while it is whole.
TEST_F(SourceStreamTest, AReleasedSourceStopsItself) {
  const Deadline deadline("release while playing");
  for (int i = 0; i < 30; ++i) {
    Held<CRecordingSink> sink;
    {
      Held<CCountingSource> source(nullptr, CountingScript{.m_samples = 1000000});
      ASSERT_EQ(source->Pin().Connect(&sink->Pin(), nullptr), S_OK);
      sink->Run(0);
      source->Run(0);
      // The sink's reference on the source's pin has to go for the source to go.
      sink->Pin().ForgetPeer();
    }
    sink->Stop();
  }
}

TEST_F(SourceStreamTest, StreamTimeCountsWhileRunningWithAClockOnly) {
  class Clock final : public CUnknown, public IReferenceClock {
   public:
    Clock() : CUnknown(nullptr) {}
    DECLARE_IUNKNOWN
    HRESULT STDMETHODCALLTYPE GetTime(REFERENCE_TIME* time) override {
      *time = 1000;
      return S_OK;
    }
    HRESULT STDMETHODCALLTYPE AdviseTime(REFERENCE_TIME, REFERENCE_TIME, HEVENT, DWORD_PTR*) override {
      return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE AdvisePeriodic(REFERENCE_TIME, REFERENCE_TIME, HSEMAPHORE,
                                             DWORD_PTR*) override {
      return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Unadvise(DWORD_PTR) override { return E_NOTIMPL; }
  };
  Held<CCountingSource> source(nullptr);
  Held<Clock> clock;
  EXPECT_EQ(source->Run(300), S_OK);
  EXPECT_EQ(source->StreamTime(), 0);
  EXPECT_EQ(source->SetSyncSource(&*clock), S_OK);
  EXPECT_EQ(source->StreamTime(), 700);
  source->Pause();
  EXPECT_EQ(source->StreamTime(), 0);
  source->Stop();
}

}  // namespace
}  // namespace kt::test

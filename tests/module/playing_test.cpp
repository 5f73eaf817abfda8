// What a source's pins do while it plays that no file makes the filter do.

#include <objbase.h>

#include <new>

#include "module/counting_source.h"
#include "module/host_graph.h"

namespace kt::test {
namespace {

class PlayingFrameTest : public FrameTest {};

// A fault while filling ends the stream and then aborts the play; nothing of it leaves the worker.
TEST_F(PlayingFrameTest, AFailureEndsTheStreamAndAbortsThePlay) {
  const Deadline deadline("failing to fill");
  const std::pair<std::function<HRESULT()>, HRESULT> cases[] = {
      {[] { return E_ACCESSDENIED; }, E_ACCESSDENIED},
      {[]() -> HRESULT { throw std::bad_alloc(); }, E_OUTOFMEMORY},
      {[]() -> HRESULT { throw 3; }, E_UNEXPECTED},
  };
  for (const auto& [fill, told] : cases) {
    SourceAndSink pair;
    HostGraph graph;
    ASSERT_EQ(graph.Create(), S_OK);
    ASSERT_EQ(graph.m_builder->AddFilter(&*pair.source, L"Source"), S_OK);
    ASSERT_EQ(graph.m_builder->AddFilter(&*pair.sink, L"Sink"), S_OK);
    pair.source->Pin().m_fill = fill;
    ASSERT_EQ(pair.Connect(), S_OK);
    EXPECT_TRUE(SUCCEEDED(graph.m_control->Run()));
    HRESULT failure = S_OK;
    EXPECT_TRUE(graph.Comes(EC_ERRORABORT, [&](long code, LONG_PTR first, LONG_PTR) {
      if (code == EC_ERRORABORT) failure = static_cast<HRESULT>(first);
    }));
    EXPECT_EQ(failure, told);
    EXPECT_EQ(pair.sink->Pin().Events(), (std::vector<SinkEvent>{{SinkEvent::EndOfStream, 0}}));
    EXPECT_EQ(graph.m_control->Stop(), S_OK);
    // A filter that is taken out must not keep its pointer to the graph.
    EXPECT_EQ(graph.m_builder->RemoveFilter(&*pair.source), S_OK);
    FILTER_INFO info = {};
    EXPECT_EQ(pair.source->QueryFilterInfo(&info), S_OK);
    EXPECT_EQ(info.pGraph, nullptr);
  }
}

// A worker that does not start is forgotten, and the pins that are active already are taken back.
TEST_F(PlayingFrameTest, APinThatCanNotStartTakesTheOthersBack) {
  const Deadline deadline("a worker that does not start");
  SourceAndSink pair;
  ASSERT_EQ(pair.Connect(), S_OK);
  pair.source->AddAnotherPin();
  CCountingPin& late = pair.source->Pin(1);
  Held<CRecordingSink> second;
  ASSERT_EQ(late.Connect(&second->Pin(), nullptr), S_OK);
  late.m_start = E_ABORT;
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(pair.source->Run(0), E_ABORT);
    EXPECT_EQ(pair.source->State(), State_Stopped);
    EXPECT_FALSE(pair.source->Pin().ThreadExists());
    EXPECT_FALSE(late.ThreadExists());
  }
  late.m_start = S_OK;
  EXPECT_EQ(pair.source->Run(0), S_OK);
  EXPECT_EQ(pair.source->Stop(), S_OK);
  late.Disconnect();
  second->Pin().Disconnect();
}

// The worker waits for the only buffer, which the sink keeps: only taking the buffers back frees it.
TEST_F(PlayingFrameTest, StopsWhileTheWorkerWaitsForABuffer) {
  const Deadline deadline("stop without a buffer");
  for (int i = 0; i < 20; ++i) {
    SourceAndSink pair(SinkScript{.m_keep = true});
    ASSERT_EQ(pair.Connect(), S_OK);
    EXPECT_EQ(pair.Run(), S_OK);
    ASSERT_TRUE(Eventually([&] { return pair.sink->Pin().Count(SinkEvent::Sample) == 1; }));
    EXPECT_EQ(pair.source->Stop(), S_OK);
    EXPECT_FALSE(pair.source->Pin().ThreadExists());
  }
}

// Released while it plays, a source ends its worker while it is whole.
TEST_F(PlayingFrameTest, AReleasedSourceStopsItself) {
  const Deadline deadline("release while playing");
  for (int i = 0; i < 20; ++i) {
    Held<CRecordingSink> sink;
    {
      Held<CCountingSource> source;
      ASSERT_EQ(source->Pin().Connect(&sink->Pin(), nullptr), S_OK);
      sink->Run(0);
      source->Run(0);
      // The sink's reference on the source's pin has to go for the source to go.
      sink->Pin().ForgetPeer();
    }
    sink->Stop();
  }
}

TEST_F(PlayingFrameTest, StreamTimeCountsWhileRunningWithAClockOnly) {
  ComPointer<IReferenceClock> clock;
  ASSERT_EQ(CoCreateInstance(CLSID_SystemClock, nullptr, CLSCTX_INPROC_SERVER, IID_IReferenceClock,
                             clock.PutVoid()),
            S_OK);
  REFERENCE_TIME now = 0;
  ASSERT_TRUE(SUCCEEDED(clock->GetTime(&now)));
  constexpr REFERENCE_TIME kHour = 36'000'000'000;
  Held<CCountingSource> source;
  EXPECT_EQ(source->Run(now - kHour), S_OK);
  EXPECT_EQ(source->StreamTime(), 0);
  EXPECT_EQ(source->SetSyncSource(clock.Get()), S_OK);
  EXPECT_GE(source->StreamTime(), kHour);
  EXPECT_LT(source->StreamTime(), 2 * kHour);
  source->Pause();
  EXPECT_EQ(source->StreamTime(), 0);
  source->Stop();
}

}  // namespace
}  // namespace kt::test

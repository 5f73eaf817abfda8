// What a source's pins do while it plays that no file makes the filter do.

#include <objbase.h>
#include <atomic>

#include <new>

#include "module/counting_source.h"
#include "module/host_graph.h"

namespace kt::test {
namespace {

class PlayingFrameTest : public FrameTest {};

// A fault while filling ends the stream and then aborts the play; nothing of it leaves the worker.
TEST_F(PlayingFrameTest, AFailureEndsTheStreamAndAbortsThePlay) {
  CRecordingPin* input = nullptr;
  const std::pair<std::function<HRESULT()>, HRESULT> cases[] = {
      {[] { return E_ACCESSDENIED; }, E_ACCESSDENIED},
      // No further buffers, without a stop.
      {[&] { return input->TakenAllocator()->Decommit(); }, VFW_E_NOT_COMMITTED},
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
    input = &pair.sink->Pin();
    ASSERT_EQ(pair.Connect(), S_OK);
    EXPECT_TRUE(SUCCEEDED(graph.m_control->Run()));
    HRESULT failure = S_OK;
    EXPECT_TRUE(graph.Comes(EC_ERRORABORT, [&](long code, LONG_PTR first, LONG_PTR) {
      if (code == EC_ERRORABORT) failure = static_cast<HRESULT>(first);
    }));
    EXPECT_EQ(failure, told);
    EXPECT_EQ(input->Count(SinkEvent::EndOfStream), 1u);
    EXPECT_EQ(input->Count(SinkEvent::Sample), told == VFW_E_NOT_COMMITTED ? 1u : 0u);
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
    EXPECT_FALSE(pair.source->Pin().ThreadExists() || late.ThreadExists());
  }
  late.m_start = S_OK;
  EXPECT_EQ(pair.source->Run(0), S_OK);
  EXPECT_EQ(pair.source->Stop(), S_OK);
  late.Disconnect();
  second->Pin().Disconnect();
}

// The worker waits for the only buffer, which the sink keeps: only taking the buffers back frees it.
TEST_F(PlayingFrameTest, StopsWhileTheWorkerWaitsForABuffer) {
  for (int i = 0; i < 20; ++i) {
    SourceAndSink pair(SinkScript{.m_keep = true});
    ASSERT_EQ(pair.Connect(), S_OK);
    EXPECT_EQ(pair.Run(), S_OK);
    ASSERT_TRUE(Eventually([&] { return pair.sink->Pin().Count(SinkEvent::Sample) == 1; }));
    EXPECT_EQ(pair.source->Stop(), S_OK);
    EXPECT_FALSE(pair.source->Pin().ThreadExists());
  }
}

// Released while it plays, a source ends its worker while it is whole; out of the worker that is another
// thread's work.
TEST_F(PlayingFrameTest, AReleasedSourceStopsItself) {
  for (const bool byWorker : {false, true}) {
    for (int i = 0; i < 20; ++i) {
      CCountingSource* source = nullptr;
      CRecordingPin* input = nullptr;
      std::atomic<bool> isRunning = false;
      const auto release = [&] {
        // The sink's reference on the source's pin has to go for the source to go.
        input->ForgetPeer();
        source->NonDelegatingRelease();
      };
      {
        const Held<CRecordingSink> sink(SinkScript{.m_receive = [&](ULONG number) {
          // A call of ours needs a reference until it is back.
          if (byWorker && number == 3 && Eventually([&] { return isRunning.load(); })) release();
          return S_OK;
        }});
        input = &sink->Pin();
        source = new CCountingSource;
        source->NonDelegatingAddRef();
        ASSERT_EQ(source->Pin().Connect(input, nullptr), S_OK);
        EXPECT_EQ(sink->Run(0), S_OK);
        EXPECT_EQ(source->Run(0), S_OK);
        isRunning = true;
        if (!byWorker) release();
      }
      ASSERT_TRUE(Eventually([] { return !IsModuleHeld(); }));
    }
  }
}

// Each would wait for the worker that makes the call. To leave a graph takes no wait.
TEST_F(PlayingFrameTest, AWorkerChangesNothing) {
  CCountingSource* source = nullptr;
  std::vector<HRESULT> answers;
  std::atomic<bool> answered{false};
  SourceAndSink pair(SinkScript{.m_receive = [&](ULONG number) {
    CCountingPin& pin = source->Pin();
    if (number == 1) {
      answers = {source->Stop(), source->Pause(), source->Run(0), pin.Disconnect(),
                 pin.Connect(&pin, nullptr)};
      EXPECT_EQ(source->JoinFilterGraph(nullptr, nullptr), S_OK);
      answered = true;
    }
    return S_OK;
  }});
  source = &*pair.source;
  ASSERT_EQ(pair.Connect(), S_OK);
  EXPECT_EQ(pair.Run(), S_OK);
  EXPECT_TRUE(Eventually([&] { return answered.load(); }));
  EXPECT_EQ(answers, std::vector<HRESULT>(5, VFW_E_WRONG_STATE));
  EXPECT_EQ(source->State(), State_Running);
}

}  // namespace
}  // namespace kt::test

// The frame in the platform's own filter graph manager.

#include <control.h>
#include <evcode.h>
#include <objbase.h>
#include <uuids.h>

#include "module/frame_test.h"

namespace kt::test {
namespace {

class GraphTest : public FrameTest {
 protected:
  void SetUp() override {
    ASSERT_EQ(CoCreateInstance(CLSID_FilterGraph, nullptr, CLSCTX_INPROC_SERVER, IID_IGraphBuilder,
                               m_graph.PutVoid()),
              S_OK);
    ASSERT_EQ(m_graph->QueryInterface(IID_IMediaControl, m_control.PutVoid()), S_OK);
    ASSERT_EQ(m_graph->QueryInterface(IID_IMediaEvent, m_events.PutVoid()), S_OK);
  }
  void TearDown() override {
    m_control.Reset();
    m_events.Reset();
    m_graph.Reset();
    FrameTest::TearDown();
  }
  void Build(CCountingSource& source, CRecordingSink& sink) {
    ASSERT_EQ(m_graph->AddFilter(&source, L"Source"), S_OK);
    ASSERT_EQ(m_graph->AddFilter(&sink, L"Sink"), S_OK);
    ASSERT_EQ(m_graph->ConnectDirect(&source.Pin(), &sink.Pin(), nullptr), S_OK);
  }
  /// Takes events off the graph until this one comes; false when it does not.
  bool Comes(long wanted) {
    return Eventually([&] {
      long code = 0;
      LONG_PTR first = 0;
      LONG_PTR second = 0;
      // Some managers answer at once that there is no event, whatever the time given.
      if (m_events->GetEvent(&code, &first, &second, 10) != S_OK) return false;
      m_events->FreeEventParams(code, first, second);
      return code == wanted;
    });
  }

  ComPointer<IGraphBuilder> m_graph;
  ComPointer<IMediaControl> m_control;
  ComPointer<IMediaEvent> m_events;
};

TEST_F(GraphTest, PlaysToItsEndAgainAndAgain) {
  const Deadline deadline("play in a graph", std::chrono::seconds(120));
  Held<CCountingSource> source(nullptr, CountingScript{.m_samples = 200});
  Held<CRecordingSink> sink;
  Build(*source, *sink);
  for (std::size_t round = 1; round <= 20; ++round) {
    source->Pin().m_due = 1;
    EXPECT_TRUE(SUCCEEDED(m_control->Pause()));
    EXPECT_TRUE(SUCCEEDED(m_control->Run()));
    EXPECT_TRUE(Comes(EC_COMPLETE));
    EXPECT_TRUE(SUCCEEDED(m_control->Pause()));
    EXPECT_EQ(m_control->Stop(), S_OK);
    EXPECT_EQ(sink->Pin().Count(SinkEvent::Sample), 200 * round);
    EXPECT_EQ(sink->Pin().Count(SinkEvent::EndOfStream), round);
  }
  FILTER_INFO info = {};
  ASSERT_EQ(source->QueryFilterInfo(&info), S_OK);
  EXPECT_STREQ(info.achName, L"Source");
  ASSERT_NE(info.pGraph, nullptr);
  info.pGraph->Release();
  // A graph that drops its filters must not leave one behind with a pointer to it.
  EXPECT_EQ(m_graph->RemoveFilter(&*source), S_OK);
  ASSERT_EQ(source->QueryFilterInfo(&info), S_OK);
  EXPECT_EQ(info.pGraph, nullptr);
}

TEST_F(GraphTest, AFailureAbortsThePlay) {
  const Deadline deadline("a failing source in a graph");
  Held<CCountingSource> source(nullptr, CountingScript{.m_fill = [](ULONG) { return E_ACCESSDENIED; }});
  Held<CRecordingSink> sink;
  Build(*source, *sink);
  EXPECT_TRUE(SUCCEEDED(m_control->Run()));
  EXPECT_TRUE(Comes(EC_ERRORABORT));
  EXPECT_EQ(m_control->Stop(), S_OK);
}

TEST_F(GraphTest, StopsWithASinkThatBlocks) {
  const Deadline deadline("stop of a graph with a blocked sink");
  Held<CCountingSource> source(nullptr, CountingScript{.m_samples = 1000000});
  Held<CRecordingSink> sink(SinkScript{.m_blockFrom = 1});
  Build(*source, *sink);
  for (int i = 0; i < 50; ++i) {
    EXPECT_TRUE(SUCCEEDED(m_control->Run()));
    ASSERT_TRUE(Eventually([&] { return sink->Pin().IsBlocked(); }));
    ASSERT_EQ(m_control->Stop(), S_OK);
  }
}

// The graph is what goes first: it stops and lets go of the filters.
TEST_F(GraphTest, AGraphThatIsReleasedWhilePlayingLeavesNothing) {
  const Deadline deadline("release of a playing graph");
  {
    Held<CCountingSource> source(nullptr, CountingScript{.m_samples = 1000000});
    Held<CRecordingSink> sink;
    Build(*source, *sink);
  }
  EXPECT_TRUE(SUCCEEDED(m_control->Run()));
}

}  // namespace
}  // namespace kt::test

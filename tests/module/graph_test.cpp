// The frame in the platform's own filter graph manager.

#include "module/frame_test.h"
#include "module/host_graph.h"

namespace kt::test {
namespace {

class GraphTest : public FrameTest {
 protected:
  void SetUp() override { ASSERT_EQ(m_graph.Create(), S_OK); }
  void TearDown() override {
    m_graph.Release();
    FrameTest::TearDown();
  }
  void Build(CCountingSource& source, CRecordingSink& sink) {
    ASSERT_EQ(m_graph.m_builder->AddFilter(&source, L"Source"), S_OK);
    ASSERT_EQ(m_graph.m_builder->AddFilter(&sink, L"Sink"), S_OK);
    ASSERT_EQ(m_graph.m_builder->ConnectDirect(&source.Pin(), &sink.Pin(), nullptr), S_OK);
  }

  HostGraph m_graph;
};

TEST_F(GraphTest, PlaysToItsEndAgainAndAgain) {
  const Deadline deadline("play in a graph", std::chrono::seconds(120));
  Held<CCountingSource> source(nullptr, CountingScript{.m_samples = 200});
  Held<CRecordingSink> sink;
  Build(*source, *sink);
  for (std::size_t round = 1; round <= 20; ++round) {
    source->Pin().m_due = 1;
    EXPECT_TRUE(SUCCEEDED(m_graph.m_control->Pause()));
    EXPECT_TRUE(SUCCEEDED(m_graph.m_control->Run()));
    EXPECT_TRUE(m_graph.Comes(EC_COMPLETE));
    EXPECT_TRUE(SUCCEEDED(m_graph.m_control->Pause()));
    EXPECT_EQ(m_graph.m_control->Stop(), S_OK);
    EXPECT_EQ(sink->Pin().Count(SinkEvent::Sample), 200 * round);
    EXPECT_EQ(sink->Pin().Count(SinkEvent::EndOfStream), round);
  }
  FILTER_INFO info = {};
  ASSERT_EQ(source->QueryFilterInfo(&info), S_OK);
  EXPECT_STREQ(info.achName, L"Source");
  ASSERT_NE(info.pGraph, nullptr);
  info.pGraph->Release();
  // A graph that drops its filters must not leave one behind with a pointer to it.
  EXPECT_EQ(m_graph.m_builder->RemoveFilter(&*source), S_OK);
  ASSERT_EQ(source->QueryFilterInfo(&info), S_OK);
  EXPECT_EQ(info.pGraph, nullptr);
}

TEST_F(GraphTest, AFailureAbortsThePlay) {
  const Deadline deadline("a failing source in a graph");
  Held<CCountingSource> source(nullptr, CountingScript{.m_fill = [](ULONG) { return E_ACCESSDENIED; }});
  Held<CRecordingSink> sink;
  Build(*source, *sink);
  EXPECT_TRUE(SUCCEEDED(m_graph.m_control->Run()));
  EXPECT_TRUE(m_graph.Comes(EC_ERRORABORT));
  EXPECT_EQ(m_graph.m_control->Stop(), S_OK);
}

TEST_F(GraphTest, StopsWithASinkThatBlocks) {
  const Deadline deadline("stop of a graph with a blocked sink");
  Held<CCountingSource> source(nullptr, CountingScript{.m_samples = 1000000});
  Held<CRecordingSink> sink(SinkScript{.m_blockFrom = 1});
  Build(*source, *sink);
  for (int i = 0; i < 50; ++i) {
    EXPECT_TRUE(SUCCEEDED(m_graph.m_control->Run()));
    ASSERT_TRUE(Eventually([&] { return sink->Pin().IsBlocked(); }));
    ASSERT_EQ(m_graph.m_control->Stop(), S_OK);
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
  EXPECT_TRUE(SUCCEEDED(m_graph.m_control->Run()));
}

}  // namespace
}  // namespace kt::test

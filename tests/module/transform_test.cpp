// A transform filter between a source and a sink of this frame: what it agrees on with both, and that what
// streams through it keeps its order, whatever happens meanwhile.

#include "module/graph/transform_filter.h"

#include <evcode.h>
#include <objbase.h>

#include <deque>
#include <map>
#include <new>
#include <tuple>

#include "module/counting_source.h"
#include "module/host_graph.h"

namespace kt::test {
namespace {

/// Hands on what comes, `m_late` samples later.
class CLateFilter final : public CTransformFilter {
 public:
  CLateFilter() : CTransformFilter(nullptr, CLSID_NULL) {}
  CTransformInputPin& In() { return static_cast<CTransformInputPin&>(*GetPin(0)); }
  CTransformOutputPin& Out() { return static_cast<CTransformOutputPin&>(*GetPin(1)); }

  std::size_t m_late = 0;
  LONG m_ahead = 0;
  std::function<HRESULT()> m_fail;

 protected:
  HRESULT CheckInputType(const CMediaType& input) override {
    return input.majortype == MEDIATYPE_Stream ? S_OK : E_FAIL;
  }
  HRESULT GetMediaType(int position, const CMediaType& input, CMediaType* output) override {
    return position == 0 ? output->Set(input) : VFW_S_NO_MORE_ITEMS;
  }
  HRESULT CheckTransform(const CMediaType& input, const CMediaType& output) override {
    return input == output ? S_OK : E_FAIL;
  }
  LONG BytesAhead(const CMediaType&) override { return m_ahead; }
  LONG SamplesHeld() override { return static_cast<LONG>(m_late); }
  HRESULT Transform(CTransformSample& sample, std::span<const BYTE>) override {
    if (m_fail) return m_fail();
    m_held.emplace_back(&sample);
    DeliverAllBut(m_late);
    if (!m_held.empty()) Keep(sample);
    return S_OK;
  }
  HRESULT DeliverHeld() override { return DeliverAllBut(0); }
  void ForgetHeld() override { m_held.clear(); }

 private:
  HRESULT DeliverAllBut(std::size_t count) {
    while (m_held.size() > count) {
      const ComPointer<CTransformSample> sample = m_held.front();
      m_held.pop_front();
      Deliver(*sample.Get());
    }
    return S_OK;
  }

  std::deque<ComPointer<CTransformSample>> m_held;
};

/// Source, filter and sink, stopped and apart again at the end.
struct Chain {
  explicit Chain(SinkScript script = {}) : sink(std::move(script)) {}
  ~Chain() {
    Stop();
    source->Pin().Disconnect();
    In().Disconnect();
    Out().Disconnect();
    sink->Pin().Disconnect();
  }
  HRESULT Connect() {
    const HRESULT result = source->Pin().Connect(&In(), nullptr);
    return result == S_OK ? Out().Connect(&sink->Pin(), nullptr) : result;
  }
  /// All but the source, whose part the test plays.
  void Run() {
    EXPECT_EQ(sink->Run(0), S_OK);
    EXPECT_EQ(filter->Run(0), S_OK);
  }
  void Stop() {
    EXPECT_EQ(sink->Stop(), S_OK);
    EXPECT_EQ(filter->Stop(), S_OK);
    EXPECT_EQ(source->Stop(), S_OK);
  }
  HRESULT Send(LONGLONG number, CMediaType* type = nullptr) {
    ComPointer<IMediaSample> sample;
    if (!In().Allocator()) return VFW_E_NO_ALLOCATOR;
    const HRESULT got = In().Allocator()->GetBuffer(sample.Put(), nullptr, nullptr, 0);
    if (FAILED(got)) return got;
    LONGLONG next = number + 1;
    sample->SetMediaTime(&number, &next);
    sample->SetMediaType(type);
    return In().Receive(sample.Get());
  }
  CTransformInputPin& In() { return filter->In(); }
  CTransformOutputPin& Out() { return filter->Out(); }

  Held<CCountingSource> source;
  Held<CLateFilter> filter;
  Held<CRecordingSink> sink;
};

using enum SinkEvent::Kind;
using Events = std::vector<SinkEvent>;

CMediaType StreamType(const GUID& subtype) {
  CMediaType type;
  type.majortype = MEDIATYPE_Stream;
  type.subtype = subtype;
  type.formattype = FORMAT_None;
  return type;
}

class TransformTest : public FrameTest {};

TEST_F(TransformTest, TheOutputGoesByTheInput) {
  Chain chain;
  CCountingPin& upstream = chain.source->Pin();
  const CMediaType foreign;
  EXPECT_EQ(chain.In().ReceiveConnection(&upstream, &foreign), VFW_E_TYPE_NOT_ACCEPTED);
  EXPECT_EQ(chain.In().ReceiveConnection(&chain.sink->Pin(), &foreign), VFW_E_INVALID_DIRECTION);
  const CMediaType first = StreamType(kFirstSubtype);
  EXPECT_EQ(chain.Out().Connect(&chain.sink->Pin(), &first), VFW_E_NOT_CONNECTED);
  ComPointer<IEnumMediaTypes> types;
  ASSERT_EQ(chain.Out().EnumMediaTypes(types.Put()), S_OK);
  EXPECT_EQ(types->Skip(1), S_FALSE);

  upstream.m_type = first;
  ASSERT_EQ(chain.Connect(), S_OK);
  EXPECT_EQ(types->Skip(1), VFW_E_ENUM_OUT_OF_SYNC);
  EXPECT_EQ(chain.In().ReceiveConnection(&upstream, &first), VFW_E_ALREADY_CONNECTED);

  // Comes with one type: what the output agreed on stands. Fails with another: so it does. Comes with that.
  const std::tuple<GUID, int, bool> connections[] = {
      {kFirstSubtype, 0, true}, {kSecondSubtype, 2, true}, {kSecondSubtype, 0, false}};
  for (const auto& [subtype, refusals, stands] : connections) {
    upstream.Disconnect();
    EXPECT_EQ(chain.In().Disconnect(), refusals == 0 && !stands ? S_FALSE : S_OK);
    EXPECT_TRUE(chain.Out().IsConnected()) << "a lost input may come again";
    upstream.m_type = StreamType(subtype);
    upstream.m_refusals = refusals;
    EXPECT_EQ(upstream.Connect(&chain.In(), nullptr) == S_OK, refusals == 0);
    EXPECT_EQ(chain.In().IsConnected(), refusals == 0);
    EXPECT_EQ(chain.Out().IsConnected(), stands);
    EXPECT_EQ(chain.sink->Pin().IsConnected(), stands);
  }
  EXPECT_EQ(chain.Out().Connect(&chain.sink->Pin(), &first), VFW_E_TYPE_NOT_ACCEPTED);
  EXPECT_EQ(chain.filter->Pause(), S_OK);
  EXPECT_EQ(chain.In().Disconnect(), VFW_E_NOT_STOPPED);
  EXPECT_EQ(chain.In().NotifyAllocator(chain.In().Allocator().Get(), FALSE), VFW_E_NOT_STOPPED);
}

// Played to the end with samples held back: none is lost, none overtakes, and what downstream sees are the
// bytes of upstream's buffers wherever it takes these.
TEST_F(TransformTest, CopiesOnlyWhereItHasTo) {
  struct Row {
    const char* what;
    SinkScript sink;
    std::size_t late = 0;
    int upstreamRefuses = 0;
    bool isCopied = false;
  };
  const Row rows[] = {
      {.what = "as it is", .sink = {}},
      {.what = "held back", .sink = {}, .late = 3},
      {.what = "downstream's own allocator is not asked for", .sink = {.m_ownAllocator = true}},
      {.what = "a foreign allocator", .sink = {}, .upstreamRefuses = 1},
      {.what = "held back, from a single buffer",
       .sink = {},
       .late = 3,
       .upstreamRefuses = 1,
       .isCopied = true},
      {.what = "downstream insists",
       .sink = {.m_ownAllocator = true, .m_refuseAllocators = 1},
       .isCopied = true},
      {.what = "downstream refuses", .sink = {.m_refuseAllocators = 1}, .late = 3, .isCopied = true},
      {.what = "an alignment that it has not", .sink = {.m_alignment = 4}, .isCopied = true},
  };
  for (Row row : rows) {
    SCOPED_TRACE(row.what);
    std::map<ULONG, const BYTE*> sent;
    std::size_t same = 0;
    row.sink.m_look = [&](IMediaSample* sample) {
      LONGLONG number = 0, next = 0;
      BYTE* bytes = nullptr;
      sample->GetMediaTime(&number, &next);
      sample->GetPointer(&bytes);
      EXPECT_EQ(sample->GetActualDataLength(), 2);
      EXPECT_EQ(bytes[0], number);
      same += bytes == sent[static_cast<ULONG>(number)] + 2;
      EXPECT_EQ(sample->IsPreroll() == S_OK, number % 2 == 0);
      EXPECT_EQ(sample->IsDiscontinuity() == S_OK, number % 3 == 0);
    };
    Chain chain(row.sink);
    CCountingPin& upstream = chain.source->Pin();
    upstream.m_bufferSize = 8;
    upstream.m_refusals = row.upstreamRefuses;
    upstream.m_write = [&](ULONG number, IMediaSample* sample) {
      if (number > 20) return S_FALSE;
      BYTE* bytes = nullptr;
      sample->GetPointer(&bytes);
      bytes[2] = static_cast<BYTE>(number);
      sent[number] = bytes;
      sample->SetPreroll(number % 2 == 0);
      sample->SetDiscontinuity(number % 3 == 0);
      // Every fourth lacks even what is left out.
      return sample->SetActualDataLength(number % 4 == 0 ? 1 : 4);
    };
    chain.filter->m_late = row.late;
    chain.filter->m_ahead = 2;
    ASSERT_EQ(chain.Connect(), S_OK);
    EXPECT_EQ(chain.In().BufferProperties().cBuffers, row.upstreamRefuses > 0 ? 1 : 1 + LONG(row.late));
    chain.Run();
    EXPECT_EQ(chain.source->Run(0), S_OK);
    ASSERT_TRUE(Eventually([&] { return chain.sink->Pin().Count(EndOfStream) == 1; }));
    Events expected;
    for (ULONG number = 1; number <= 20; ++number) {
      if (number % 4 != 0) expected.push_back({Sample, number});
    }
    expected.push_back({EndOfStream, 0});
    EXPECT_EQ(chain.sink->Pin().Events(), expected);
    EXPECT_EQ(same, row.isCopied ? 0u : 15u);
  }
}

TEST_F(TransformTest, KeepsTheOrderOfWhatStreams) {
  Chain chain;
  chain.filter->m_late = 2;
  EXPECT_EQ(chain.In().Receive(nullptr), E_POINTER);
  ASSERT_EQ(chain.Connect(), S_OK);
  chain.Run();
  EXPECT_EQ(chain.In().NewSegment(5, 9, 1), S_OK);
  for (LONGLONG number = 1; number <= 3; ++number) EXPECT_EQ(chain.Send(number), S_OK);
  EXPECT_EQ(chain.In().BeginFlush(), S_OK);
  EXPECT_EQ(chain.Send(4), S_FALSE);
  EXPECT_EQ(chain.In().EndOfStream(), S_FALSE);
  EXPECT_EQ(chain.In().EndFlush(), S_OK);
  for (LONGLONG number = 5; number <= 7; ++number) EXPECT_EQ(chain.Send(number), S_OK);
  EXPECT_EQ(chain.In().NewSegment(6, 9, 1), S_OK);
  EXPECT_EQ(chain.Send(8), S_OK);
  EXPECT_EQ(chain.In().EndOfStream(), S_OK);
  EXPECT_EQ(chain.In().EndOfStream(), S_OK);
  EXPECT_EQ(chain.Send(9), VFW_E_SAMPLE_REJECTED_EOS);
  EXPECT_EQ(chain.sink->Pin().Events(), (Events{{NewSegment, 5},
                                                {Sample, 1},
                                                {BeginFlush, 0},
                                                {EndFlush, 0},
                                                {Sample, 5},
                                                {Sample, 6},
                                                {Sample, 7},
                                                {NewSegment, 6},
                                                {Sample, 8},
                                                {EndOfStream, 0}}));
  ComPointer<IMediaSample> sample;
  ASSERT_EQ(chain.In().Allocator()->GetBuffer(sample.Put(), nullptr, nullptr, 0), S_OK);
  IMediaSample* const both[] = {sample.Get(), sample.Get()};
  LONG processed = 9;
  chain.Stop();
  EXPECT_EQ(chain.In().ReceiveMultiple(const_cast<IMediaSample**>(both), 2, &processed), VFW_E_WRONG_STATE);
  EXPECT_EQ(processed, 0);
  EXPECT_EQ(chain.In().EndOfStream(), VFW_E_WRONG_STATE);
  EXPECT_EQ(chain.sink->Pin().Count(Sample), 5u) << "what is held back goes with the stop";
}

// Its own failure ends the stream and the play; one of downstream is downstream's to tell.
TEST_F(TransformTest, TellsItsOwnFailuresAlone) {
  CMediaType other = StreamType(kSecondSubtype), own = StreamType(kFirstSubtype);
  const std::tuple<const char*, std::function<HRESULT()>, HRESULT, CMediaType*, HRESULT, HRESULT> rows[] = {
      {"its own", [] { return E_ACCESSDENIED; }, S_OK, nullptr, E_ACCESSDENIED, E_ACCESSDENIED},
      {"thrown", []() -> HRESULT { throw std::bad_alloc(); }, S_OK, nullptr, E_OUTOFMEMORY, E_OUTOFMEMORY},
      {"another type", nullptr, S_OK, &other, VFW_E_INVALIDMEDIATYPE, VFW_E_TYPE_NOT_ACCEPTED},
      {"the same type again", nullptr, S_OK, &own, S_OK, S_OK},
      {"downstream's", nullptr, E_ACCESSDENIED, nullptr, E_ACCESSDENIED, S_OK},
  };
  for (const auto& [what, fail, downstream, type, answer, told] : rows) {
    SCOPED_TRACE(what);
    Chain chain(SinkScript{.m_receive = [result = downstream](ULONG) { return result; }});
    chain.source->Pin().m_type = own;
    chain.filter->m_fail = fail;
    HostGraph graph;
    ASSERT_EQ(graph.Create(), S_OK);
    ASSERT_EQ(graph.m_builder->AddFilter(&*chain.filter, L"Filter"), S_OK);
    ASSERT_EQ(chain.Connect(), S_OK);
    chain.Run();
    EXPECT_EQ(chain.Send(1, type), answer);
    EXPECT_EQ(chain.sink->Pin().Count(EndOfStream), told == S_OK ? 0u : 1u);
    if (told != S_OK) {
      EXPECT_EQ(chain.Send(2), VFW_E_RUNTIME_ERROR);
      HRESULT failure = S_OK;
      EXPECT_TRUE(graph.Comes(
          EC_ERRORABORT, [&](long, LONG_PTR first, LONG_PTR) { failure = static_cast<HRESULT>(first); }));
      EXPECT_EQ(failure, told);
    }
    chain.Stop();
    EXPECT_EQ(graph.m_builder->RemoveFilter(&*chain.filter), S_OK);
  }
}

// What waits for a buffer comes back by the stop itself, in front of downstream's; what waits in downstream
// by downstream's stop or a flush.
TEST_F(TransformTest, StopsAndFlushesWhateverWaits) {
  for (const bool isCopying : {false, true}) {
    SCOPED_TRACE(isCopying);
    Chain chain({.m_blockFrom = isCopying ? 0u : 3u, .m_keep = isCopying, .m_refuseAllocators = isCopying});
    ASSERT_EQ(chain.Connect(), S_OK);
    CRecordingPin& end = chain.sink->Pin();
    for (int round = 0; round < 20; ++round) {
      const std::size_t before = end.Count(Sample);
      chain.Run();
      EXPECT_EQ(chain.source->Run(0), S_OK);
      ASSERT_TRUE(Eventually([&] { return isCopying ? end.Count(Sample) > before : end.IsBlocked(); }));
      if (round % 2 == 0) {
        EXPECT_EQ(chain.In().BeginFlush(), S_OK);
        EXPECT_EQ(chain.In().EndFlush(), S_OK);
      } else if (isCopying) {
        EXPECT_EQ(chain.filter->Stop(), S_OK);
      }
      chain.Stop();
    }
  }
}

TEST_F(TransformTest, WhoStreamsThroughItChangesNothing) {
  CLateFilter* filter = nullptr;
  std::vector<HRESULT> answers;
  Chain chain(SinkScript{.m_receive = [&](ULONG) {
    answers = {filter->Stop(), filter->Pause(), filter->Run(0), filter->In().Disconnect(),
               filter->Out().Disconnect()};
    return S_OK;
  }});
  filter = &*chain.filter;
  ASSERT_EQ(chain.Connect(), S_OK);
  chain.Run();
  EXPECT_EQ(chain.Send(1), S_OK);
  EXPECT_EQ(answers, std::vector<HRESULT>(5, VFW_E_WRONG_STATE));
}

// Messages and positions are upstream's matter, in every state.
TEST_F(TransformTest, AsksUpstream) {
  struct Sink final : IQualityControl {
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE Notify(IBaseFilter*, Quality quality) override { return quality.Proportion; }
    HRESULT STDMETHODCALLTYPE SetSink(IQualityControl*) override { return S_OK; }
  } sink;
  Chain chain;
  LONGLONG time = 0;
  EXPECT_EQ(chain.Out().GetDuration(&time), VFW_E_NOT_CONNECTED);
  EXPECT_EQ(chain.Out().Notify(nullptr, {}), VFW_E_NOT_FOUND);
  ASSERT_EQ(chain.Connect(), S_OK);
  EXPECT_EQ(chain.Out().GetDuration(&time), E_NOTIMPL) << "that source has no positions";
  EXPECT_EQ(chain.Out().Notify(nullptr, {}), E_NOTIMPL) << "and takes no messages";
  EXPECT_EQ(chain.In().SetSink(&sink), S_OK);
  EXPECT_EQ(chain.Out().Notify(nullptr, Quality{Flood, 42, 0, 0}), 42);
}

}  // namespace
}  // namespace kt::test

// A transform filter between a source and a sink of this frame: what it agrees on with both, and that what
// streams through it keeps its order, whatever happens meanwhile.

#include "module/graph/transform_filter.h"

#include <new>
#include <set>
#include <tuple>

#include "module/counting_source.h"
#include "module/host_graph.h"

namespace kt::test {
namespace {

/// Hands on what comes, but the first two bytes, `m_late` samples later.
class CLateFilter final : public CTransformFilter {
 public:
  CLateFilter() : CTransformFilter(nullptr, CLSID{}) {}
  CTransformInputPin& In() { return static_cast<CTransformInputPin&>(*GetPin(0)); }
  CTransformOutputPin& Out() { return static_cast<CTransformOutputPin&>(*GetPin(1)); }

  LONG m_late = 0;
  std::function<HRESULT()> m_fail;

 protected:
  HRESULT CheckInputType(const CMediaType& type) override {
    return type.majortype == MEDIATYPE_Stream ? S_OK : E_FAIL;
  }
  HRESULT GetMediaType(int position, const CMediaType& input, CMediaType* output) override {
    return position == 0 ? output->Set(input) : VFW_S_NO_MORE_ITEMS;
  }
  HRESULT CheckTransform(const CMediaType& input, const CMediaType& output) override {
    return input == output ? S_OK : E_FAIL;
  }
  LONG BytesAhead(const CMediaType&) override { return 2; }
  LONG SamplesHeld() override { return m_late; }
  HRESULT Transform(CTransformSample& sample, std::span<const BYTE>) override {
    if (m_fail) return m_fail();
    m_held.emplace_back(&sample);
    DeliverAllBut(static_cast<std::size_t>(m_late));
    if (!m_held.empty()) Keep(sample);
    return S_OK;
  }
  HRESULT DeliverHeld() override { return DeliverAllBut(0); }
  void ForgetHeld() override { m_held.clear(); }

 private:
  HRESULT DeliverAllBut(std::size_t count) {
    for (; m_held.size() > count; m_held.erase(m_held.begin())) Deliver(*m_held[0].Get());
    return S_OK;
  }

  std::vector<ComPointer<CTransformSample>> m_held;
};

/// Source, filter and sink, stopped and apart again at the end.
struct Chain {
  explicit Chain(SinkScript script = {}) : sink(std::move(script)) { up.m_bufferSize = 4; }
  ~Chain() {
    Stop();
    for (IPin* const pin : std::initializer_list<IPin*>{&up, &in, &out, &end}) pin->Disconnect();
  }
  HRESULT Connect() {
    const HRESULT result = up.Connect(&in, nullptr);
    return result == S_OK ? out.Connect(&end, nullptr) : result;
  }
  /// All but the source, whose part the test may play.
  void Run() {
    EXPECT_EQ(sink->Run(0), S_OK);
    EXPECT_EQ(filter->Run(0), S_OK);
  }
  void Stop() {
    EXPECT_EQ(sink->Stop(), S_OK);
    EXPECT_EQ(filter->Stop(), S_OK);
    EXPECT_EQ(source->Stop(), S_OK);
  }
  /// Sends a sample of two bytes that are left out and two more, the first of which is its number.
  HRESULT Send(LONGLONG number, CMediaType* type = nullptr) {
    ComPointer<IMediaSample> sample;
    LONGLONG next = number + 1;
    EXPECT_EQ(in.Allocator()->GetBuffer(sample.Put(), nullptr, nullptr, 0), S_OK);
    BYTE* bytes = nullptr;
    sample->GetPointer(&bytes);
    bytes[2] = static_cast<BYTE>(number);
    sent.insert(bytes);
    sample->SetActualDataLength(4);
    sample->SetMediaTime(&number, &next);
    sample->SetPreroll(number % 2 == 0);
    sample->SetDiscontinuity(number % 2 == 1);
    sample->SetMediaType(type);
    IMediaSample* one = sample.Get();
    LONG processed = 9;
    const HRESULT result = in.ReceiveMultiple(&one, 1, &processed);
    EXPECT_EQ(processed, result == S_OK ? 1 : 0);
    return result;
  }

  /// Upstream's buffers.
  std::set<const BYTE*> sent;
  Held<CCountingSource> source;
  Held<CLateFilter> filter;
  Held<CRecordingSink> sink;
  CCountingPin& up = source->Pin();
  CTransformInputPin& in = filter->In();
  CTransformOutputPin& out = filter->Out();
  CRecordingPin& end = sink->Pin();
};

using enum SinkEvent::Kind;
using Events = std::vector<SinkEvent>;

class TransformTest : public FrameTest {};

TEST_F(TransformTest, TheOutputGoesByTheInput) {
  Chain chain;
  const CMediaType foreign, first = StreamType(kFirstSubtype);
  LONGLONG time = 0;
  EXPECT_EQ(chain.in.ReceiveConnection(&chain.up, &foreign), VFW_E_TYPE_NOT_ACCEPTED);
  EXPECT_EQ(chain.out.Connect(&chain.end, &first), VFW_E_NOT_CONNECTED);
  EXPECT_EQ(chain.out.GetDuration(&time), VFW_E_NOT_CONNECTED);
  ComPointer<IEnumMediaTypes> types;
  ASSERT_EQ(chain.out.EnumMediaTypes(types.Put()), S_OK);
  EXPECT_EQ(types->Skip(1), S_FALSE);

  chain.up.m_type = first;
  ASSERT_EQ(chain.Connect(), S_OK);
  EXPECT_EQ(types->Skip(1), VFW_E_ENUM_OUT_OF_SYNC);
  EXPECT_EQ(chain.in.ReceiveConnection(&chain.up, &first), VFW_E_ALREADY_CONNECTED);
  // Messages and positions are upstream's matter, which takes none here and has none.
  EXPECT_EQ(chain.out.Notify(nullptr, {}), E_NOTIMPL);
  EXPECT_EQ(chain.out.GetDuration(&time), E_NOTIMPL);
  const Held<CLateFilter> sink;
  chain.in.SetSink(&sink->Out());
  EXPECT_EQ(chain.out.Notify(nullptr, {}), VFW_E_NOT_FOUND) << "what the sink answers";

  // Comes with one type: what the output agreed on stands. Fails with another: so it does. Comes with that.
  const std::tuple<GUID, int, bool> connections[] = {
      {kFirstSubtype, 0, true}, {kSecondSubtype, 2, true}, {kSecondSubtype, 0, false}};
  for (const auto& [subtype, refusals, stands] : connections) {
    chain.up.Disconnect();
    chain.in.Disconnect();
    chain.up.m_type = StreamType(subtype);
    chain.up.m_refusals = refusals;
    EXPECT_EQ(chain.up.Connect(&chain.in, nullptr) == S_OK, refusals == 0);
    EXPECT_EQ(std::tuple(chain.in.IsConnected(), chain.out.IsConnected(), chain.end.IsConnected()),
              std::tuple(refusals == 0, stands, stands));
  }
  EXPECT_EQ(chain.filter->Pause(), S_OK);
  EXPECT_EQ(chain.in.NotifyAllocator(chain.in.Allocator().Get(), FALSE), VFW_E_NOT_STOPPED);
}

// Played to the end: none is lost, none overtakes, and what downstream sees are the bytes of upstream's
// buffers wherever it takes these.
TEST_F(TransformTest, CopiesOnlyWhereItHasTo) {
  const SinkScript plain, refuses{.m_refuseAllocators = 1}, aligns{.m_alignment = 4};
  const SinkScript insists{.m_ownAllocator = true, .m_refuseAllocators = 1};
  // How late it hands on, how many allocators upstream refuses, and whether bytes are copied.
  const std::tuple<const char*, SinkScript, LONG, int, bool> rows[] = {
      {"as it is", plain, 0, 0, false},
      {"held back", plain, 3, 0, false},
      {"upstream's allocator", plain, 0, 1, false},
      {"held back, from a single buffer", plain, 3, 1, true},
      {"downstream insists", insists, 0, 0, true},
      {"downstream refuses", refuses, 3, 0, true},
      {"an alignment that it has not", aligns, 0, 0, true},
  };
  for (auto [what, script, late, refusals, isCopied] : rows) {
    SCOPED_TRACE(what);
    Chain* sender = nullptr;
    script.m_look = [&, copied = isCopied](IMediaSample* sample) {
      LONGLONG number = 0, next = 0;
      BYTE* bytes = nullptr;
      sample->GetMediaTime(&number, &next);
      sample->GetPointer(&bytes);
      EXPECT_TRUE(sample->GetActualDataLength() == 2 && bytes[0] == number);
      EXPECT_TRUE(sample->IsPreroll() == number % 2 && sample->IsDiscontinuity() != number % 2);
      EXPECT_NE(sender->sent.contains(bytes - 2), copied);
    };
    Chain chain(script);
    sender = &chain;
    chain.up.m_refusals = refusals;
    chain.filter->m_late = late;
    ASSERT_EQ(chain.Connect(), S_OK);
    EXPECT_EQ(chain.in.BufferProperties().cBuffers, refusals > 0 ? 1 : 1 + late);
    chain.Run();
    Events expected;
    for (ULONG number = 1; number < 20; ++number) {
      expected.push_back({Sample, number});
      EXPECT_EQ(chain.Send(number), S_OK);
    }
    EXPECT_EQ(chain.in.EndOfStream(), S_OK);
    expected.push_back({EndOfStream, 0});
    EXPECT_EQ(chain.end.Events(), expected);
  }
}

// Nobody changes a state out of the stream: that would wait for itself.
TEST_F(TransformTest, KeepsTheOrderOfWhatStreams) {
  CLateFilter* filter = nullptr;
  Chain chain(SinkScript{.m_receive = [&](ULONG) {
    EXPECT_EQ(filter->Stop(), VFW_E_WRONG_STATE);
    EXPECT_EQ(filter->In().Disconnect(), VFW_E_WRONG_STATE);
    return S_OK;
  }});
  filter = &*chain.filter;
  filter->m_late = 2;
  ASSERT_EQ(chain.Connect(), S_OK);
  chain.Run();
  EXPECT_EQ(chain.in.NewSegment(5, 9, 1), S_OK);
  for (LONGLONG number = 1; number <= 3; ++number) EXPECT_EQ(chain.Send(number), S_OK);
  EXPECT_EQ(chain.in.BeginFlush(), S_OK);
  EXPECT_EQ(chain.Send(4), S_FALSE);
  EXPECT_EQ(chain.in.EndOfStream(), S_FALSE);
  EXPECT_EQ(chain.in.EndFlush(), S_OK);
  for (LONGLONG number = 5; number <= 7; ++number) EXPECT_EQ(chain.Send(number), S_OK);
  EXPECT_EQ(chain.in.NewSegment(6, 9, 1), S_OK);
  EXPECT_EQ(chain.Send(8), S_OK);
  for (int i = 0; i < 2; ++i) EXPECT_EQ(chain.in.EndOfStream(), S_OK);
  EXPECT_EQ(chain.Send(9), VFW_E_SAMPLE_REJECTED_EOS);
  const SinkEvent expected[] = {{NewSegment, 5}, {Sample, 1},     {BeginFlush, 0}, {EndFlush, 0},
                                {Sample, 5},     {Sample, 6},     {Sample, 7},     {NewSegment, 6},
                                {Sample, 8},     {EndOfStream, 0}};
  EXPECT_EQ(chain.end.Events(), Events(std::begin(expected), std::end(expected)));
  ComPointer<IMediaSample> sample;
  ASSERT_EQ(chain.in.Allocator()->GetBuffer(sample.Put(), nullptr, nullptr, 0), S_OK);
  chain.Stop();
  EXPECT_EQ(chain.in.Receive(sample.Get()), VFW_E_WRONG_STATE);
}

// Its own failure ends the stream and the play; one of downstream is downstream's to tell.
TEST_F(TransformTest, TellsItsOwnFailuresAlone) {
  CMediaType other = StreamType(kSecondSubtype), own = StreamType(kFirstSubtype);
  const std::tuple<const char*, std::function<HRESULT()>, HRESULT, CMediaType*, HRESULT, HRESULT> rows[] = {
      {"thrown", []() -> HRESULT { throw std::bad_alloc(); }, S_OK, nullptr, E_OUTOFMEMORY, E_OUTOFMEMORY},
      {"another type", nullptr, S_OK, &other, VFW_E_INVALIDMEDIATYPE, VFW_E_TYPE_NOT_ACCEPTED},
      {"the same type again", nullptr, S_OK, &own, S_OK, S_OK},
      {"downstream's", nullptr, E_ACCESSDENIED, nullptr, E_ACCESSDENIED, S_OK},
  };
  for (const auto& [what, fail, downstream, type, answer, told] : rows) {
    SCOPED_TRACE(what);
    HostGraph graph;
    ASSERT_EQ(graph.Create(), S_OK);
    Chain chain(SinkScript{.m_receive = [result = downstream](ULONG) { return result; }});
    chain.up.m_type = own;
    chain.filter->m_fail = fail;
    ASSERT_EQ(graph.m_builder->AddFilter(&*chain.filter, L"Filter"), S_OK);
    ASSERT_EQ(chain.Connect(), S_OK);
    chain.Run();
    EXPECT_EQ(chain.Send(1, type), answer);
    EXPECT_EQ(chain.end.Count(EndOfStream), told == S_OK ? 0u : 1u);
    if (told == S_OK) continue;
    EXPECT_EQ(chain.Send(2), VFW_E_RUNTIME_ERROR);
    EXPECT_TRUE(graph.Comes(
        EC_ERRORABORT, [&, failure = told](long, LONG_PTR first, LONG_PTR) { EXPECT_EQ(first, failure); }));
  }
}

// What waits for a buffer comes back by the stop itself, in front of downstream's; what waits in downstream
// by a flush, or downstream's stop.
TEST_F(TransformTest, StopsAndFlushesWhateverWaits) {
  for (const bool isCopying : {false, true}) {
    Chain chain({.m_blockFrom = isCopying ? 0u : 3u, .m_keep = isCopying, .m_refuseAllocators = isCopying});
    ASSERT_EQ(chain.Connect(), S_OK);
    for (int round = 0; round < 20; ++round) {
      const std::size_t before = chain.end.Count(Sample);
      chain.Run();
      EXPECT_EQ(chain.source->Run(0), S_OK);
      ASSERT_TRUE(
          Eventually([&] { return isCopying ? chain.end.Count(Sample) > before : chain.end.IsBlocked(); }));
      if (round % 2 == 0) {
        EXPECT_EQ(chain.in.BeginFlush(), S_OK);
        EXPECT_EQ(chain.in.EndFlush(), S_OK);
      } else if (isCopying) {
        EXPECT_EQ(chain.filter->Stop(), S_OK);
      }
      chain.Stop();
    }
  }
}

}  // namespace
}  // namespace kt::test

#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <vector>

#include "module/graph/base_filter.h"
#include "module/graph/base_input_pin.h"

namespace kt::test {

/// What arrived at a sink, in order.
struct SinkEvent {
  enum Kind { Sample, EndOfStream, BeginFlush, EndFlush, NewSegment };
  Kind kind;
  /// The sample's number, which is its media time, 0 without one; for a segment its start.
  ULONG value;

  bool operator==(const SinkEvent&) const = default;
};

/// How a sink treats what comes.
struct SinkScript {
  /// `Receive` blocks from this sample on, until a flush or a stop; 0 for never.
  ULONG m_blockFrom = 0;
  /// Keeps the samples until a flush or a stop, so that the source runs out of buffers.
  bool m_keep = false;
  /// Keeps each sample as a renderer does: for its time while the graph runs, for a step while it is paused,
  /// or until a flush or a stop. The pause of the graph is complete when there is one.
  bool m_render = false;
  /// Called inside of `Receive`, without a lock; what it answers is the answer.
  std::function<HRESULT(ULONG)> m_receive = nullptr;
  /// Sees each sample that is recorded; one at a time.
  std::function<void(IMediaSample*)> m_look = nullptr;

  /// Has an allocator of its own to offer.
  bool m_ownAllocator = false;
  /// So many allocators are refused before one is taken.
  int m_refuseAllocators = 0;
  long m_alignment = 0;
  /// Types that it lists; it takes those of `m_accept`, or all when that is null.
  std::vector<CMediaType> m_types = {};
  const GUID* m_accept = nullptr;
};

class CRecordingPin : public CBaseInputPin {
 public:
  CRecordingPin(CBaseFilter& filter, const std::wstring& name, SinkScript script);
  HRESULT CheckMediaType(const CMediaType& type) override;
  HRESULT GetMediaType(int position, CMediaType* type) override;
  HRESULT BreakConnect() override;
  HRESULT Active() override;
  HRESULT Inactive() override;

  HRESULT STDMETHODCALLTYPE EndOfStream() override;
  HRESULT STDMETHODCALLTYPE BeginFlush() override;
  HRESULT STDMETHODCALLTYPE EndFlush() override;
  HRESULT STDMETHODCALLTYPE NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) override;

  HRESULT STDMETHODCALLTYPE GetAllocator(IMemAllocator** allocator) override;
  HRESULT STDMETHODCALLTYPE NotifyAllocator(IMemAllocator* allocator, WINBOOL readOnly) override;
  HRESULT STDMETHODCALLTYPE GetAllocatorRequirements(ALLOCATOR_PROPERTIES* properties) override;
  HRESULT STDMETHODCALLTYPE Receive(IMediaSample* sample) override;

  std::vector<SinkEvent> Events();
  std::size_t Count(SinkEvent::Kind kind);
  /// The samples of the last segment, once it has ended.
  std::vector<ULONG> LastSegment();
  bool IsBlocked();
  /// Lets one sample go that waits, or the next.
  void Step();
  /// Whether `Pause` is not complete: no sample has come, and no end.
  bool IsWaitingForSample();
  /// Whether a flush or a stop keeps samples out.
  bool IsRefusing();
  void ForgetPeer() { SetPeer(nullptr); }
  /// That of the last segment.
  double SegmentRate() const { return m_segmentRate; }
  /// Tells the graph that the stream has ended, once, when it has and the sink is running.
  void AnnounceEnd();
  IMemAllocator* TakenAllocator() const { return m_taken.Get(); }
  IMemAllocator* OwnAllocator() const { return m_own.Get(); }

 private:
  static ULONG NumberOf(IMediaSample* sample);
  HRESULT Refuse(bool* why, const std::vector<SinkEvent>& told);
  bool WaitFor(std::unique_lock<std::mutex>& lock, IMediaSample* sample);

  CBaseFilter& m_filter;
  const SinkScript m_script;
  int m_refused = 0;
  ComPointer<IMemAllocator> m_own, m_taken;

  std::mutex m_lock;
  std::condition_variable m_changed;
  bool m_flushing = false, m_stopped = true, m_blocked = false, m_endDue = false;
  int m_steps = 0;
  std::vector<ComPointer<IMediaSample>> m_kept;
  std::vector<SinkEvent> m_events;
  std::atomic<double> m_segmentRate{1.0};
};

/// A renderer with one pin that records what comes and announces the end to its graph.
class CRecordingSink final : public CBaseFilter, public IAMFilterMiscFlags {
 public:
  explicit CRecordingSink(SinkScript script = {});
  DECLARE_IUNKNOWN
  HRESULT NonDelegatingQueryInterface(REFIID iid, void** object) override;
  HRESULT STDMETHODCALLTYPE Run(REFERENCE_TIME start) override;
  HRESULT STDMETHODCALLTYPE GetState(DWORD milliseconds, FILTER_STATE* state) override;
  ULONG GetPinCount() override { return 1; }
  CBasePin* GetPin(ULONG index) override { return index == 0 ? &m_pin : nullptr; }
  ULONG STDMETHODCALLTYPE GetMiscFlags() override { return AM_FILTER_MISC_FLAGS_IS_RENDERER; }
  CRecordingPin& Pin() { return m_pin; }

 private:
  CCritSec m_sinkStateLock;
  CRecordingPin m_pin;
};

}  // namespace kt::test

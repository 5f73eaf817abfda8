#include "module/recording_sink.h"

#include <vfwmsgs.h>

#include <algorithm>

#include "module/host_graph.h"

namespace kt::test {

CRecordingPin::CRecordingPin(CBaseFilter& filter, const std::wstring& name, SinkScript script)
    : CBaseInputPin(filter, name, name), m_filter(filter), m_script(std::move(script)) {}

HRESULT CRecordingPin::CheckMediaType(const CMediaType& type) {
  return m_script.m_accept == nullptr || type.subtype == *m_script.m_accept ? S_OK : E_FAIL;
}

HRESULT CRecordingPin::GetMediaType(int position, CMediaType* type) {
  const std::size_t index = static_cast<std::size_t>(position);
  return index < m_script.m_types.size() ? type->Set(m_script.m_types[index]) : VFW_S_NO_MORE_ITEMS;
}

HRESULT CRecordingPin::Active() {
  const std::lock_guard lock(m_lock);
  m_stopped = false;
  return S_OK;
}

HRESULT CRecordingPin::Inactive() {
  return Refuse(&m_stopped, {});
}

// What waits comes back, and what is kept goes when the lock is free again.
HRESULT CRecordingPin::Refuse(bool* why, const std::vector<SinkEvent>& told) {
  std::vector<ComPointer<IMediaSample>> kept;
  const std::lock_guard lock(m_lock);
  m_events.insert(m_events.end(), told.begin(), told.end());
  *why = true;
  m_endDue = false;
  m_steps = 0;
  kept.swap(m_kept);
  m_changed.notify_all();
  return S_OK;
}

HRESULT CRecordingPin::BreakConnect() {
  m_taken.Reset();
  return S_OK;
}

HRESULT CRecordingPin::EndOfStream() {
  {
    const std::lock_guard lock(m_lock);
    // One that meets a flush is passed over, as input pins have it.
    if (m_flushing) return S_FALSE;
    m_events.push_back({SinkEvent::EndOfStream, 0});
    m_endDue = true;
  }
  AnnounceEnd();
  return S_OK;
}

void CRecordingPin::AnnounceEnd() {
  {
    const std::lock_guard lock(m_lock);
    if (!m_endDue || Host().State() != State_Running) return;
    m_endDue = false;
  }
  Host().NotifyEvent(EC_COMPLETE, S_OK, reinterpret_cast<LONG_PTR>(&Host().Face()));
}

HRESULT CRecordingPin::BeginFlush() {
  return Refuse(&m_flushing, {{SinkEvent::BeginFlush, 0}});
}

HRESULT CRecordingPin::EndFlush() {
  const std::lock_guard lock(m_lock);
  m_events.push_back({SinkEvent::EndFlush, 0});
  m_flushing = false;
  return S_OK;
}

HRESULT CRecordingPin::NewSegment(REFERENCE_TIME start, REFERENCE_TIME, double rate) {
  m_segmentRate = rate;
  const std::lock_guard lock(m_lock);
  m_events.push_back({SinkEvent::NewSegment, static_cast<ULONG>(start)});
  return S_OK;
}

HRESULT CRecordingPin::GetAllocator(IMemAllocator** allocator) {
  if (!m_script.m_ownAllocator) return VFW_E_NO_ALLOCATOR;
  if (!m_own) m_own = Made<IMemAllocator>(CLSID_MemoryAllocator);
  *allocator = ComPointer<IMemAllocator>(m_own).Detach();
  return S_OK;
}

HRESULT CRecordingPin::NotifyAllocator(IMemAllocator* allocator, WINBOOL) {
  if (m_refused++ < m_script.m_refuseAllocators) return E_INVALIDARG;
  m_taken = ComPointer<IMemAllocator>(allocator);
  return S_OK;
}

HRESULT CRecordingPin::GetAllocatorRequirements(ALLOCATOR_PROPERTIES* properties) {
  if (m_script.m_alignment < 0) return E_NOTIMPL;
  *properties = {};
  properties->cbAlign = m_script.m_alignment;
  return S_OK;
}

ULONG CRecordingPin::NumberOf(IMediaSample* sample) {
  LONGLONG start = 0, stop = 0;
  return sample->GetMediaTime(&start, &stop) == S_OK ? static_cast<ULONG>(start) : 0;
}

HRESULT CRecordingPin::Receive(IMediaSample* sample) {
  const ULONG number = NumberOf(sample);
  const HRESULT answer = m_script.m_receive ? m_script.m_receive(number) : S_OK;
  std::unique_lock lock(m_lock);
  if (m_flushing || m_stopped) return S_FALSE;
  m_events.push_back({SinkEvent::Sample, number});
  if (m_script.m_look) m_script.m_look(sample);
  if (m_script.m_keep) m_kept.emplace_back(sample);
  const bool blocks = m_script.m_blockFrom != 0 && number >= m_script.m_blockFrom;
  return (blocks || m_script.m_render) && !WaitFor(lock, sample) ? S_FALSE : answer;
}

// Whether a sample is due at last; none is in a sink that blocks.
bool CRecordingPin::WaitFor(std::unique_lock<std::mutex>& lock, IMediaSample* sample) {
  REFERENCE_TIME start = 0, stop = 0;
  sample->GetTime(&start, &stop);
  const auto isDue = [&] {
    return m_script.m_render &&
           (m_steps > 0 || (m_filter.State() == State_Running && m_filter.StreamTime() >= start));
  };
  m_blocked = true;
  while (!m_flushing && !m_stopped && !isDue()) m_changed.wait_for(lock, std::chrono::milliseconds(5));
  m_blocked = false;
  m_steps = std::max(m_steps - 1, 0);
  return !m_flushing && !m_stopped;
}

void CRecordingPin::Step() {
  const std::lock_guard lock(m_lock);
  ++m_steps;
  m_changed.notify_all();
}

bool CRecordingPin::IsWaitingForSample() {
  const std::lock_guard lock(m_lock);
  return m_script.m_render && IsConnected() && m_filter.State() == State_Paused && !m_blocked && !m_endDue;
}

std::vector<SinkEvent> CRecordingPin::Events() {
  const std::lock_guard lock(m_lock);
  return m_events;
}

std::size_t CRecordingPin::Count(SinkEvent::Kind kind) {
  return static_cast<std::size_t>(std::ranges::count(Events(), kind, &SinkEvent::kind));
}

std::vector<ULONG> CRecordingPin::LastSegment() {
  EXPECT_TRUE(
      Eventually([&] { return !Events().empty() && Events().back().kind == SinkEvent::EndOfStream; }));
  std::vector<ULONG> samples;
  for (const SinkEvent& event : Events()) {
    if (event.kind == SinkEvent::NewSegment) samples.clear();
    if (event.kind == SinkEvent::Sample) samples.push_back(event.value);
  }
  return samples;
}

bool CRecordingPin::IsRefusing() {
  const std::lock_guard lock(m_lock);
  return m_flushing || m_stopped;
}

bool CRecordingPin::IsBlocked() {
  const std::lock_guard lock(m_lock);
  return m_blocked;
}

CRecordingSink::CRecordingSink(SinkScript script)
    : CBaseFilter(nullptr, m_sinkStateLock, CLSID_NULL), m_pin(*this, L"In", std::move(script)) {}

HRESULT CRecordingSink::NonDelegatingQueryInterface(REFIID iid, void** object) {
  if (iid == IID_IAMFilterMiscFlags) return GetInterface(static_cast<IAMFilterMiscFlags*>(this), object);
  return CBaseFilter::NonDelegatingQueryInterface(iid, object);
}

HRESULT CRecordingSink::Run(REFERENCE_TIME start) {
  const HRESULT result = CBaseFilter::Run(start);
  m_pin.AnnounceEnd();
  return result;
}

HRESULT CRecordingSink::GetState(DWORD milliseconds, FILTER_STATE* state) {
  for (; milliseconds > 0 && m_pin.IsWaitingForSample(); --milliseconds) Sleep(1);
  const HRESULT result = CBaseFilter::GetState(milliseconds, state);
  return SUCCEEDED(result) && m_pin.IsWaitingForSample() ? VFW_S_STATE_INTERMEDIATE : result;
}

}  // namespace kt::test

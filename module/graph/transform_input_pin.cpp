#include "module/graph/transform_input_pin.h"

#include <evcode.h>
#include <objbase.h>
#include <uuids.h>
#include <vfwmsgs.h>

#include <algorithm>

#include "module/com/com_edge.h"
#include "module/graph/transform_filter.h"

namespace kt {
namespace {

// What the offered allocator takes at most, unless upstream wants more for itself: the size of a buffer may
// come from a file, which can say anything.
constexpr LONG kMostBytes = 64 * 1024 * 1024;

}  // namespace

CTransformInputPin::CTransformInputPin(CTransformFilter& filter)
    : CBaseInputPin(filter, L"Input", L"In"), m_filter(filter) {}

HRESULT CTransformInputPin::CheckMediaType(const CMediaType& type) {
  return m_filter.CheckInputType(type);
}

HRESULT CTransformInputPin::SetMediaType(const CMediaType& type) {
  m_bytesAhead = m_filter.BytesAhead(type);
  m_filter.m_output.ChangeTypes();
  return CBaseInputPin::SetMediaType(type);
}

HRESULT CTransformInputPin::BreakConnect() {
  m_filter.m_output.ChangeTypes();
  m_allocator.Reset();
  // The next connection gets a new one: of this one buffers may still be out.
  m_own.Reset();
  return S_OK;
}

HRESULT CTransformInputPin::GetAllocator(IMemAllocator** allocator) {
  if (allocator == nullptr) return E_POINTER;
  *allocator = nullptr;
  return Host().ChangeState([&] {
    const HRESULT result = m_own ? S_OK
                                 : CoCreateInstance(CLSID_MemoryAllocator, nullptr, CLSCTX_INPROC_SERVER,
                                                    IID_IMemAllocator, m_own.PutVoid());
    if (SUCCEEDED(result)) *allocator = ComPointer<IMemAllocator>(m_own).Detach();
    return result;
  });
}

HRESULT CTransformInputPin::NotifyAllocator(IMemAllocator* allocator, WINBOOL readOnly) {
  if (allocator == nullptr) return E_POINTER;
  return Host().ChangeState([&] { return TakeAllocator(allocator, readOnly); });
}

HRESULT CTransformInputPin::TakeAllocator(IMemAllocator* allocator, bool readOnly) {
  if (!IsConnected()) return VFW_E_NOT_CONNECTED;
  if (Host().State() != State_Stopped) return VFW_E_NOT_STOPPED;
  if (allocator == m_own.Get()) AddBuffers(allocator);
  ALLOCATOR_PROPERTIES properties = {};
  const HRESULT result = allocator->GetProperties(&properties);
  if (FAILED(result)) return result;
  m_allocator = ComPointer<IMemAllocator>(allocator);
  m_properties = properties;
  m_readOnly = readOnly;
  return m_filter.m_output.FollowInput();
}

// Without them samples that are held back are copied.
void CTransformInputPin::AddBuffers(IMemAllocator* allocator) {
  ALLOCATOR_PROPERTIES properties = {};
  if (FAILED(allocator->GetProperties(&properties)) || properties.cbBuffer <= 0) return;
  const LONG wanted =
      std::min(properties.cBuffers + m_filter.SamplesHeld(), kMostBytes / properties.cbBuffer);
  if (wanted <= properties.cBuffers) return;
  properties.cBuffers = wanted;
  ALLOCATOR_PROPERTIES actual = {};
  allocator->SetProperties(&properties, &actual);
}

HRESULT CTransformInputPin::GetAllocatorRequirements(ALLOCATOR_PROPERTIES* properties) {
  if (properties == nullptr) return E_POINTER;
  return Host().ChangeState([&] { return m_filter.m_output.GetPeerRequirements(properties); });
}

HRESULT CTransformInputPin::Active() {
  if (!m_allocator) return VFW_E_NO_ALLOCATOR;
  HRESULT result = m_allocator->Commit();
  if (FAILED(result)) return result;
  {
    const StreamGuard lock(m_filter.m_streamLock);
    m_stream = Stream::Open;
    m_isFlushing = false;
    result = AtEdge([&] {
      CMediaType type;
      return m_filter.GetInputType(&type) ? m_filter.StartStreaming(type) : E_OUTOFMEMORY;
    });
    m_isStreaming = SUCCEEDED(result);
  }
  if (FAILED(result)) Inactive();
  return result;
}

HRESULT CTransformInputPin::Inactive() {
  m_isStreaming = false;
  // First of all: what streams may be waiting for a buffer, on either side.
  const HRESULT result = m_allocator ? m_allocator->Decommit() : S_OK;
  m_filter.m_output.Inactive();
  const StreamGuard lock(m_filter.m_streamLock);
  m_filter.ForgetHeld();
  return result;
}

HRESULT CTransformInputPin::CheckStreaming() const {
  if (!m_isStreaming) return IsConnected() ? VFW_E_WRONG_STATE : VFW_E_NOT_CONNECTED;
  return m_isFlushing ? S_FALSE : S_OK;
}

HRESULT CTransformInputPin::Receive(IMediaSample* sample) {
  if (sample == nullptr) return E_POINTER;
  const StreamGuard lock(m_filter.m_streamLock);
  const HRESULT checked = CheckStreaming();
  if (checked != S_OK) return checked;
  if (m_stream == Stream::Ended) return VFW_E_SAMPLE_REJECTED_EOS;
  if (m_stream == Stream::Failed) return VFW_E_RUNTIME_ERROR;
  if (!m_filter.m_output.IsConnected()) return VFW_E_NOT_CONNECTED;
  if (BringsOtherType(sample, *this)) {
    Fail(VFW_E_TYPE_NOT_ACCEPTED);
    return VFW_E_INVALIDMEDIATYPE;
  }
  return RunStream([&] { return TransformSample(sample); });
}

/// What downstream has answered to what `work` sent; else what it answers itself, and its own failure ends
/// the stream.
template <class Work>
HRESULT CTransformInputPin::RunStream(Work work) {
  m_filter.m_answer = S_OK;
  const HRESULT result = AtEdge(work);
  if (m_filter.m_answer != S_OK) return m_filter.m_answer;
  return FAILED(result) ? Fail(result) : result;
}

HRESULT CTransformInputPin::TransformSample(IMediaSample* sample) {
  const LONG length = sample->GetActualDataLength();
  const LONG ahead = length > 0 ? m_bytesAhead : 0;
  // One that has not even these is passed over.
  if (length < ahead) return S_OK;
  const ComPointer<CTransformSample> passed(new CTransformSample(sample, ahead, m_kept));
  return m_filter.Transform(*passed.Get(), {passed->Bytes().data() - ahead, static_cast<std::size_t>(ahead)});
}

HRESULT CTransformInputPin::Fail(HRESULT failure) {
  m_stream = Stream::Failed;
  m_filter.m_output.DeliverEndOfStream();
  Host().NotifyEvent(EC_ERRORABORT, failure, 0);
  return failure;
}

HRESULT CTransformInputPin::EndOfStream() {
  const StreamGuard lock(m_filter.m_streamLock);
  const HRESULT checked = CheckStreaming();
  if (checked != S_OK || m_stream != Stream::Open) return checked;
  // Whatever becomes of what was held back, the stream ends.
  RunStream([&] { return m_filter.DeliverHeld(); });
  if (m_stream == Stream::Failed) return S_OK;
  m_stream = Stream::Ended;
  return m_filter.m_output.DeliverEndOfStream();
}

HRESULT CTransformInputPin::NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) {
  const StreamGuard lock(m_filter.m_streamLock);
  const HRESULT checked = CheckStreaming();
  if (checked != S_OK) return checked;
  // What is held back belongs to the segment before.
  RunStream([&] { return m_filter.DeliverHeld(); });
  return m_filter.m_output.DeliverNewSegment(start, stop, rate);
}

// Flushes come from any thread, and in the stopped state, too: the other end of the output is counted.
HRESULT CTransformInputPin::BeginFlush() {
  // Without the stream lock, whose holder may be waiting downstream.
  m_isFlushing = true;
  ComPointer<IPin> peer;
  return m_filter.m_output.ConnectedTo(peer.Put()) == S_OK ? peer->BeginFlush() : S_OK;
}

HRESULT CTransformInputPin::EndFlush() {
  const StreamGuard lock(m_filter.m_streamLock);
  m_filter.ForgetHeld();
  m_stream = Stream::Open;
  ComPointer<IPin> peer;
  const HRESULT result = m_filter.m_output.ConnectedTo(peer.Put()) == S_OK ? peer->EndFlush() : S_OK;
  m_isFlushing = false;
  return result;
}

HRESULT CTransformInputPin::SetSink(IQualityControl* sink) {
  m_sink = sink;
  return S_OK;
}

HRESULT CTransformInputPin::PassNotify(const Quality& quality) {
  IBaseFilter* const self = &Host().Face();
  if (IQualityControl* const sink = m_sink) return sink->Notify(self, quality);
  ComPointer<IPin> peer;
  ComPointer<IQualityControl> control;
  if (ConnectedTo(peer.Put()) != S_OK) return VFW_E_NOT_FOUND;
  if (FAILED(peer->QueryInterface(IID_IQualityControl, control.PutVoid()))) return VFW_E_NOT_FOUND;
  return control->Notify(self, quality);
}

}  // namespace kt

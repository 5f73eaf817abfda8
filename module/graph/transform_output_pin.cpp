#include "module/graph/transform_output_pin.h"

#include <vfwmsgs.h>

#include <algorithm>

#include "module/com/com_edge.h"
#include "module/graph/transform_filter.h"

namespace kt {
namespace {

// That of the memory which a sample that is held back may have been copied into.
constexpr LONG kOwnAlignment = 8;

}  // namespace

CTransformOutputPin::CTransformOutputPin(CTransformFilter& filter)
    : CBaseOutputPin(filter, PINDIR_OUTPUT, L"Output", L"Out"), m_filter(filter) {}

HRESULT CTransformOutputPin::NonDelegatingQueryInterface(REFIID iid, void** object) {
  if (iid == IID_IMediaSeeking) return GetInterface(static_cast<IMediaSeeking*>(this), object);
  return CBaseOutputPin::NonDelegatingQueryInterface(iid, object);
}

HRESULT CTransformOutputPin::CheckMediaType(const CMediaType& type) {
  CMediaType input;
  return m_filter.GetInputType(&input) ? m_filter.CheckTransform(input, type) : VFW_E_NOT_CONNECTED;
}

HRESULT CTransformOutputPin::GetMediaType(int position, CMediaType* type) {
  CMediaType input;
  return m_filter.GetInputType(&input) ? m_filter.GetMediaType(position, input, type) : VFW_S_NO_MORE_ITEMS;
}

HRESULT CTransformOutputPin::CheckConnect(IPin* peer) {
  return m_filter.m_input.IsConnected() ? CBaseOutputPin::CheckConnect(peer) : VFW_E_NOT_CONNECTED;
}

HRESULT CTransformOutputPin::DecideAllocator() {
  const CTransformInputPin& input = m_filter.m_input;
  m_isCopying = !ServesPeer() || FAILED(ProposeAllocator(input.Allocator(), input.IsReadOnly()));
  return m_isCopying ? CBaseOutputPin::DecideAllocator() : S_OK;
}

/// Whether the input's buffers, without the first bytes, are what downstream asks for. None has a prefix: a
/// sample that is copied while it is held back has none either.
bool CTransformOutputPin::ServesPeer() {
  const CTransformInputPin& input = m_filter.m_input;
  if (!input.Allocator()) return false;
  const ALLOCATOR_PROPERTIES wanted = PeerRequirements();
  const ALLOCATOR_PROPERTIES& there = input.BufferProperties();
  if (wanted.cbPrefix > 0 || wanted.cBuffers > there.cBuffers) return false;
  if (wanted.cbBuffer > there.cbBuffer - input.BytesAhead()) return false;
  if (wanted.cbAlign < 1 || wanted.cbAlign > kOwnAlignment) return false;
  const LONG places[] = {std::max(there.cbAlign, LONG{1}), there.cbPrefix, input.BytesAhead()};
  return std::ranges::all_of(places, [&](LONG place) { return place % wanted.cbAlign == 0; });
}

HRESULT CTransformOutputPin::DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* properties) {
  const CTransformInputPin& input = m_filter.m_input;
  const LONG size = std::max(input.BufferProperties().cbBuffer - input.BytesAhead(), LONG{1});
  properties->cBuffers = std::max(properties->cBuffers, LONG{1});
  properties->cbBuffer = std::max(properties->cbBuffer, size);
  ALLOCATOR_PROPERTIES actual = {};
  const HRESULT result = allocator->SetProperties(properties, &actual);
  if (FAILED(result)) return result;
  return actual.cBuffers < 1 || actual.cbBuffer < size ? E_FAIL : S_OK;
}

HRESULT CTransformOutputPin::FollowInput() {
  ComPointer<IPin> peer;
  if (ConnectedTo(peer.Put()) != S_OK) return S_OK;
  CMediaType type;
  HRESULT result = ConnectionMediaType(&type);
  if (FAILED(result)) return result;
  if (CheckMediaType(type) == S_OK && SUCCEEDED(DecideAllocator())) return S_OK;
  result = peer->Disconnect();
  if (FAILED(result)) return result;
  BreakConnect();
  SetPeer(nullptr);
  return S_OK;
}

HRESULT CTransformOutputPin::GetPeerRequirements(ALLOCATOR_PROPERTIES* properties) {
  if (!IsConnected()) return E_NOTIMPL;
  *properties = PeerRequirements();
  return S_OK;
}

HRESULT CTransformOutputPin::Send(CTransformSample& sample) {
  if (!m_isCopying) return Deliver(&sample);
  ComPointer<IMediaSample> buffer;
  const HRESULT got = GetDeliveryBuffer(buffer.Put());
  if (FAILED(got)) return got;
  // Downstream was told by `QueryAccept` that it can not have another one.
  if (BringsOtherType(buffer.Get(), *this)) throw CResultException{VFW_E_TYPE_NOT_ACCEPTED};
  ThrowIfFailed(sample.CopyTo(buffer.Get()));
  return Deliver(buffer.Get());
}

HRESULT CTransformOutputPin::Notify(IBaseFilter*, Quality quality) {
  return m_filter.m_input.PassNotify(quality);
}

/// Makes a call of the interface that upstream has.
template <class Call, class... Arguments>
HRESULT CTransformOutputPin::AskUpstream(Call call, Arguments... arguments) {
  ComPointer<IPin> peer;
  ComPointer<IMediaSeeking> seeking;
  if (m_filter.m_input.ConnectedTo(peer.Put()) != S_OK) return VFW_E_NOT_CONNECTED;
  if (FAILED(peer->QueryInterface(IID_IMediaSeeking, seeking.PutVoid()))) return E_NOTIMPL;
  return (seeking.Get()->*call)(arguments...);
}

HRESULT CTransformOutputPin::GetCapabilities(DWORD* caps) {
  return AskUpstream(&IMediaSeeking::GetCapabilities, caps);
}

HRESULT CTransformOutputPin::CheckCapabilities(DWORD* caps) {
  return AskUpstream(&IMediaSeeking::CheckCapabilities, caps);
}

HRESULT CTransformOutputPin::IsFormatSupported(const GUID* format) {
  return AskUpstream(&IMediaSeeking::IsFormatSupported, format);
}

HRESULT CTransformOutputPin::QueryPreferredFormat(GUID* format) {
  return AskUpstream(&IMediaSeeking::QueryPreferredFormat, format);
}

HRESULT CTransformOutputPin::GetTimeFormat(GUID* format) {
  return AskUpstream(&IMediaSeeking::GetTimeFormat, format);
}

HRESULT CTransformOutputPin::IsUsingTimeFormat(const GUID* format) {
  return AskUpstream(&IMediaSeeking::IsUsingTimeFormat, format);
}

HRESULT CTransformOutputPin::SetTimeFormat(const GUID* format) {
  return AskUpstream(&IMediaSeeking::SetTimeFormat, format);
}

HRESULT CTransformOutputPin::GetDuration(LONGLONG* duration) {
  return AskUpstream(&IMediaSeeking::GetDuration, duration);
}

HRESULT CTransformOutputPin::GetStopPosition(LONGLONG* stop) {
  return AskUpstream(&IMediaSeeking::GetStopPosition, stop);
}

HRESULT CTransformOutputPin::GetCurrentPosition(LONGLONG* current) {
  return AskUpstream(&IMediaSeeking::GetCurrentPosition, current);
}

HRESULT CTransformOutputPin::ConvertTimeFormat(LONGLONG* target, const GUID* targetFormat, LONGLONG source,
                                               const GUID* sourceFormat) {
  return AskUpstream(&IMediaSeeking::ConvertTimeFormat, target, targetFormat, source, sourceFormat);
}

HRESULT CTransformOutputPin::SetPositions(LONGLONG* current, DWORD currentFlags, LONGLONG* stop,
                                          DWORD stopFlags) {
  return AskUpstream(&IMediaSeeking::SetPositions, current, currentFlags, stop, stopFlags);
}

HRESULT CTransformOutputPin::GetPositions(LONGLONG* current, LONGLONG* stop) {
  return AskUpstream(&IMediaSeeking::GetPositions, current, stop);
}

HRESULT CTransformOutputPin::GetAvailable(LONGLONG* earliest, LONGLONG* latest) {
  return AskUpstream(&IMediaSeeking::GetAvailable, earliest, latest);
}

HRESULT CTransformOutputPin::SetRate(double rate) {
  return AskUpstream(&IMediaSeeking::SetRate, rate);
}

HRESULT CTransformOutputPin::GetRate(double* rate) {
  return AskUpstream(&IMediaSeeking::GetRate, rate);
}

HRESULT CTransformOutputPin::GetPreroll(LONGLONG* preroll) {
  return AskUpstream(&IMediaSeeking::GetPreroll, preroll);
}

}  // namespace kt

#include "module/graph/base_output_pin.h"

#include <objbase.h>
#include <uuids.h>
#include <vfwmsgs.h>

namespace kt {

HRESULT CBaseOutputPin::CheckConnect(IPin* peer) {
  const HRESULT result = CBasePin::CheckConnect(peer);
  if (FAILED(result)) return result;
  return peer->QueryInterface(IID_IMemInputPin, m_inputPin.PutVoid());
}

HRESULT CBaseOutputPin::CompleteConnect(IPin*) {
  return DecideAllocator();
}

HRESULT CBaseOutputPin::BreakConnect() {
  if (m_allocator) m_allocator->Decommit();
  m_allocator.Reset();
  m_inputPin.Reset();
  return S_OK;
}

ALLOCATOR_PROPERTIES CBaseOutputPin::PeerRequirements() {
  ALLOCATOR_PROPERTIES properties = {};
  // A peer may have no wishes.
  if (FAILED(m_inputPin->GetAllocatorRequirements(&properties))) properties = {};
  if (properties.cbAlign == 0) properties.cbAlign = 1;
  return properties;
}

HRESULT CBaseOutputPin::DecideAllocator() {
  const ALLOCATOR_PROPERTIES properties = PeerRequirements();
  ComPointer<IMemAllocator> allocator;
  HRESULT result = m_inputPin->GetAllocator(allocator.Put());
  if (SUCCEEDED(result)) result = TryAllocator(allocator, properties);
  if (SUCCEEDED(result)) return result;

  result = CoCreateInstance(CLSID_MemoryAllocator, nullptr, CLSCTX_INPROC_SERVER, IID_IMemAllocator,
                            allocator.PutVoid());
  return FAILED(result) ? result : TryAllocator(allocator, properties);
}

HRESULT CBaseOutputPin::TryAllocator(const ComPointer<IMemAllocator>& allocator,
                                     ALLOCATOR_PROPERTIES properties) {
  const HRESULT result = DecideBufferSize(allocator.Get(), &properties);
  return FAILED(result) ? result : ProposeAllocator(allocator, false);
}

HRESULT CBaseOutputPin::ProposeAllocator(const ComPointer<IMemAllocator>& allocator, bool readOnly) {
  const HRESULT result = m_inputPin->NotifyAllocator(allocator.Get(), readOnly);
  if (SUCCEEDED(result)) m_allocator = allocator;
  return result;
}

HRESULT CBaseOutputPin::Active() {
  return m_allocator ? m_allocator->Commit() : VFW_E_NO_ALLOCATOR;
}

HRESULT CBaseOutputPin::Inactive() {
  return m_allocator ? m_allocator->Decommit() : VFW_E_NO_ALLOCATOR;
}

HRESULT CBaseOutputPin::GetDeliveryBuffer(IMediaSample** sample) {
  return m_allocator ? m_allocator->GetBuffer(sample, nullptr, nullptr, 0) : VFW_E_NO_ALLOCATOR;
}

HRESULT CBaseOutputPin::Deliver(IMediaSample* sample) {
  return m_inputPin ? m_inputPin->Receive(sample) : VFW_E_NOT_CONNECTED;
}

HRESULT CBaseOutputPin::DeliverEndOfStream() {
  return Peer() != nullptr ? Peer()->EndOfStream() : VFW_E_NOT_CONNECTED;
}

HRESULT CBaseOutputPin::DeliverBeginFlush() {
  return Peer() != nullptr ? Peer()->BeginFlush() : VFW_E_NOT_CONNECTED;
}

HRESULT CBaseOutputPin::DeliverEndFlush() {
  return Peer() != nullptr ? Peer()->EndFlush() : VFW_E_NOT_CONNECTED;
}

HRESULT CBaseOutputPin::DeliverNewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) {
  return Peer() != nullptr ? Peer()->NewSegment(start, stop, rate) : VFW_E_NOT_CONNECTED;
}

}  // namespace kt

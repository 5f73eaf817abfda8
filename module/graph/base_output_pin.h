#pragma once

#include "module/graph/base_pin.h"

namespace kt {

/// A pin that delivers samples in buffers of an allocator that both ends agree on.
class CBaseOutputPin : public CBasePin {
 public:
  using CBasePin::CBasePin;

  /// Sets `properties` to what the pin needs, hands them to the allocator's `SetProperties` and looks at what
  /// it made of them. They come in with what the peer asked for, and an alignment of at least 1.
  virtual HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* properties) = 0;

  HRESULT CheckConnect(IPin* peer) override;
  HRESULT CompleteConnect(IPin* peer) override;
  HRESULT BreakConnect() override;
  /// VFW_E_NO_ALLOCATOR without a connection.
  HRESULT Active() override;
  HRESULT Inactive() override;

  // To the other end of the connection; VFW_E_NOT_CONNECTED without one.
  HRESULT GetDeliveryBuffer(IMediaSample** sample);
  HRESULT Deliver(IMediaSample* sample);
  HRESULT DeliverEndOfStream();
  HRESULT DeliverBeginFlush();
  HRESULT DeliverEndFlush();
  HRESULT DeliverNewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate);

 protected:
  /// Agrees on an allocator with the peer: on the peer's, else on one of the platform's.
  virtual HRESULT DecideAllocator();
  /// What the peer asks of the buffers, with an alignment of at least 1.
  ALLOCATOR_PROPERTIES PeerRequirements();
  /// Proposes an allocator to the peer, and takes it when the peer does.
  HRESULT ProposeAllocator(const ComPointer<IMemAllocator>& allocator, bool readOnly);

 private:
  HRESULT TryAllocator(const ComPointer<IMemAllocator>& allocator, ALLOCATOR_PROPERTIES properties);

  ComPointer<IMemInputPin> m_inputPin;
  ComPointer<IMemAllocator> m_allocator;
};

}  // namespace kt

#pragma once

#include "module/graph/base_pin.h"

namespace kt {

/// A pin that accepts connections and takes samples.
class CBaseInputPin : public CBasePin, public IMemInputPin {
 public:
  CBaseInputPin(CPinHost& host, std::wstring name, std::wstring id);
  DECLARE_IUNKNOWN
  HRESULT NonDelegatingQueryInterface(REFIID iid, void** object) override;

  /// None: what upstream offers is looked at.
  HRESULT GetMediaType(int position, CMediaType* type) override;

  // IPin
  /// VFW_E_ALREADY_CONNECTED, VFW_E_NOT_STOPPED, VFW_E_TYPE_NOT_ACCEPTED.
  HRESULT STDMETHODCALLTYPE ReceiveConnection(IPin* peer, const AM_MEDIA_TYPE* type) override;

  // IMemInputPin
  /// Those that `Receive` takes, up to the first other answer than S_OK.
  HRESULT STDMETHODCALLTYPE ReceiveMultiple(IMediaSample** samples, LONG count, LONG* processed) override;
  HRESULT STDMETHODCALLTYPE ReceiveCanBlock() override { return S_OK; }

 private:
  HRESULT Accept(IPin* peer, const AM_MEDIA_TYPE& type);
};

}  // namespace kt

#include "module/graph/base_input_pin.h"

#include <vfwmsgs.h>

#include <utility>

namespace kt {

CBaseInputPin::CBaseInputPin(CPinHost& host, std::wstring name, std::wstring id)
    : CBasePin(host, PINDIR_INPUT, std::move(name), std::move(id)) {}

HRESULT CBaseInputPin::NonDelegatingQueryInterface(REFIID iid, void** object) {
  if (iid == IID_IMemInputPin) return GetInterface(static_cast<IMemInputPin*>(this), object);
  return CBasePin::NonDelegatingQueryInterface(iid, object);
}

HRESULT CBaseInputPin::GetMediaType(int, CMediaType*) {
  return VFW_S_NO_MORE_ITEMS;
}

HRESULT CBaseInputPin::ReceiveConnection(IPin* peer, const AM_MEDIA_TYPE* type) {
  if (peer == nullptr || type == nullptr) return E_POINTER;
  return Host().ChangeState([&] { return Accept(peer, *type); });
}

HRESULT CBaseInputPin::Accept(IPin* peer, const AM_MEDIA_TYPE& type) {
  if (IsConnected()) return VFW_E_ALREADY_CONNECTED;
  if (Host().State() != State_Stopped) return VFW_E_NOT_STOPPED;
  HRESULT result = CheckConnect(peer);
  if (FAILED(result)) return result;
  const CMediaType copy(type);
  if (CheckMediaType(copy) != S_OK) return VFW_E_TYPE_NOT_ACCEPTED;
  result = SetMediaType(copy);
  if (SUCCEEDED(result)) SetPeer(peer);
  return result;
}

HRESULT CBaseInputPin::ReceiveMultiple(IMediaSample** samples, LONG count, LONG* processed) {
  if (samples == nullptr || processed == nullptr) return E_POINTER;
  for (*processed = 0; *processed < count; ++*processed) {
    const HRESULT result = Receive(samples[*processed]);
    if (result != S_OK) return result;
  }
  return S_OK;
}

}  // namespace kt

#pragma once

#include <strmif.h>

#include <mutex>
#include <string>

#include "module/com/com_pointer.h"
#include "module/com/unknown.h"
#include "module/graph/media_type.h"
#include "module/graph/pin_host.h"

namespace kt {

/// A pin of a filter, its host, which owns it: references on the pin are references on the filter, while the
/// identity is the pin's own.
///
/// The connection changes under the filter's state lock and in the stopped state only; that it stands, to
/// whom and with what type, can be asked without that lock.
class CBasePin : public CUnknown, public IPin, public IQualityControl {
 public:
  /// `name` is what graphs show; pins may share it. `id` tells the filter's pins apart.
  CBasePin(CPinHost& host, PIN_DIRECTION direction, std::wstring name, std::wstring id);
  DECLARE_IUNKNOWN
  HRESULT NonDelegatingQueryInterface(REFIID iid, void** object) override;
  ULONG NonDelegatingAddRef() override;
  ULONG NonDelegatingRelease() override;

  // For derived pins. These are asked during connection work, under the state lock, but also out of
  // `QueryAccept` and `EnumMediaTypes`, which renderers use from their streaming thread; so they must not
  // take the state lock themselves.

  /// S_OK for a type that the pin can work with.
  virtual HRESULT CheckMediaType(const CMediaType& type) = 0;
  /// The type at a position: S_OK, VFW_S_NO_MORE_ITEMS behind the last, or a failure.
  virtual HRESULT GetMediaType(int position, CMediaType* type) = 0;
  /// Changes with what the pin offers.
  virtual ULONG TypeVersion() const { return 0; }

  /// Takes the type of the connection.
  virtual HRESULT SetMediaType(const CMediaType& type);
  /// Looks at the other pin before a connection is tried: VFW_E_INVALID_DIRECTION for one that points the
  /// same way.
  virtual HRESULT CheckConnect(IPin* peer);
  /// Both sides have agreed on a type.
  virtual HRESULT CompleteConnect(IPin* peer);
  /// Undoes `CheckConnect` and `CompleteConnect`, whichever of them has run.
  virtual HRESULT BreakConnect();
  /// The filter leaves the stopped state.
  virtual HRESULT Active() { return S_OK; }
  /// The filter returns to it.
  virtual HRESULT Inactive() { return S_OK; }

  // IPin
  HRESULT STDMETHODCALLTYPE Connect(IPin* peer, const AM_MEDIA_TYPE* type) override;
  HRESULT STDMETHODCALLTYPE ReceiveConnection(IPin* peer, const AM_MEDIA_TYPE* type) override;
  HRESULT STDMETHODCALLTYPE Disconnect() override;
  HRESULT STDMETHODCALLTYPE ConnectedTo(IPin** peer) override;
  HRESULT STDMETHODCALLTYPE ConnectionMediaType(AM_MEDIA_TYPE* type) override;
  HRESULT STDMETHODCALLTYPE QueryPinInfo(PIN_INFO* info) override;
  HRESULT STDMETHODCALLTYPE QueryDirection(PIN_DIRECTION* direction) override;
  HRESULT STDMETHODCALLTYPE QueryId(LPWSTR* id) override;
  /// What a connection carries never changes: while it stands, its own type is the only one accepted.
  HRESULT STDMETHODCALLTYPE QueryAccept(const AM_MEDIA_TYPE* type) override;
  HRESULT STDMETHODCALLTYPE EnumMediaTypes(IEnumMediaTypes** enumerator) override;
  HRESULT STDMETHODCALLTYPE QueryInternalConnections(IPin** pins, ULONG* count) override;
  HRESULT STDMETHODCALLTYPE EndOfStream() override;
  HRESULT STDMETHODCALLTYPE BeginFlush() override;
  HRESULT STDMETHODCALLTYPE EndFlush() override;
  HRESULT STDMETHODCALLTYPE NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) override;

  // IQualityControl
  HRESULT STDMETHODCALLTYPE Notify(IBaseFilter* from, Quality quality) override;
  HRESULT STDMETHODCALLTYPE SetSink(IQualityControl* sink) override;

  bool IsConnected() const;
  const std::wstring& Name() const { return m_name; }
  const std::wstring& Id() const { return m_id; }

 protected:
  CPinHost& Host() const { return m_host; }
  /// The pin at the other end, not counted; null without one. To be used under the state lock and by workers,
  /// during whose run the connection stands.
  IPin* Peer() const { return m_peer.Get(); }
  /// For a pin that accepts connections; null ends one.
  void SetPeer(IPin* peer);

 private:
  bool AcceptsNow(const CMediaType& type);
  HRESULT AgreeMediaType(IPin* peer, const AM_MEDIA_TYPE* wanted);
  HRESULT TryTypes(IPin* peer, const AM_MEDIA_TYPE* wanted, IPin* source);
  HRESULT AttemptConnection(IPin* peer, const CMediaType& type);
  HRESULT Negotiate(IPin* peer, const CMediaType& type);

  CPinHost& m_host;
  const PIN_DIRECTION m_direction;
  const std::wstring m_name;
  const std::wstring m_id;

  mutable std::mutex m_connectionLock;
  ComPointer<IPin> m_peer;
  CMediaType m_type;
};

}  // namespace kt

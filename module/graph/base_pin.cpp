#include "module/graph/base_pin.h"

#include <objbase.h>
#include <vfwmsgs.h>

#include <cstring>
#include <memory>

#include "module/com/com_edge.h"
#include "module/com/enumerator.h"

namespace kt {
namespace {

class CTypeItems {
 public:
  explicit CTypeItems(CBasePin& pin) : m_pin(&pin), m_keep(&pin) {}
  ULONG Version() const { return m_pin->TypeVersion(); }
  HRESULT Probe(ULONG index) const {
    CMediaType type;
    return Ask(index, &type);
  }
  HRESULT Fetch(ULONG index, AM_MEDIA_TYPE** item) const {
    CMediaType type;
    const HRESULT result = Ask(index, &type);
    if (result != S_OK) return result;
    *item = CreateMediaType(type);
    return *item == nullptr ? E_OUTOFMEMORY : S_OK;
  }

 private:
  HRESULT Ask(ULONG index, CMediaType* type) const {
    const HRESULT result = m_pin->GetMediaType(static_cast<int>(index), type);
    return SUCCEEDED(result) && result != S_OK ? S_FALSE : result;
  }

  CBasePin* m_pin;
  ComPointer<IPin> m_keep;
};

struct MediaTypeDeleter {
  void operator()(AM_MEDIA_TYPE* type) const { DeleteMediaType(type); }
};

// Says no more than that a type was not liked.
bool IsPlainRefusal(HRESULT result) {
  return result == E_FAIL || result == E_INVALIDARG || result == VFW_E_TYPE_NOT_ACCEPTED;
}

}  // namespace

CBasePin::CBasePin(CPinHost& host, PIN_DIRECTION direction, std::wstring name, std::wstring id)
    : CUnknown(nullptr), m_host(host), m_direction(direction), m_name(std::move(name)), m_id(std::move(id)) {}

HRESULT CBasePin::NonDelegatingQueryInterface(REFIID iid, void** object) {
  if (iid == IID_IPin) return GetInterface(static_cast<IPin*>(this), object);
  if (iid == IID_IQualityControl) return GetInterface(static_cast<IQualityControl*>(this), object);
  return CUnknown::NonDelegatingQueryInterface(iid, object);
}

ULONG CBasePin::NonDelegatingAddRef() {
  return m_host.Face().AddRef();
}

ULONG CBasePin::NonDelegatingRelease() {
  return m_host.Face().Release();
}

HRESULT CBasePin::SetMediaType(const CMediaType& type) {
  CMediaType copy(type);
  const std::lock_guard lock(m_connectionLock);
  m_type.Swap(copy);
  return S_OK;
}

HRESULT CBasePin::CheckConnect(IPin* peer) {
  PIN_DIRECTION direction = PINDIR_INPUT;
  const HRESULT result = peer->QueryDirection(&direction);
  if (FAILED(result)) return result;
  return direction == m_direction ? VFW_E_INVALID_DIRECTION : S_OK;
}

HRESULT CBasePin::CompleteConnect(IPin*) {
  return S_OK;
}

HRESULT CBasePin::BreakConnect() {
  return S_OK;
}

void CBasePin::SetPeer(IPin* peer) {
  // The old one goes when the lock is free again.
  ComPointer<IPin> other(peer);
  const std::lock_guard lock(m_connectionLock);
  std::swap(m_peer, other);
}

bool CBasePin::IsConnected() const {
  const std::lock_guard lock(m_connectionLock);
  return static_cast<bool>(m_peer);
}

HRESULT CBasePin::Connect(IPin* peer, const AM_MEDIA_TYPE* type) {
  if (peer == nullptr) return E_POINTER;
  return m_host.ChangeState([&]() -> HRESULT {
    if (IsConnected()) return VFW_E_ALREADY_CONNECTED;
    return m_host.State() == State_Stopped ? AgreeMediaType(peer, type) : VFW_E_NOT_STOPPED;
  });
}

// A type that names everything is the only one tried. Otherwise it narrows the choice down: what the peer
// would like comes first, then what this pin offers.
HRESULT CBasePin::AgreeMediaType(IPin* peer, const AM_MEDIA_TYPE* wanted) {
  if (wanted != nullptr) {
    const CMediaType full(*wanted);
    if (!full.IsPartiallySpecified()) return AttemptConnection(peer, full);
  }
  HRESULT result = VFW_E_NO_ACCEPTABLE_TYPES;
  for (IPin* source : {peer, static_cast<IPin*>(this)}) {
    const HRESULT tried = TryTypes(peer, wanted, source);
    if (SUCCEEDED(tried)) return tried;
    if (result == VFW_E_NO_ACCEPTABLE_TYPES) result = tried;
  }
  return result;
}

// Tries the types that `source` lists. The result of failing is the first that says something of its own.
HRESULT CBasePin::TryTypes(IPin* peer, const AM_MEDIA_TYPE* wanted, IPin* source) {
  ComPointer<IEnumMediaTypes> types;
  if (FAILED(source->EnumMediaTypes(types.Put())) || !types) return VFW_E_NO_ACCEPTABLE_TYPES;
  HRESULT result = VFW_E_NO_ACCEPTABLE_TYPES;
  AM_MEDIA_TYPE* next = nullptr;
  while (types->Next(1, &next, nullptr) == S_OK) {
    const std::unique_ptr<AM_MEDIA_TYPE, MediaTypeDeleter> owned(next);
    const CMediaType type(*next);
    if (wanted != nullptr && !type.MatchesPartial(*wanted)) continue;
    const HRESULT tried = AttemptConnection(peer, type);
    if (SUCCEEDED(tried)) return tried;
    if (result == VFW_E_NO_ACCEPTABLE_TYPES && !IsPlainRefusal(tried)) result = tried;
  }
  return result;
}

HRESULT CBasePin::AttemptConnection(IPin* peer, const CMediaType& type) {
  const HRESULT result = AtEdge([&] { return Negotiate(peer, type); });
  if (FAILED(result)) {
    AtEdge([&] { return BreakConnect(); });
    SetPeer(nullptr);
  }
  return result;
}

HRESULT CBasePin::Negotiate(IPin* peer, const CMediaType& type) {
  HRESULT result = CheckConnect(peer);
  if (FAILED(result)) return result;
  result = CheckMediaType(type);
  if (result != S_OK) return SUCCEEDED(result) || IsPlainRefusal(result) ? VFW_E_TYPE_NOT_ACCEPTED : result;
  SetPeer(peer);
  result = SetMediaType(type);
  if (FAILED(result)) return result;
  result = peer->ReceiveConnection(this, &type);
  if (FAILED(result)) return result;
  result = AtEdge([&] { return CompleteConnect(peer); });
  if (FAILED(result)) peer->Disconnect();
  return result;
}

// The pins of this frame lead outwards: they are connected from this side.
HRESULT CBasePin::ReceiveConnection(IPin* peer, const AM_MEDIA_TYPE* type) {
  if (peer == nullptr || type == nullptr) return E_POINTER;
  return IsConnected() ? VFW_E_ALREADY_CONNECTED : VFW_E_INVALID_DIRECTION;
}

HRESULT CBasePin::Disconnect() {
  return m_host.ChangeState([&]() -> HRESULT {
    if (m_host.State() != State_Stopped) return VFW_E_NOT_STOPPED;
    if (!IsConnected()) return S_FALSE;
    const HRESULT result = AtEdge([&] { return BreakConnect(); });
    SetPeer(nullptr);
    return FAILED(result) ? result : S_OK;
  });
}

HRESULT CBasePin::ConnectedTo(IPin** peer) {
  if (peer == nullptr) return E_POINTER;
  const std::lock_guard lock(m_connectionLock);
  *peer = ComPointer<IPin>(m_peer).Detach();
  return *peer == nullptr ? VFW_E_NOT_CONNECTED : S_OK;
}

HRESULT CBasePin::ConnectionMediaType(AM_MEDIA_TYPE* type) {
  if (type == nullptr) return E_POINTER;
  *type = {};
  const std::lock_guard lock(m_connectionLock);
  return m_peer ? CopyMediaType(type, m_type) : VFW_E_NOT_CONNECTED;
}

HRESULT CBasePin::QueryPinInfo(PIN_INFO* info) {
  if (info == nullptr) return E_POINTER;
  info->pFilter = ComPointer<IBaseFilter>(&m_host.Face()).Detach();
  info->dir = m_direction;
  info->achName[m_name.copy(info->achName, std::size(info->achName) - 1)] = L'\0';
  return S_OK;
}

HRESULT CBasePin::QueryDirection(PIN_DIRECTION* direction) {
  if (direction == nullptr) return E_POINTER;
  *direction = m_direction;
  return S_OK;
}

HRESULT CBasePin::QueryId(LPWSTR* id) {
  if (id == nullptr) return E_POINTER;
  const std::size_t size = (m_id.size() + 1) * sizeof(WCHAR);
  *id = static_cast<LPWSTR>(CoTaskMemAlloc(size));
  if (*id == nullptr) return E_OUTOFMEMORY;
  std::memcpy(*id, m_id.c_str(), size);
  return S_OK;
}

HRESULT CBasePin::QueryAccept(const AM_MEDIA_TYPE* type) {
  if (type == nullptr) return E_POINTER;
  return AtEdge([&] { return AcceptsNow(CMediaType(*type)) ? S_OK : S_FALSE; }) == S_OK ? S_OK : S_FALSE;
}

bool CBasePin::AcceptsNow(const CMediaType& type) {
  {
    const std::lock_guard lock(m_connectionLock);
    if (m_peer) return m_type == type;
  }
  return CheckMediaType(type) == S_OK;
}

HRESULT CBasePin::EnumMediaTypes(IEnumMediaTypes** enumerator) {
  return MakeEnumerator<IEnumMediaTypes, AM_MEDIA_TYPE*>(CTypeItems(*this), enumerator);
}

HRESULT CBasePin::QueryInternalConnections(IPin**, ULONG*) {
  return E_NOTIMPL;
}

// What flows downstream has no business at a pin that leads outwards.
HRESULT CBasePin::EndOfStream() {
  return E_UNEXPECTED;
}

HRESULT CBasePin::BeginFlush() {
  return E_UNEXPECTED;
}

HRESULT CBasePin::EndFlush() {
  return E_UNEXPECTED;
}

HRESULT CBasePin::NewSegment(REFERENCE_TIME, REFERENCE_TIME, double) {
  return S_OK;
}

HRESULT CBasePin::Notify(IBaseFilter*, Quality) {
  return E_NOTIMPL;
}

// Without a use for quality messages there is none for whoever wants them.
HRESULT CBasePin::SetSink(IQualityControl*) {
  return S_OK;
}

}  // namespace kt

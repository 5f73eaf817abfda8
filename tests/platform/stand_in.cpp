#include "platform/stand_in.h"

#include <d3d9.h>
#include <evcode.h>
#include <gtest/gtest.h>
#include <objbase.h>
#include <uuids.h>
#include <vfwmsgs.h>
#include <vmr9.h>

#include <algorithm>
#include <set>

namespace kt::test {

namespace {

/// The configuration of a mixing renderer: the two that there are differ in the compositor alone.
template <class Interface, class Compositor>
class CMixerConfig final : public Interface {
 public:
  explicit CMixerConfig(CStandIn& filter) : m_filter(filter) {}
  virtual ~CMixerConfig() = default;
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    return m_filter.QueryInterface(iid, object);
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return m_filter.AddRef(); }
  ULONG STDMETHODCALLTYPE Release() override { return m_filter.Release(); }

  HRESULT STDMETHODCALLTYPE SetNumberOfStreams(DWORD count) override {
    m_filter.SetStreams(count);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE SetImageCompositor(Compositor*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetNumberOfStreams(DWORD*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetRenderingPrefs(DWORD) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetRenderingPrefs(DWORD*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetRenderingMode(DWORD) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetRenderingMode(DWORD*) override { return E_NOTIMPL; }

 private:
  CStandIn& m_filter;
};

using Config9 = CMixerConfig<IVMRFilterConfig9, IVMRImageCompositor9>;
using Config7 = CMixerConfig<IVMRFilterConfig, IVMRImageCompositor>;

class CStandInFactory final : public CUnknown, public IClassFactory {
 public:
  explicit CStandInFactory(std::optional<StandInScript> script)
      : CUnknown(nullptr), m_script(std::move(script)) {}
  DECLARE_IUNKNOWN
  HRESULT NonDelegatingQueryInterface(REFIID iid, void** object) override {
    if (iid == IID_IClassFactory) return GetInterface(static_cast<IClassFactory*>(this), object);
    return CUnknown::NonDelegatingQueryInterface(iid, object);
  }
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID iid, void** object) override {
    *object = nullptr;
    if (!m_script) return CLASS_E_CLASSNOTAVAILABLE;
    const ComPointer<IBaseFilter> made(new CStandIn(*m_script));
    return made->QueryInterface(iid, object);
  }
  HRESULT STDMETHODCALLTYPE LockServer(WINBOOL) override { return S_OK; }

 private:
  const std::optional<StandInScript> m_script;
};

bool IsAmong(const std::vector<CMediaType>& types, const CMediaType& type) {
  return std::ranges::any_of(types, [&](const CMediaType& wanted) { return type.MatchesPartial(wanted); });
}

HRESULT TypeAt(const std::vector<CMediaType>& types, int position, CMediaType* type) {
  const std::size_t index = static_cast<std::size_t>(position);
  return index < types.size() ? type->Set(types[index]) : VFW_S_NO_MORE_ITEMS;
}

}  // namespace

CMediaType PlainType(const GUID& major, const GUID& subtype) {
  CMediaType type;
  type.majortype = major;
  type.subtype = subtype;
  return type;
}

CStandInInput::CStandInInput(CStandIn& filter, std::wstring name, std::vector<CMediaType> types)
    : CBasePin(filter, PINDIR_INPUT, name, name), m_standIn(filter), m_types(std::move(types)) {}

HRESULT CStandInInput::NonDelegatingQueryInterface(REFIID iid, void** object) {
  if (iid == IID_IMemInputPin) return GetInterface(static_cast<IMemInputPin*>(this), object);
  return CBasePin::NonDelegatingQueryInterface(iid, object);
}

HRESULT CStandInInput::CheckMediaType(const CMediaType& type) {
  return IsAmong(m_types, type) ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
}

// What it accepts it does not offer: the formats are the other side's.
HRESULT CStandInInput::GetMediaType(int, CMediaType*) {
  return VFW_S_NO_MORE_ITEMS;
}

HRESULT CStandInInput::Active() {
  m_refusing = false;
  return S_OK;
}

HRESULT CStandInInput::Inactive() {
  m_refusing = true;
  const std::lock_guard lock(m_workLock);
  if (m_standIn.Work() != nullptr) m_standIn.Work()->Flush();
  return S_OK;
}

HRESULT CStandInInput::ReceiveConnection(IPin* peer, const AM_MEDIA_TYPE* type) {
  if (IsConnected()) return VFW_E_ALREADY_CONNECTED;
  const CMediaType copy(*type);
  if (CheckMediaType(copy) != S_OK) return VFW_E_TYPE_NOT_ACCEPTED;
  if (m_standIn.Script().onConnect) m_standIn.Script().onConnect(peer);
  if (m_standIn.Work() != nullptr) {
    const std::optional<CMediaType> output = m_standIn.Work()->OutputType(*type);
    if (!output) return VFW_E_TYPE_NOT_ACCEPTED;
    if (m_standIn.Output() != nullptr) m_standIn.Output()->Offer(*output);
  }
  SetPeer(peer);
  return SetMediaType(copy);
}

HRESULT CStandInInput::EndOfStream() {
  CStandInOutput* output = m_standIn.Output();
  const std::lock_guard lock(m_workLock);
  if (output == nullptr) {
    auto* self = static_cast<IBaseFilter*>(&m_standIn);
    return m_standIn.NotifyEvent(EC_COMPLETE, S_OK, reinterpret_cast<LONG_PTR>(self));
  }
  if (m_standIn.Work() != nullptr && !m_refusing) m_standIn.Work()->EndOfStream(*output);
  return output->DeliverEndOfStream();
}

// What is downstream comes back from a wait first; only then is the work free.
HRESULT CStandInInput::BeginFlush() {
  m_refusing = true;
  if (m_standIn.Output() != nullptr) m_standIn.Output()->DeliverBeginFlush();
  const std::lock_guard lock(m_workLock);
  if (m_standIn.Work() != nullptr) m_standIn.Work()->Flush();
  return S_OK;
}

HRESULT CStandInInput::EndFlush() {
  m_refusing = false;
  return m_standIn.Output() != nullptr ? m_standIn.Output()->DeliverEndFlush() : S_OK;
}

HRESULT CStandInInput::NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) {
  return m_standIn.Output() != nullptr ? m_standIn.Output()->DeliverNewSegment(start, stop, rate) : S_OK;
}

HRESULT CStandInInput::Receive(IMediaSample* sample) {
  const std::lock_guard lock(m_workLock);
  if (m_refusing) return S_FALSE;
  if (m_standIn.Work() == nullptr || m_standIn.Output() == nullptr) return S_OK;
  return m_standIn.Work()->Receive(sample, *m_standIn.Output());
}

CStandInOutput::CStandInOutput(CStandIn& filter, std::wstring name, std::vector<CMediaType> types)
    : CBaseOutputPin(filter, PINDIR_OUTPUT, name, name), m_standIn(filter), m_types(std::move(types)) {}

HRESULT CStandInOutput::NonDelegatingQueryInterface(REFIID iid, void** object) {
  if (iid != IID_IMediaSeeking) return CBaseOutputPin::NonDelegatingQueryInterface(iid, object);
  if (!m_positions) {
    HRESULT result = CoCreateInstance(CLSID_SeekingPassThru, GetOwner(), CLSCTX_INPROC_SERVER, IID_IUnknown,
                                      m_positions.PutVoid());
    if (FAILED(result)) return result;
    ComPointer<ISeekingPassThru> passThru;
    result = m_positions->QueryInterface(IID_ISeekingPassThru, passThru.PutVoid());
    if (FAILED(result)) return result;
    passThru->Init(FALSE, m_standIn.GetPin(0));
  }
  return m_positions->QueryInterface(iid, object);
}

HRESULT CStandInOutput::CheckMediaType(const CMediaType& type) {
  return IsAmong(m_types, type) ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
}

HRESULT CStandInOutput::GetMediaType(int position, CMediaType* type) {
  return TypeAt(m_types, position, type);
}

HRESULT CStandInOutput::DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* properties) {
  properties->cBuffers = std::max(properties->cBuffers, 4L);
  properties->cbBuffer = std::max(properties->cbBuffer, static_cast<long>(m_types.at(0).lSampleSize));
  ALLOCATOR_PROPERTIES actual = {};
  return allocator->SetProperties(properties, &actual);
}

CStandIn::CStandIn(StandInScript script)
    : CBaseFilter(nullptr, m_standInLock, script.clsid),
      m_script(std::move(script)),
      m_work(m_script.work ? m_script.work() : nullptr) {
  for (const StandInPin& pin : m_script.pins) AddPin(pin);
}

void CStandIn::AddPin(const StandInPin& pin) {
  const std::wstring name = (pin.direction == PINDIR_INPUT ? L"In" : L"Out") + std::to_wstring(m_pins.size());
  if (pin.direction == PINDIR_INPUT) {
    m_pins.push_back(std::make_unique<CStandInInput>(*this, name, pin.types));
    return;
  }
  auto output = std::make_unique<CStandInOutput>(*this, name, pin.types);
  if (m_output == nullptr) m_output = output.get();
  m_pins.push_back(std::move(output));
}

void CStandIn::SetStreams(ULONG count) {
  while (GetPinCount() < std::min(count, m_script.mostInputs)) AddPin(m_script.pins.at(0));
  IncrementPinVersion();
}

HRESULT CStandIn::EnumPins(IEnumPins** enumerator) {
  return FAILED(m_script.pinsResult) ? m_script.pinsResult : CBaseFilter::EnumPins(enumerator);
}

HRESULT CStandIn::NonDelegatingQueryInterface(REFIID iid, void** object) {
  if (!std::ranges::count(m_script.interfaces, iid)) {
    return CBaseFilter::NonDelegatingQueryInterface(iid, object);
  }
  *object = nullptr;
  if (FAILED(m_script.interfaceResult)) return m_script.interfaceResult;
  const auto hand = [&](auto* config) {
    using Config = std::remove_pointer_t<decltype(config)>;
    m_configs.emplace_back(config, [](IUnknown* made) { delete static_cast<Config*>(made); });
    return GetInterface(config, object);
  };
  if (iid == __uuidof(IVMRFilterConfig9)) return hand(new Config9(*this));
  if (iid == IID_IVMRFilterConfig) return hand(new Config7(*this));
  return GetInterface(static_cast<IBaseFilter*>(this), object);
}

StandInClass::StandInClass(REFCLSID clsid, std::optional<StandInScript> script) {
  if (script) script->clsid = clsid;
  const ComPointer<IClassFactory> factory(new CStandInFactory(std::move(script)));
  EXPECT_EQ(CoRegisterClassObject(clsid, factory.Get(), CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &m_cookie),
            S_OK);
}

StandInClass::~StandInClass() {
  CoRevokeClassObject(m_cookie);
}

std::string DescribeGraph(IGraphBuilder* graph) {
  const auto nameOf = [](IBaseFilter* filter) {
    FILTER_INFO info = {};
    filter->QueryFilterInfo(&info);
    if (info.pGraph != nullptr) info.pGraph->Release();
    const std::wstring name = info.achName;
    return std::string(name.begin(), name.end());
  };
  std::multiset<std::string> words;
  ComPointer<IEnumFilters> filters;
  graph->EnumFilters(filters.Put());
  ComPointer<IBaseFilter> filter;
  while (filters->Next(1, filter.Put(), nullptr) == S_OK) {
    bool connected = false;
    ComPointer<IEnumPins> pins;
    if (FAILED(filter->EnumPins(pins.Put()))) continue;
    ComPointer<IPin> pin;
    ComPointer<IPin> peer;
    while (pins->Next(1, pin.Put(), nullptr) == S_OK) {
      if (FAILED(pin->ConnectedTo(peer.Put()))) continue;
      connected = true;
      PIN_INFO info = {};
      peer->QueryPinInfo(&info);
      if (info.dir == PINDIR_INPUT) words.insert(nameOf(filter.Get()) + ">" + nameOf(info.pFilter));
      info.pFilter->Release();
    }
    if (!connected) words.insert(nameOf(filter.Get()));
  }
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
  return text;
}

}  // namespace kt::test

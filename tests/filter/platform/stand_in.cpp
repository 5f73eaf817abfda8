#include "filter/platform/stand_in.h"

#include <d3d9.h>
#include <evcode.h>
#include <gtest/gtest.h>
#include <objbase.h>
#include <uuids.h>
#include <vfwmsgs.h>
#include <vmr9.h>

#include <algorithm>
#include <set>

#include "module/host_graph.h"
#include "module/recording_sink.h"

namespace kt::test {
namespace {

bool IsAmong(const std::vector<CMediaType>& types, const CMediaType& type) {
  return std::ranges::any_of(types, [&](const CMediaType& wanted) { return type.MatchesPartial(wanted); });
}

class CStandInOutput final : public CBaseOutputPin {
 public:
  CStandInOutput(CBaseFilter& filter, const std::wstring& name, std::vector<CMediaType> types)
      : CBaseOutputPin(filter, PINDIR_OUTPUT, name, name), m_types(std::move(types)) {}
  void Offer(const CMediaType& type) { m_types = {type}; }

  HRESULT CheckMediaType(const CMediaType& type) override {
    return IsAmong(m_types, type) ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
  }
  HRESULT GetMediaType(int position, CMediaType* type) override {
    const std::size_t index = static_cast<std::size_t>(position);
    return index < m_types.size() ? type->Set(m_types[index]) : VFW_S_NO_MORE_ITEMS;
  }
  HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* properties) override {
    properties->cBuffers = std::max(properties->cBuffers, 4L);
    properties->cbBuffer = std::max(properties->cbBuffer, static_cast<long>(m_types.at(0).lSampleSize));
    ALLOCATOR_PROPERTIES actual = {};
    return allocator->SetProperties(properties, &actual);
  }

 private:
  std::vector<CMediaType> m_types;
};

/// What the pins of a stand-in share.
struct Shared {
  explicit Shared(const StandInScript& wanted)
      : script(wanted), work(wanted.work ? wanted.work() : nullptr) {}
  const StandInScript script;
  const std::unique_ptr<StandInWork> work;
  /// The first output; null without one.
  CStandInOutput* output = nullptr;
};

/// Records what comes, as a sink does, and hands it on.
class CStandInInput final : public CRecordingPin {
 public:
  CStandInInput(CBaseFilter& filter, Shared& shared, const std::wstring& name, std::vector<CMediaType> types)
      : CRecordingPin(filter, name, {}), m_shared(shared), m_types(std::move(types)) {}
  HRESULT CheckMediaType(const CMediaType& type) override {
    return IsAmong(m_types, type) ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
  }
  HRESULT Inactive() override {
    const HRESULT result = CRecordingPin::Inactive();
    ForgetWork();
    return result;
  }

  HRESULT CheckConnect(IPin* peer) override {
    if (m_shared.script.onConnect) m_shared.script.onConnect(peer);
    return CRecordingPin::CheckConnect(peer);
  }
  HRESULT SetMediaType(const CMediaType& type) override {
    if (m_shared.work) {
      const std::optional<CMediaType> output = m_shared.work->OutputType(type);
      if (!output) return VFW_E_TYPE_NOT_ACCEPTED;
      m_shared.output->Offer(*output);
    }
    return CRecordingPin::SetMediaType(type);
  }
  HRESULT STDMETHODCALLTYPE EndOfStream() override {
    // Without an output it is a renderer, which tells the graph.
    if (m_shared.output == nullptr) return CRecordingPin::EndOfStream();
    const std::lock_guard lock(m_workLock);
    if (m_shared.work && !IsRefusing()) m_shared.work->EndOfStream(*m_shared.output);
    return m_shared.output->DeliverEndOfStream();
  }
  // What is downstream comes back from a wait first; only then is the work free.
  HRESULT STDMETHODCALLTYPE BeginFlush() override {
    const HRESULT result = CRecordingPin::BeginFlush();
    if (m_shared.output != nullptr) m_shared.output->DeliverBeginFlush();
    ForgetWork();
    return result;
  }
  HRESULT STDMETHODCALLTYPE EndFlush() override {
    const HRESULT result = CRecordingPin::EndFlush();
    return m_shared.output != nullptr ? m_shared.output->DeliverEndFlush() : result;
  }
  HRESULT STDMETHODCALLTYPE NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) override {
    const HRESULT result = CRecordingPin::NewSegment(start, stop, rate);
    return m_shared.output != nullptr ? m_shared.output->DeliverNewSegment(start, stop, rate) : result;
  }
  HRESULT STDMETHODCALLTYPE Receive(IMediaSample* sample) override {
    const std::lock_guard lock(m_workLock);
    const HRESULT result = CRecordingPin::Receive(sample);
    return m_shared.work && result == S_OK ? m_shared.work->Receive(sample, *m_shared.output) : result;
  }

 private:
  void ForgetWork() {
    const std::lock_guard lock(m_workLock);
    if (m_shared.work) m_shared.work->Flush();
  }

  Shared& m_shared;
  const std::vector<CMediaType> m_types;
  std::mutex m_workLock;
};

/// The configuration of a mixing renderer: the two that there are differ in the compositor alone.
template <class Interface, class Compositor>
class CMixerConfig final : public Interface {
 public:
  CMixerConfig(CBaseFilter& filter, std::function<void(ULONG)> setStreams)
      : m_filter(filter), m_setStreams(std::move(setStreams)) {}
  virtual ~CMixerConfig() = default;
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    return m_filter.QueryInterface(iid, object);
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return m_filter.AddRef(); }
  ULONG STDMETHODCALLTYPE Release() override { return m_filter.Release(); }

  HRESULT STDMETHODCALLTYPE SetNumberOfStreams(DWORD count) override {
    m_setStreams(count);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE SetImageCompositor(Compositor*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetNumberOfStreams(DWORD*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetRenderingPrefs(DWORD) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetRenderingPrefs(DWORD*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetRenderingMode(DWORD) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetRenderingMode(DWORD*) override { return E_NOTIMPL; }

 private:
  CBaseFilter& m_filter;
  const std::function<void(ULONG)> m_setStreams;
};

class CStandIn final : public CBaseFilter {
 public:
  CStandIn(REFCLSID clsid, const StandInScript& script)
      : CBaseFilter(nullptr, m_standInLock, clsid), m_shared(script) {
    for (const StandInPin& pin : m_shared.script.pins) AddPin(pin);
  }
  HRESULT NonDelegatingQueryInterface(REFIID iid, void** object) override {
    if (!std::ranges::count(m_shared.script.interfaces, iid)) {
      return CBaseFilter::NonDelegatingQueryInterface(iid, object);
    }
    *object = nullptr;
    if (FAILED(m_shared.script.interfaceResult)) return m_shared.script.interfaceResult;
    if (iid == __uuidof(IVMRFilterConfig9)) return GetInterface(&m_config9, object);
    if (iid == IID_IVMRFilterConfig) return GetInterface(&m_config7, object);
    return GetInterface(static_cast<IBaseFilter*>(this), object);
  }
  ULONG GetPinCount() override { return static_cast<ULONG>(m_pins.size()); }
  CBasePin* GetPin(ULONG index) override { return index < m_pins.size() ? m_pins[index].get() : nullptr; }

 private:
  void AddPin(const StandInPin& pin) {
    const std::wstring name = L"Pin" + std::to_wstring(m_pins.size());
    if (pin.direction == PINDIR_INPUT) {
      m_pins.push_back(std::make_unique<CStandInInput>(*this, m_shared, name, pin.types));
      return;
    }
    auto output = std::make_unique<CStandInOutput>(*this, name, pin.types);
    if (m_shared.output == nullptr) m_shared.output = output.get();
    m_pins.push_back(std::move(output));
  }
  void SetStreams(ULONG count) {
    while (GetPinCount() < std::min(count, m_shared.script.mostInputs)) AddPin(m_shared.script.pins.at(0));
    IncrementPinVersion();
  }

  CCritSec m_standInLock;
  Shared m_shared;
  std::vector<std::unique_ptr<CBasePin>> m_pins;
  const std::function<void(ULONG)> m_setStreams = [this](ULONG count) { SetStreams(count); };
  CMixerConfig<IVMRFilterConfig9, IVMRImageCompositor9> m_config9{*this, m_setStreams};
  CMixerConfig<IVMRFilterConfig, IVMRImageCompositor> m_config7{*this, m_setStreams};
};

class CStandInFactory final : public CUnknown, public IClassFactory {
 public:
  CStandInFactory(REFCLSID clsid, std::optional<StandInScript> script)
      : CUnknown(nullptr), m_clsid(clsid), m_script(std::move(script)) {}
  DECLARE_IUNKNOWN
  HRESULT NonDelegatingQueryInterface(REFIID iid, void** object) override {
    if (iid == IID_IClassFactory) return GetInterface(static_cast<IClassFactory*>(this), object);
    return CUnknown::NonDelegatingQueryInterface(iid, object);
  }
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID iid, void** object) override {
    *object = nullptr;
    if (!m_script) return CLASS_E_CLASSNOTAVAILABLE;
    return ComPointer<IBaseFilter>(new CStandIn(m_clsid, *m_script))->QueryInterface(iid, object);
  }
  HRESULT STDMETHODCALLTYPE LockServer(WINBOOL) override { return S_OK; }

 private:
  const CLSID m_clsid;
  const std::optional<StandInScript> m_script;
};

GUID NewGuid() {
  GUID guid = {};
  CoCreateGuid(&guid);
  return guid;
}

std::string NameOf(IBaseFilter* filter) {
  FILTER_INFO info = {};
  filter->QueryFilterInfo(&info);
  if (info.pGraph != nullptr) info.pGraph->Release();
  const std::wstring name = info.achName;
  return {name.begin(), name.end()};
}

}  // namespace

CMediaType PlainType(const GUID& major, const GUID& subtype) {
  CMediaType type;
  type.majortype = major;
  type.subtype = subtype;
  return type;
}

ComPointer<IBaseFilter> MakeStandIn(const StandInScript& script) {
  return ComPointer<IBaseFilter>(new CStandIn(CLSID{}, script));
}

StandInClass::StandInClass(REFCLSID clsid, std::optional<StandInScript> script)
    : StandInClass(clsid, ComPointer<IClassFactory>(new CStandInFactory(clsid, std::move(script))).Get()) {}

StandInClass::StandInClass(REFCLSID clsid, IClassFactory* factory) {
  EXPECT_EQ(CoRegisterClassObject(clsid, factory, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &m_cookie), S_OK);
}

MappedStandIn::MappedStandIn(const wchar_t* name, const StandInScript& script)
    : m_clsid(NewGuid()), m_class(m_clsid, script) {
  std::vector<REGPINTYPES> types[2];
  REGFILTERPINS pins[2] = {};
  // What has no output is not tried between two others.
  for (std::size_t i = 0; i < 2; ++i) {
    for (const CMediaType& type : script.pins.at(i).types)
      types[i].push_back({&type.majortype, &type.subtype});
    pins[i].bOutput = i == 1;
    pins[i].nMediaTypes = static_cast<UINT>(types[i].size());
    pins[i].lpMediaType = types[i].data();
  }
  REGFILTER2 told = {};
  told.dwVersion = 1;
  told.dwMerit = MERIT_NORMAL;
  told.cPins = 2;
  told.rgPins = pins;
  EXPECT_EQ(Made<IFilterMapper2>(CLSID_FilterMapper2)
                ->RegisterFilter(m_clsid, name, nullptr, nullptr, nullptr, &told),
            S_OK);
}

MappedStandIn::~MappedStandIn() {
  EXPECT_EQ(Made<IFilterMapper2>(CLSID_FilterMapper2)->UnregisterFilter(nullptr, nullptr, m_clsid), S_OK);
}

std::string DescribeGraph(IGraphBuilder* graph) {
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
      if (info.dir == PINDIR_INPUT) words.insert(NameOf(filter.Get()) + ">" + NameOf(info.pFilter));
      info.pFilter->Release();
    }
    if (!connected) words.insert(NameOf(filter.Get()));
  }
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
  return text;
}

}  // namespace kt::test

#include "module/graph/base_filter.h"

#include <objbase.h>
#include <vfwmsgs.h>

#include "module/com/com_edge.h"
#include "module/com/enumerator.h"
#include "module/graph/base_pin.h"

namespace kt {
namespace {

// Copies into a field of the platform's, cut where it ends.
template <std::size_t kSize>
void CopyName(WCHAR (&field)[kSize], const std::wstring& name) {
  field[name.copy(field, kSize - 1)] = L'\0';
}

class CPinItems {
 public:
  explicit CPinItems(CBaseFilter& filter) : m_filter(&filter), m_keep(&filter) {}
  ULONG Version() const { return m_filter->PinVersion(); }
  HRESULT Probe(ULONG index) const { return index < m_filter->GetPinCount() ? S_OK : S_FALSE; }
  HRESULT Fetch(ULONG index, IPin** item) const {
    CBasePin* pin = m_filter->GetPin(index);
    if (pin == nullptr) return S_FALSE;
    pin->AddRef();
    *item = pin;
    return S_OK;
  }

 private:
  CBaseFilter* m_filter;
  ComPointer<IBaseFilter> m_keep;
};

}  // namespace

CBaseFilter::CBaseFilter(IUnknown* owner, CCritSec& stateLock, REFCLSID clsid)
    : CUnknown(owner), m_stateLock(stateLock), m_clsid(clsid) {}

HRESULT CBaseFilter::NonDelegatingQueryInterface(REFIID iid, void** object) {
  if (iid == IID_IBaseFilter || iid == IID_IMediaFilter || iid == IID_IPersist) {
    return GetInterface(static_cast<IBaseFilter*>(this), object);
  }
  return CUnknown::NonDelegatingQueryInterface(iid, object);
}

void CBaseFilter::FinalRelease() noexcept {
  if (!IsCalledByWorker()) {
    End();
    return;
  }
  const HANDLE thread = CreateThread(nullptr, 0, EndApart, this, 0, nullptr);
  // Without a thread it stays and plays on: nothing here could end it safely.
  if (thread != nullptr) CloseHandle(thread);
}

DWORD WINAPI CBaseFilter::EndApart(void* filter) {
  // Until now the filter has held the module; from its end on, this thread has to.
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                     reinterpret_cast<LPCWSTR>(reinterpret_cast<void*>(EndApart)), &module);
  const HRESULT com = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  static_cast<CBaseFilter*>(filter)->End();
  if (SUCCEEDED(com)) CoUninitialize();
  if (module != nullptr) FreeLibraryAndExitThread(module, 0);
  return 0;
}

void CBaseFilter::End() noexcept {
  if (m_state != State_Stopped) Stop();
  CUnknown::FinalRelease();
}

HRESULT CBaseFilter::BeginChange() {
  // Not even for the lock may it wait: whoever holds that may be waiting for the worker.
  if (IsCalledByWorker()) return VFW_E_WRONG_STATE;
  m_stateLock.lock();
  if (!m_changing) {
    m_changing = true;
    return S_OK;
  }
  m_stateLock.unlock();
  return VFW_E_WRONG_STATE;
}

void CBaseFilter::EndChange() {
  m_changing = false;
  m_stateLock.unlock();
}

HRESULT CBaseFilter::GetClassID(CLSID* clsid) {
  if (clsid == nullptr) return E_POINTER;
  *clsid = m_clsid;
  return S_OK;
}

// Ends at the first pin that fails, with those before it inactive again.
HRESULT CBaseFilter::ActivatePins() {
  const ULONG count = GetPinCount();
  for (ULONG i = 0; i < count; ++i) {
    CBasePin* pin = GetPin(i);
    const HRESULT result = pin->IsConnected() ? AtEdge([&] { return pin->Active(); }) : S_OK;
    if (FAILED(result)) {
      InactivatePins(i);
      return result;
    }
  }
  m_state = State_Paused;
  return S_OK;
}

// Visits all of the first `count` pins; the result is the first failure.
HRESULT CBaseFilter::InactivatePins(ULONG count) {
  HRESULT result = S_OK;
  for (ULONG i = 0; i < count; ++i) {
    CBasePin* pin = GetPin(i);
    const HRESULT ended = pin->IsConnected() ? AtEdge([&] { return pin->Inactive(); }) : S_OK;
    if (SUCCEEDED(result) && FAILED(ended)) result = ended;
  }
  return result;
}

HRESULT CBaseFilter::Stop() {
  return ChangeState([this] {
    const HRESULT result = m_state == State_Stopped ? S_OK : InactivatePins(GetPinCount());
    m_state = State_Stopped;
    return result;
  });
}

HRESULT CBaseFilter::Pause() {
  return ChangeState([this] {
    if (m_state == State_Stopped) return ActivatePins();
    m_state = State_Paused;
    return S_OK;
  });
}

HRESULT CBaseFilter::Run(REFERENCE_TIME start) {
  return ChangeState([this, start] {
    {
      const std::lock_guard lock(m_graphLock);
      m_start = start;
    }
    const HRESULT result = m_state == State_Stopped ? ActivatePins() : S_OK;
    if (SUCCEEDED(result)) m_state = State_Running;
    return result;
  });
}

HRESULT CBaseFilter::GetState(DWORD, FILTER_STATE* state) {
  if (state == nullptr) return E_POINTER;
  *state = m_state;
  return S_OK;
}

HRESULT CBaseFilter::SetSyncSource(IReferenceClock* clock) {
  // The old clock goes when the lock is free again.
  ComPointer<IReferenceClock> other(clock);
  const std::lock_guard lock(m_graphLock);
  std::swap(m_clock, other);
  return S_OK;
}

HRESULT CBaseFilter::GetSyncSource(IReferenceClock** clock) {
  if (clock == nullptr) return E_POINTER;
  const std::lock_guard lock(m_graphLock);
  *clock = ComPointer<IReferenceClock>(m_clock).Detach();
  return S_OK;
}

HRESULT CBaseFilter::EnumPins(IEnumPins** enumerator) {
  return MakeEnumerator<IEnumPins, IPin*>(CPinItems(*this), enumerator);
}

HRESULT CBaseFilter::FindPin(LPCWSTR id, IPin** pin) {
  if (id == nullptr || pin == nullptr) return E_POINTER;
  *pin = nullptr;
  return AtEdge([&] {
    for (ULONG i = 0; CBasePin* candidate = GetPin(i); ++i) {
      if (candidate->Id() != id) continue;
      candidate->AddRef();
      *pin = candidate;
      return S_OK;
    }
    return HRESULT{VFW_E_NOT_FOUND};
  });
}

HRESULT CBaseFilter::QueryFilterInfo(FILTER_INFO* info) {
  if (info == nullptr) return E_POINTER;
  const std::lock_guard lock(m_graphLock);
  CopyName(info->achName, m_name);
  info->pGraph = m_graph;
  if (m_graph != nullptr) m_graph->AddRef();
  return S_OK;
}

HRESULT CBaseFilter::JoinFilterGraph(IFilterGraph* graph, LPCWSTR name) {
  if (graph == nullptr) {
    SetGraph(nullptr, nullptr, {});
    return S_OK;
  }
  return ChangeState([&] {
    ComPointer<IMediaEventSink> sink;
    graph->QueryInterface(IID_IMediaEventSink, sink.PutVoid());
    SetGraph(graph, sink.Get(), name != nullptr ? name : L"");
    return S_OK;
  });
}

void CBaseFilter::SetGraph(IFilterGraph* graph, IMediaEventSink* sink, std::wstring name) {
  const std::lock_guard lock(m_graphLock);
  m_graph = graph;
  m_sink = sink;
  m_name.swap(name);
}

HRESULT CBaseFilter::QueryVendorInfo(LPWSTR*) {
  return E_NOTIMPL;
}

REFERENCE_TIME CBaseFilter::StreamTime() {
  ComPointer<IReferenceClock> clock;
  REFERENCE_TIME start = 0;
  {
    const std::lock_guard lock(m_graphLock);
    clock = m_clock;
    start = m_start;
  }
  REFERENCE_TIME now = 0;
  if (m_state != State_Running || !clock || FAILED(clock->GetTime(&now))) return 0;
  return now - start;
}

HRESULT CBaseFilter::NotifyEvent(long code, LONG_PTR first, LONG_PTR second) {
  IMediaEventSink* sink = nullptr;
  {
    const std::lock_guard lock(m_graphLock);
    sink = m_sink;
  }
  return sink == nullptr ? E_NOTIMPL : sink->Notify(code, first, second);
}

}  // namespace kt

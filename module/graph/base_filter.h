#pragma once

#include <strmif.h>
#include <vfwmsgs.h>

#include <atomic>
#include <mutex>
#include <string>

#include "module/com/com_pointer.h"
#include "module/com/unknown.h"
#include "module/graph/pin_host.h"
#include "module/graph/state_lock.h"

namespace kt {

class CBasePin;

/// A filter: its state, its place in a graph, and its pins by number.
///
/// Two locks. The state lock is held for a whole change of state, and so while the change waits for a worker;
/// what a worker, or whoever it delivers to, may ask for is behind a lock of its own, which is held for
/// moments only.
class CBaseFilter : public CUnknown, public IBaseFilter, public CPinHost {
 public:
  /// The filter borrows its state lock from the class that has it.
  CBaseFilter(IUnknown* owner, CCritSec& stateLock, REFCLSID clsid);
  DECLARE_IUNKNOWN
  HRESULT NonDelegatingQueryInterface(REFIID iid, void** object) override;

  // The pins, counted from 0. To be asked from any thread.
  ULONG GetPinCount() override = 0;
  /// Null beyond the count.
  virtual CBasePin* GetPin(ULONG index) = 0;
  /// Changes with every change of the pins.
  ULONG PinVersion() const { return m_pinVersion; }

  // IPersist
  HRESULT STDMETHODCALLTYPE GetClassID(CLSID* clsid) override;

  // IMediaFilter
  HRESULT STDMETHODCALLTYPE Stop() override;
  HRESULT STDMETHODCALLTYPE Pause() override;
  HRESULT STDMETHODCALLTYPE Run(REFERENCE_TIME start) override;
  HRESULT STDMETHODCALLTYPE GetState(DWORD milliseconds, FILTER_STATE* state) override;
  HRESULT STDMETHODCALLTYPE SetSyncSource(IReferenceClock* clock) override;
  HRESULT STDMETHODCALLTYPE GetSyncSource(IReferenceClock** clock) override;

  // IBaseFilter
  HRESULT STDMETHODCALLTYPE EnumPins(IEnumPins** enumerator) override;
  HRESULT STDMETHODCALLTYPE FindPin(LPCWSTR id, IPin** pin) override;
  HRESULT STDMETHODCALLTYPE QueryFilterInfo(FILTER_INFO* info) override;
  /// VFW_E_WRONG_STATE as for other changes; to leave a graph is always possible, since the graph may go
  /// then.
  HRESULT STDMETHODCALLTYPE JoinFilterGraph(IFilterGraph* graph, LPCWSTR name) override;
  HRESULT STDMETHODCALLTYPE QueryVendorInfo(LPWSTR* vendor) override;

  // For workers and the pins; none of these takes the state lock.

  IBaseFilter& Face() override { return *this; }
  FILTER_STATE State() const override { return m_state; }

  /// Time since the run began, in 100 ns units: 0 unless the filter runs and has a clock.
  REFERENCE_TIME StreamTime();
  HRESULT NotifyEvent(long code, LONG_PTR first, LONG_PTR second) override;

 protected:
  void IncrementPinVersion() { ++m_pinVersion; }
  /// A filter that goes while it plays stops first, while it is whole. Out of a worker, which still works on
  /// the filter, the end is left to another thread: this one has to return into the filter.
  void FinalRelease() noexcept override;

  /// Whether the call at hand comes out of a worker of this filter, or another thread that streams through
  /// it.
  virtual bool IsCalledByWorker() { return false; }
  HRESULT BeginChange() override;
  void EndChange() override;

  /// Like `ChangeState`, for a change of a stopped filter that may have to ask a person: the state lock is
  /// free meanwhile, and every other change is refused. VFW_E_WRONG_STATE also when the filter is not
  /// stopped.
  template <class Change>
  HRESULT ChangeWhileStopped(Change change) {
    const HRESULT begun = BeginChange();
    if (FAILED(begun)) return begun;
    m_stateLock.unlock();
    const HRESULT result = m_state == State_Stopped ? AtEdge(change) : VFW_E_WRONG_STATE;
    m_stateLock.lock();
    EndChange();
    return result;
  }

 private:
  static DWORD WINAPI EndApart(void* filter);
  void End() noexcept;
  HRESULT ActivatePins();
  HRESULT InactivatePins(ULONG count);
  void SetGraph(IFilterGraph* graph, IMediaEventSink* sink, std::wstring name);

  CCritSec& m_stateLock;
  const CLSID m_clsid;
  // Written under the state lock.
  std::atomic<FILTER_STATE> m_state{State_Stopped};
  bool m_changing = false;
  std::atomic<ULONG> m_pinVersion{0};

  std::mutex m_graphLock;
  ComPointer<IReferenceClock> m_clock;
  REFERENCE_TIME m_start = 0;
  // Not counted, or graph and filter would hold each other.
  IFilterGraph* m_graph = nullptr;
  IMediaEventSink* m_sink = nullptr;
  std::wstring m_name;
};

}  // namespace kt

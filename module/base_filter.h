#pragma once

#include <strmif.h>
#include <vfwmsgs.h>

#include <atomic>
#include <mutex>
#include <string>

#include "module/com_edge.h"
#include "module/com_pointer.h"
#include "module/state_lock.h"
#include "module/unknown.h"

namespace kt {

class CBasePin;

/// A filter: its state, its place in a graph, and its pins by number.
///
/// Two locks. The state lock is held for a whole change of state, and so while the change waits for a worker;
/// what a worker, or whoever it delivers to, may ask for is behind a lock of its own, which is held for
/// moments only.
class CBaseFilter : public CUnknown, public IBaseFilter {
 public:
  /// The filter borrows its state lock from the class that has it.
  CBaseFilter(IUnknown* owner, CCritSec& stateLock, REFCLSID clsid);
  DECLARE_IUNKNOWN
  HRESULT NonDelegatingQueryInterface(REFIID iid, void** object) override;

  // The pins, counted from 0. To be asked from any thread.
  virtual ULONG GetPinCount() = 0;
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
  HRESULT STDMETHODCALLTYPE JoinFilterGraph(IFilterGraph* graph, LPCWSTR name) override;
  HRESULT STDMETHODCALLTYPE QueryVendorInfo(LPWSTR* vendor) override;

  CCritSec& StateLock() { return m_stateLock; }
  /// Stopped, and not on the way to another state. To be asked under the state lock.
  bool IsStopped() const { return m_state == State_Stopped && !m_changing; }
  FILTER_STATE State() const { return m_state; }

  // For workers and the pins; none of these takes the state lock.

  /// Time since the run began, in 100 ns units: 0 unless the filter runs and has a clock.
  REFERENCE_TIME StreamTime();
  /// Tells the graph of an event. E_NOTIMPL outside a graph that takes events.
  HRESULT NotifyEvent(long code, LONG_PTR first, LONG_PTR second);

 protected:
  void IncrementPinVersion() { ++m_pinVersion; }
  /// A filter that goes while it plays stops first, while it is whole.
  void FinalRelease() noexcept override;

  /// Runs `change`, which answers an HRESULT, under the state lock. It may wait for a worker and serve calls
  /// meanwhile; a call that wants another change has to come again later: VFW_E_WRONG_STATE.
  template <class Change>
  HRESULT ChangeState(Change change) {
    const CAutoLock lock(m_stateLock);
    if (m_changing) return VFW_E_WRONG_STATE;
    m_changing = true;
    const HRESULT result = AtEdge(change);
    m_changing = false;
    return result;
  }

 private:
  HRESULT ActivatePins();
  HRESULT InactivatePins(ULONG count);

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

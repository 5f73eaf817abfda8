#pragma once

#include <strmif.h>

#include "module/com/com_edge.h"

namespace kt {

/// What a pin sees of the filter that owns it.
class CPinHost {
 public:
  CPinHost(const CPinHost&) = delete;
  CPinHost& operator=(const CPinHost&) = delete;

  /// The filter, which counts for its pins and answers for them.
  virtual IBaseFilter& Face() = 0;
  virtual ULONG GetPinCount() = 0;
  virtual FILTER_STATE State() const = 0;
  /// Tells the graph of an event. E_NOTIMPL outside a graph that takes events.
  virtual HRESULT NotifyEvent(long code, LONG_PTR first, LONG_PTR second) = 0;

  /// Runs `change`, which answers an HRESULT, under the filter's state lock. It may wait for a worker and
  /// serve calls meanwhile; a call that wants another change has to come again later: VFW_E_WRONG_STATE. So
  /// has one that comes out of a worker of the filter, for which the change would wait.
  template <class Change>
  HRESULT ChangeState(Change change) {
    const HRESULT begun = BeginChange();
    if (FAILED(begun)) return begun;
    const HRESULT result = AtEdge(change);
    EndChange();
    return result;
  }

 protected:
  CPinHost() = default;
  ~CPinHost() = default;
  /// Takes the state lock, or answers VFW_E_WRONG_STATE without it.
  virtual HRESULT BeginChange() = 0;
  virtual void EndChange() = 0;
};

}  // namespace kt

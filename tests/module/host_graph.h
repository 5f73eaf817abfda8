#pragma once

#include <control.h>
#include <evcode.h>
#include <objbase.h>
#include <strmif.h>
#include <uuids.h>

#include "module/com/com_pointer.h"
#include "module/deadline.h"

namespace kt::test {

/// The platform's filter graph manager, as an application holds it.
struct HostGraph {
  HRESULT Create() {
    HRESULT result = CoCreateInstance(CLSID_FilterGraph, nullptr, CLSCTX_INPROC_SERVER, IID_IGraphBuilder,
                                      m_builder.PutVoid());
    if (SUCCEEDED(result)) result = m_builder->QueryInterface(IID_IMediaControl, m_control.PutVoid());
    if (SUCCEEDED(result)) result = m_builder->QueryInterface(IID_IMediaEvent, m_events.PutVoid());
    return result;
  }
  void Release() {
    m_control.Reset();
    m_events.Reset();
    m_builder.Reset();
  }

  /// Takes events off the graph until this one comes; false when it does not. `look` sees each event's code
  /// and parameters.
  template <class Look>
  bool Comes(long wanted, Look look) {
    return Eventually([&] {
      long code = 0;
      LONG_PTR first = 0;
      LONG_PTR second = 0;
      // Some managers answer at once that there is no event, whatever the time given.
      while (m_events->GetEvent(&code, &first, &second, 10) == S_OK) {
        look(code, first, second);
        m_events->FreeEventParams(code, first, second);
        if (code == wanted) return true;
      }
      return false;
    });
  }
  bool Comes(long wanted) {
    return Comes(wanted, [](long, LONG_PTR, LONG_PTR) {});
  }

  ComPointer<IGraphBuilder> m_builder;
  ComPointer<IMediaControl> m_control;
  ComPointer<IMediaEvent> m_events;
};

}  // namespace kt::test

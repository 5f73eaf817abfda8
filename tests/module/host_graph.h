#pragma once

#include <control.h>
#include <evcode.h>
#include <gtest/gtest.h>
#include <objbase.h>
#include <strmif.h>
#include <uuids.h>

#include <functional>

#include "module/com/com_pointer.h"
#include "module/deadline.h"

namespace kt::test {

/// An object of a class that this process can make; null when it can not.
template <class Interface>
ComPointer<Interface> Made(REFCLSID clsid) {
  ComPointer<Interface> made;
  CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, __uuidof(Interface), made.PutVoid());
  return made;
}

/// Another interface of an object, which has to have it.
template <class Interface, class Other>
ComPointer<Interface> As(const ComPointer<Other>& object) {
  ComPointer<Interface> face;
  EXPECT_EQ(object.Query(&face), S_OK);
  return face;
}

/// The platform's filter graph manager, as an application holds it.
struct HostGraph {
  HRESULT Create() {
    m_builder = Made<IGraphBuilder>(CLSID_FilterGraph);
    const HRESULT result = m_builder.Query(&m_control);
    // This one has no identifier by its type.
    return result == S_OK ? m_builder->QueryInterface(IID_IMediaEvent, m_events.PutVoid()) : result;
  }

  /// Takes events off the graph until this one comes; false when it does not. `look` sees each event's code
  /// and parameters.
  bool Comes(long wanted, const std::function<void(long, LONG_PTR, LONG_PTR)>& look = nullptr) {
    return Eventually([&] {
      long code = 0;
      LONG_PTR first = 0, second = 0;
      // Some managers answer at once that there is no event, whatever the time given.
      while (m_events->GetEvent(&code, &first, &second, 10) == S_OK) {
        if (look) look(code, first, second);
        m_events->FreeEventParams(code, first, second);
        if (code == wanted) return true;
      }
      return false;
    });
  }

  ComPointer<IGraphBuilder> m_builder;
  ComPointer<IMediaControl> m_control;
  ComPointer<IMediaEvent> m_events;
};

}  // namespace kt::test

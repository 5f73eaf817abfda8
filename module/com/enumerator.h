#pragma once

#include <strmif.h>

#include <mutex>

#include "module/com/com_edge.h"
#include "module/com/unknown.h"

namespace kt {

/// The platform's enumerators, all alike. `Source` holds a reference on what is enumerated and has
///   `ULONG Version()`, which changes with the items,
///   `HRESULT Fetch(ULONG index, Item* item)`: S_OK, S_FALSE behind the last item, or a failure,
///   `HRESULT Probe(ULONG index)`, the same without making the item.
/// After a change every operation but `Reset` and `Clone` answers VFW_E_ENUM_OUT_OF_SYNC.
template <class Interface, class Item, class Source>
class CEnumerator final : public CUnknown, public Interface {
 public:
  explicit CEnumerator(const Source& source)
      : CUnknown(nullptr), m_source(source), m_version(m_source.Version()) {}
  DECLARE_IUNKNOWN

  HRESULT NonDelegatingQueryInterface(REFIID iid, void** object) override {
    if (iid == __uuidof(Interface)) return GetInterface(static_cast<Interface*>(this), object);
    return CUnknown::NonDelegatingQueryInterface(iid, object);
  }

  HRESULT STDMETHODCALLTYPE Next(ULONG count, Item* items, ULONG* fetched) override {
    if (fetched != nullptr) *fetched = 0;
    if (items == nullptr) return E_POINTER;
    if (fetched == nullptr && count > 1) return E_INVALIDARG;
    const std::lock_guard lock(m_lock);
    if (m_version != m_source.Version()) return VFW_E_ENUM_OUT_OF_SYNC;
    ULONG got = 0;
    HRESULT result = S_OK;
    while (got < count && result == S_OK) {
      result = AtEdge([&] { return m_source.Fetch(m_position, &items[got]); });
      if (result == S_OK) {
        ++got;
        ++m_position;
      }
    }
    if (fetched != nullptr) *fetched = got;
    // A failure behind items that are handed out comes again with the next call.
    return got > 0 && FAILED(result) ? S_FALSE : result;
  }

  HRESULT STDMETHODCALLTYPE Skip(ULONG count) override {
    const std::lock_guard lock(m_lock);
    if (m_version != m_source.Version()) return VFW_E_ENUM_OUT_OF_SYNC;
    for (; count > 0; --count) {
      const HRESULT result = AtEdge([&] { return m_source.Probe(m_position); });
      if (result != S_OK) return result;
      ++m_position;
    }
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE Reset() override {
    const std::lock_guard lock(m_lock);
    m_position = 0;
    m_version = m_source.Version();
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE Clone(Interface** clone) override {
    if (clone == nullptr) return E_POINTER;
    *clone = nullptr;
    return AtEdge([&] {
      const std::lock_guard lock(m_lock);
      CEnumerator* made = new CEnumerator(m_source);
      made->m_position = m_position;
      made->m_version = m_version;
      made->AddRef();
      *clone = made;
      return S_OK;
    });
  }

 private:
  std::mutex m_lock;
  const Source m_source;
  ULONG m_position = 0;
  ULONG m_version;
};

/// Makes an enumerator over `source` with one reference for the caller.
template <class Interface, class Item, class Source>
HRESULT MakeEnumerator(const Source& source, Interface** enumerator) {
  if (enumerator == nullptr) return E_POINTER;
  *enumerator = nullptr;
  return AtEdge([&] {
    auto* made = new CEnumerator<Interface, Item, Source>(source);
    made->AddRef();
    *enumerator = made;
    return S_OK;
  });
}

}  // namespace kt

#include "module/com/class_factory.h"

#include <span>

#include "module/com/com_edge.h"
#include "module/com/module_state.h"

namespace kt {
namespace {

class CClassFactory final : public CUnknown, public IClassFactory {
 public:
  explicit CClassFactory(const CFactoryTemplate& entry) : CUnknown(nullptr), m_entry(entry) {}
  DECLARE_IUNKNOWN

  HRESULT NonDelegatingQueryInterface(REFIID iid, void** object) override {
    if (iid == IID_IClassFactory) return GetInterface(static_cast<IClassFactory*>(this), object);
    return CUnknown::NonDelegatingQueryInterface(iid, object);
  }

  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* owner, REFIID iid, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    // An owner has to get the identity: every other interface would count for the owner itself.
    if (owner != nullptr && iid != IID_IUnknown) return CLASS_E_NOAGGREGATION;
    return AtEdge([&] { return Create(owner, iid, object); });
  }

  HRESULT STDMETHODCALLTYPE LockServer(WINBOOL lock) override {
    if (lock) {
      HoldModule();
    } else {
      ReleaseModule();
    }
    return S_OK;
  }

 private:
  HRESULT Create(IUnknown* owner, REFIID iid, void** object) const {
    HRESULT result = S_OK;
    CUnknown* made = m_entry.m_lpfnNew(owner, &result);
    if (made == nullptr) return FAILED(result) ? result : E_OUTOFMEMORY;
    // A reference around the first question: when the answer is no, giving it back frees the object.
    made->NonDelegatingAddRef();
    if (SUCCEEDED(result)) result = AtEdge([&] { return made->NonDelegatingQueryInterface(iid, object); });
    made->NonDelegatingRelease();
    return result;
  }

  const CFactoryTemplate& m_entry;
};

}  // namespace

HRESULT GetClassFactory(REFCLSID clsid, REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  for (const CFactoryTemplate& entry : std::span(g_Templates, static_cast<std::size_t>(g_cTemplates))) {
    if (*entry.m_ClsID != clsid) continue;
    return AtEdge([&] {
      CClassFactory* factory = new CClassFactory(entry);
      factory->NonDelegatingAddRef();
      const HRESULT result = factory->NonDelegatingQueryInterface(iid, object);
      factory->NonDelegatingRelease();
      return result;
    });
  }
  return CLASS_E_CLASSNOTAVAILABLE;
}

}  // namespace kt

#include "module/com/unknown.h"

#include "module/com/com_edge.h"
#include "module/com/module_state.h"

namespace kt {

CUnknown::CUnknown(IUnknown* owner) : m_identity(*this), m_owner(owner != nullptr ? owner : &m_identity) {
  HoldModule();
}

CUnknown::~CUnknown() {
  ReleaseModule();
}

HRESULT CUnknown::NonDelegatingQueryInterface(REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  if (iid == IID_IUnknown) return GetInterface(&m_identity, object);
  *object = nullptr;
  return E_NOINTERFACE;
}

ULONG CUnknown::NonDelegatingAddRef() {
  return ++m_references;
}

ULONG CUnknown::NonDelegatingRelease() {
  const ULONG left = --m_references;
  if (left == 0) {
    // While it goes the object may hand itself out once more; that must not make it go twice.
    m_references = 1;
    m_owner = &m_identity;
    FinalRelease();
  }
  return left;
}

HRESULT CUnknown::CIdentity::QueryInterface(REFIID iid, void** object) {
  const HRESULT result = AtEdge([&] { return m_object.NonDelegatingQueryInterface(iid, object); });
  if (FAILED(result) && object != nullptr) *object = nullptr;
  return result;
}

}  // namespace kt

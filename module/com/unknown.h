#pragma once

#include <unknwn.h>

#include <atomic>

namespace kt {

/// The base of all our COM objects: the count, the identity and the owner.
///
/// An object may be a part of another one, its owner (aggregation). All its interfaces then count and answer
/// for the owner; only the identity, the `IUnknown` that the owner keeps, counts the object itself. Without
/// an owner the object owns itself. A new object has a count of 0.
///
/// A class that adds interfaces writes DECLARE_IUNKNOWN and overrides `NonDelegatingQueryInterface`.
class CUnknown {
 public:
  /// `owner` may be null. It is not counted, as COM has it for parts.
  explicit CUnknown(IUnknown* owner);
  CUnknown(const CUnknown&) = delete;
  CUnknown& operator=(const CUnknown&) = delete;
  virtual ~CUnknown();

  /// The object that answers for this one: the owner, or its own identity.
  IUnknown* GetOwner() const { return m_owner; }

  /// Answers for this object alone. E_POINTER for a null output, E_NOINTERFACE with a null output for what it
  /// does not know. An override asks for its own interfaces and hands the rest to its base.
  virtual HRESULT NonDelegatingQueryInterface(REFIID iid, void** object);
  virtual ULONG NonDelegatingAddRef();
  virtual ULONG NonDelegatingRelease();

 protected:
  /// The count has come to 0: deletes the object. An override has the last moment at which the object is
  /// whole, and may put the end off; a reference that is taken until then and given back does no harm. The
  /// owner may go before a part whose end is put off, so the part owns itself from here on.
  virtual void FinalRelease() noexcept { delete this; }

 private:
  class CIdentity final : public IUnknown {
   public:
    explicit CIdentity(CUnknown& object) : m_object(object) {}
    virtual ~CIdentity() = default;
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return m_object.NonDelegatingAddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return m_object.NonDelegatingRelease(); }

   private:
    CUnknown& m_object;
  };

  CIdentity m_identity;
  std::atomic<IUnknown*> m_owner;
  std::atomic<ULONG> m_references{0};
};

/// Hands out `face` with a reference on it, as a `NonDelegatingQueryInterface` does for what it knows.
template <class Interface>
HRESULT GetInterface(Interface* face, void** object) {
  if (object == nullptr) return E_POINTER;
  face->AddRef();
  *object = face;
  return S_OK;
}

}  // namespace kt

/// The three operations of `IUnknown` for a class derived from `CUnknown` and from interfaces.
#define DECLARE_IUNKNOWN                                                         \
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override { \
    return GetOwner()->QueryInterface(iid, object);                              \
  }                                                                              \
  ULONG STDMETHODCALLTYPE AddRef() override {                                    \
    return GetOwner()->AddRef();                                                 \
  }                                                                              \
  ULONG STDMETHODCALLTYPE Release() override {                                   \
    return GetOwner()->Release();                                                \
  }

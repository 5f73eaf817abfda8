#pragma once

#include <unknwn.h>

#include <utility>

namespace kt {

/// Owns one counted reference on a COM object, or nothing.
template <class Interface>
class ComPointer {
 public:
  ComPointer() = default;
  /// Takes a reference of its own on `object`, which may be null.
  explicit ComPointer(Interface* object) : m_object(object) {
    if (m_object != nullptr) m_object->AddRef();
  }
  ComPointer(const ComPointer& other) : ComPointer(other.m_object) {}
  ComPointer(ComPointer&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
  ComPointer& operator=(ComPointer other) noexcept {
    std::swap(m_object, other.m_object);
    return *this;
  }
  ~ComPointer() { Reset(); }

  Interface* Get() const { return m_object; }
  Interface* operator->() const { return m_object; }
  explicit operator bool() const { return m_object != nullptr; }

  /// Gives the reference up, if there is one.
  void Reset() {
    if (Interface* object = std::exchange(m_object, nullptr)) object->Release();
  }
  /// Hands the reference to the caller.
  Interface* Detach() { return std::exchange(m_object, nullptr); }
  /// Where a function leaves the reference that it hands out; what was held is given up first.
  Interface** Put() {
    Reset();
    return &m_object;
  }
  void** PutVoid() { return reinterpret_cast<void**>(Put()); }

  /// Asks the object for another interface: E_POINTER when there is no object.
  template <class Other>
  HRESULT Query(ComPointer<Other>* other) const {
    return m_object == nullptr ? E_POINTER : m_object->QueryInterface(__uuidof(Other), other->PutVoid());
  }

 private:
  Interface* m_object = nullptr;
};

/// Whether two interfaces lead to one object, which its identity tells.
inline bool IsSameObject(IUnknown* one, IUnknown* other) {
  ComPointer<IUnknown> identity;
  ComPointer<IUnknown> otherIdentity;
  return SUCCEEDED(one->QueryInterface(IID_IUnknown, identity.PutVoid())) &&
         SUCCEEDED(other->QueryInterface(IID_IUnknown, otherIdentity.PutVoid())) &&
         identity.Get() == otherIdentity.Get();
}

}  // namespace kt

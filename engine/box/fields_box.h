#pragma once

#include <type_traits>
#include <utility>

#include "engine/box/box.h"
#include "engine/storage/field_io.h"

namespace kt {

/// A box whose payload behind that of `Base` is the fields that `Derived::VisitFields` names.
template <class Derived, class Base>
class CFieldsBox : public Base {
 public:
  using Base::Base;
  CFieldsBox() = default;
  explicit CFieldsBox(CBox&& header) : Base(std::move(header)) {}  // not inherited by the line above

  Mp4Result Deserialize(CStorage* storage) override {
    // CBox itself would read a header here, which has been read.
    if constexpr (!std::is_same_v<Base, CBox>) KT_TRY(Base::Deserialize(storage));
    CFieldReader<u64> reader(storage, &this->m_remaining);
    return Self().VisitFields(reader);
  }
  Mp4Result Serialize(CStorage* storage) override {
    KT_TRY(Base::Serialize(storage));
    CFieldWriter writer(storage);
    return Self().VisitFields(writer);
  }
  Mp4Result CalculateSize() override {
    KT_TRY(Base::CalculateSize());
    CFieldSizer<u64> sizer(&this->m_size);
    return Self().VisitFields(sizer);
  }

 private:
  Derived& Self() { return static_cast<Derived&>(*this); }
};

}  // namespace kt

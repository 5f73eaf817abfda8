#pragma once

#include "engine/box/fields_box.h"

namespace kt {

/// What all sample entries begin with. ISO/IEC 14496-12, 8.5.2.
class CSampleEntry : public CFieldsBox<CSampleEntry, CBox> {
 public:
  Mp4Result Dump(int indent) override;

  template <class Fields>
  Mp4Result VisitFields(Fields& fields) {
    KT_TRY(fields.Reserved(6));
    return fields(m_ui16DataReferenceIndex);
  }

 protected:
  explicit CSampleEntry(u32 type) : CFieldsBox(type) {}
  explicit CSampleEntry(CBox&& header) : CFieldsBox(std::move(header)) {}

 private:
  u16 m_ui16DataReferenceIndex = 1;
};

}  // namespace kt

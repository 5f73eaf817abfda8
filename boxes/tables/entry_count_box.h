#pragma once

#include "engine/box/fields_box.h"

namespace kt {

/// The part of "dref" and "stsd" in front of their children: a count of entries, which is kept and written
/// back and never compared with the children that come.
class CEntryCountBox : public CFieldsBox<CEntryCountBox, CFullBox> {
 public:
  explicit CEntryCountBox(u32 type) : CFieldsBox(type, u8{0}, 0U) {}
  explicit CEntryCountBox(CBox&& header) : CFieldsBox(std::move(header)) {}

  template <class Fields>
  Mp4Result VisitFields(Fields& fields) {
    return fields(m_ui32EntryCount);
  }

 protected:
  u32 m_ui32EntryCount = 0;
};

}  // namespace kt

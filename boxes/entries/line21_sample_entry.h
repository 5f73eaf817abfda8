#pragma once

#include "boxes/entries/sample_entry.h"

namespace kt {

/// "ln21": Line 21 captions (CEA-608), a format of this library's own. It is written only: in a file that is
/// read the entry is an unknown box, and its track is known by the handler "text".
class CLine21SampleEntry final : public CFieldsBox<CLine21SampleEntry, CSampleEntry> {
 public:
  static constexpr u32 kType = FourCc("ln21");
  static constexpr bool kTypeIsAmbiguous = true;  // read, it is an unknown box
  CLine21SampleEntry() : CFieldsBox(kType) {}
  explicit CLine21SampleEntry(CBox&& header) : CFieldsBox(std::move(header)) {}

  Mp4Result Dump(int indent) override;
  /// Stores 0, the only value there is, whatever is given.
  Mp4Result SetConfig(const void* data, u32 size);

  template <class Fields>
  Mp4Result VisitFields(Fields& fields) {
    return fields(m_ui8Config);
  }

 private:
  u8 m_ui8Config = 0;
};

}  // namespace kt

#pragma once

#include "boxes/tables/table_box.h"

namespace kt {

/// A table of runs: each record says how many samples share one value. `Value` points to that member, a u32.
template <class Derived, class Run, auto Value>
class CRunTableBox : public CTableBox<Derived, Run> {
 public:
  using CTableBox<Derived, Run>::CTableBox;

  template <class Fields>
  Mp4Result VisitEntry(Fields& fields, Run& run) {
    return fields(run.sampleCount, run.*Value);
  }

 protected:
  /// Adds one sample: to the last run when that has the same value, else as a run of its own. MP4_NO_MEMORY.
  Mp4Result AddToRuns(u32 value) {
    if (this->m_ui32EntryCount > 0) {
      Run* last = nullptr;
      KT_TRY(this->m_List.GetPointerAt(this->m_ui32EntryCount, &last));
      if (last->*Value == value) {
        ++last->sampleCount;
        return MP4_OK;
      }
    }
    Run run{};
    run.sampleCount = 1;
    run.*Value = value;
    return this->AppendEntry(run);
  }
};

}  // namespace kt

#pragma once

#include "boxes/tables/run_table_box.h"

namespace kt {

struct CCompositionOffsetTableEntry {
  u32 sampleCount;
  u32 sampleOffset;  // media ticks
};

/// "ctts": how far each sample's composition time lies behind its decoding time, as runs. Offsets are
/// unsigned in every version: a negative one counts as very large. ISO/IEC 14496-12, 8.6.1.3.
///
/// Samples are numbered from 1. Looking up moves a cursor; writing has one of its own, so that a track can be
/// read right after it was written.
class CCompositionOffsetBox : public CRunTableBox<CCompositionOffsetBox, CCompositionOffsetTableEntry,
                                                  &CCompositionOffsetTableEntry::sampleOffset> {
 public:
  static constexpr u32 kType = FourCc("ctts");
  CCompositionOffsetBox() : CRunTableBox(kType) {}
  explicit CCompositionOffsetBox(CBox&& header) : CRunTableBox(std::move(header)) {}

  /// Offset of a sample in media ticks. MP4_NOT_FOUND behind the last run; readers take 0 then.
  Mp4Result GetSampleOffset(u32 sample, u32* offset);

  /// Records the offset of the next sample. MP4_BAD_ARGUMENT for a number out of turn, MP4_NO_MEMORY.
  Mp4Result AddSampleOffset(u32 sample, u32 offset);

 private:
  static constexpr u64 kEndUnknown = ~u64{0};

  // Reading: the run found last and its first sample; and, once a search has walked off the table, the first
  // sample behind it, so that empty runs at the end are not walked again for each sample.
  u32 m_ui32CursorRun = 1;
  u32 m_ui32CursorSample = 1;
  u64 m_ui64EndSample = kEndUnknown;
  // Writing: the sample expected next.
  u32 m_ui32NextSample = 1;
};

}  // namespace kt

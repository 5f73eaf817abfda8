#pragma once

#include "boxes/tables/run_table_box.h"

namespace kt {

struct CTimeToSampleTableEntry {
  u32 sampleCount;
  u32 sampleDelta;  // media ticks that each sample of the run lasts
};

/// "stts": how long each sample lasts, in decoding order, as runs. ISO/IEC 14496-12, 8.6.1.2.
///
/// Samples are numbered from 1, times are media ticks. Looking up moves a cursor; writing has one of its own,
/// so that a track can be read right after it was written.
class CTimeToSampleBox
    : public CRunTableBox<CTimeToSampleBox, CTimeToSampleTableEntry, &CTimeToSampleTableEntry::sampleDelta> {
 public:
  static constexpr u32 kType = FourCc("stts");
  CTimeToSampleBox() : CRunTableBox(kType) {}
  explicit CTimeToSampleBox(CBox&& header) : CRunTableBox(std::move(header)) {}

  /// Decoding time of a sample, the first one's being 0. MP4_NOT_FOUND behind the last sample; for the
  /// number one past it `*time` takes the total duration all the same, unless the last of several runs is
  /// empty: then that number counts as a sample.
  Mp4Result GetSampleTime(u32 sample, u64* time);

  /// Records the decoding time of the next sample. The first sample's own time is not kept; a time that is
  /// not after the last one becomes the last one plus 2. MP4_BAD_ARGUMENT for a number out of turn,
  /// MP4_BAD_TIMING for a step of more than 32 bits, MP4_NO_MEMORY.
  Mp4Result AddSampleTime(u32 sample, u64 time);
  /// Lets the last sample last as long as the one before it, a lone sample one tick. MP4_NO_MEMORY.
  Mp4Result FinishTimes();

 private:
  // Reading: the run found last, its first sample and that sample's time.
  u32 m_ui32CursorRun = 1;
  u32 m_ui32CursorSample = 1;
  u64 m_ui64CursorTime = 0;
  // Writing: the sample expected next and the time of the one before it.
  u32 m_ui32NextSample = 1;
  u64 m_ui64LastTime = 0;
};

}  // namespace kt

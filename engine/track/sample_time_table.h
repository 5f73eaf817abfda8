#pragma once

#include <memory>

#include "boxes/tables/composition_offset_box.h"
#include "boxes/tables/time_to_sample_box.h"

namespace kt {

/// A stretch of samples whose times rise by the same step and differ by the same offset, without either time
/// passing 2^64.
struct CSampleTimeRun {
  u64 decodingTime;  // of the first sample
  u32 firstSample;
  u32 delta;
  u32 offset;
};

/// The decoding and composition times of a track's samples, numbered from 1, in media ticks.
///
/// To read, it is built once from the two run tables and answers every question about times from then on. The
/// samples are not expanded: what it keeps and what it costs go by the number of runs, whatever number of
/// samples they claim, and a time or a sample is found in a few dozen steps wherever it lies.
/// To write, it turns the times of one sample after the other back into the two run tables.
class CSampleTimeTable {
 public:
  /// Takes the times over from the runs, each later by `startOffset` ticks; a sample behind the end of
  /// `ctts`, which may be null, has the offset 0. The boxes are not needed afterwards. An empty last run
  /// behind another run counts as one more sample at the end: readers rely on it.
  ///
  /// MP4_BAD_ARGUMENT for a null `stts`, MP4_NO_MEMORY also for more than 2^32-2 samples.
  Mp4Result Build(CTimeToSampleBox* stts, CCompositionOffsetBox* ctts, u64 startOffset);

  Mp4Result GetSampleCount(u32* count) const;
  /// Either pointer may be null. MP4_NOT_READY while writing, MP4_NOT_FOUND beyond the last sample,
  /// MP4_ZERO_INDEX for sample 0.
  Mp4Result GetSampleTimes(u32 sample, u64* decodingTime, u64* compositionTime);

  /// The last sample whose decoding time is not above `time`; of several at that very time the first one at
  /// or behind the sample found last, where the search begins unless that one lies after `time`. A time
  /// before the first sample answers sample 0 with MP4_OK, after which the next search fails with
  /// MP4_ZERO_INDEX until one by composition time has succeeded. A time after the last sample's is
  /// MP4_NOT_FOUND, with that sample in `*sample`. Readers rely on both. MP4_NOT_READY while writing.
  Mp4Result FindByDecodingTime(u64 time, u32* sample);
  /// The sample with the latest composition time that is not above `time`, the first of equals, among those
  /// before the second sample that lies above it: frames are reordered, so one such sample is passed over.
  /// Sample 1 for a time before it. MP4_NOT_FOUND without samples, MP4_NOT_READY while writing.
  Mp4Result FindByCompositionTime(u64 time, u32* sample);

  /// From here on the table writes into `stts`, which is borrowed, and into a "ctts" of its own, which it
  /// makes for the first sample whose composition time is above its decoding time. MP4_BAD_ARGUMENT for null.
  Mp4Result BeginWriting(CTimeToSampleBox* stts);
  /// Records the times of the next sample. A decoding time that does not rise becomes the last one plus 2.
  /// MP4_NOT_READY unless writing; MP4_BAD_ARGUMENT for a number out of turn, and when the first offset
  /// appears later than at sample 1; MP4_BAD_TIMING for a decoding time after the composition time or a step
  /// of more than 32 bits; MP4_NO_MEMORY.
  Mp4Result AddSample(u32 sample, u64 decodingTime, u64 compositionTime);
  /// Gives the last sample its duration. `*startOffset` becomes 0, but is not touched without any sample.
  /// MP4_NOT_READY unless writing.
  Mp4Result FinishWriting(u64* startOffset);
  /// Where the "ctts" that the table has made stands until the caller takes it: null when there is none.
  std::unique_ptr<CCompositionOffsetBox>* WrittenOffsets() { return &m_pCompositionOffsetBox; }

  /// Decoding time of the last sample and, unless `duration` is null, how long it lasts: as long as the one
  /// before it. MP4_BAD_ARGUMENT for a null `time`, MP4_ZERO_INDEX for an empty table that is read.
  Mp4Result GetLastSampleTime(u64* time, u32* duration);

 private:
  struct CSampleTime {
    u64 time;
    u32 sample;  // 0 for none
  };
  // The latest composition time of some samples and the latest of all but that one, the first sample of equal
  // times in both.
  struct CLatestTwo {
    void Offer(u64 time, u32 sample);
    bool OneAbove(u64 time) const { return first.sample != 0 && first.time > time; }
    bool TwoAbove(u64 time) const { return second.sample != 0 && second.time > time; }

    CSampleTime first;
    CSampleTime second;
  };

  void Reset();
  static Mp4Result CountSamples(CTimeToSampleBox* stts, u32* count);
  Mp4Result AddStretch(u64 decodingTime, u32 count, u32 delta, u32 offset);
  Mp4Result AppendRun(const CSampleTimeRun& run, u32 count);
  u32 LastSampleOf(u32 run) const;
  u32 RunOfSample(u32 sample);
  u32 FirstRunReaching(u64 decodingTime, u32 firstRun, u32 endRun) const;
  bool FirstSampleReaching(u64 decodingTime, u32 start, u32* sample);
  static void OfferRun(CLatestTwo* latest, const CSampleTimeRun& run, u32 count);
  u32 LatestNotAfter(u64 compositionTime) const;
  Mp4Result AddOffset(u32 sample, u32 offset);

  u32 m_ui32SampleCount = 0;
  u32 m_ui32LastFoundSample = 1;
  u64 m_ui64StartOffset = 0;

  // Reading.
  CDataList<CSampleTimeRun> m_List;
  u32 m_ui32CursorRun = 1;         // run of the sample asked for last
  u32 m_ui32FallingRun = 0;        // the one run, if any, before which decoding times have passed 2^64
  CDataList<CLatestTwo> m_Latest;  // before run 1, 65, 129, ...: of all samples before it
  CLatestTwo m_LatestOfAll{};

  // Writing.
  u32 m_ui32Writing = 0;
  u64 m_ui64LastDecodingTime = 0;
  u32 m_ui32LastDelta = 0;
  CTimeToSampleBox* m_pTimeToSampleBox = nullptr;
  std::unique_ptr<CCompositionOffsetBox> m_pCompositionOffsetBox;  // null until a sample needs it
};

}  // namespace kt

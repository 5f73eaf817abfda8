#pragma once

#include <memory>

#include "boxes/tables/composition_offset_box.h"
#include "boxes/tables/time_to_sample_box.h"

namespace kt {

/// A stretch of samples whose times rise by the same step and differ by the same offset, without either time
/// passing 2^64.
struct CSampleTimeRun {
  bool Holds(u32 sample) const { return sample - firstSample < count; }
  /// Of a sample that it holds.
  u64 DecodingTimeOf(u32 sample) const { return decodingTime + u64{sample - firstSample} * delta; }
  u64 CompositionTimeOf(u32 sample) const { return DecodingTimeOf(sample) + offset; }

  u64 decodingTime = 0;  // of the first sample
  u32 firstSample = 1;
  u32 count = 0;
  u32 delta = 0;
  u32 offset = 0;
};

/// The decoding and composition times of a track's samples, numbered from 1, in media ticks.
///
/// To read, it stands before the two run tables and answers every question about times. The samples are not
/// expanded: what it keeps and what it costs go by the number of runs, whatever number of samples they claim.
/// Samples in their order are followed from stretch to stretch. The first other question has it walk through
/// all runs once and note every few of them; a time or a sample is then found in a few dozen steps wherever
/// it lies. To write, it turns the times of one sample after the other back into the two run tables.
class CSampleTimeTable {
 public:
  /// Takes the times over from the runs, each later by `startOffset` ticks; a sample behind the end of
  /// `ctts`, which may be null, has the offset 0. Both are borrowed as long as times are asked for. An empty
  /// last run behind another run counts as one more sample at the end: readers rely on it.
  ///
  /// MP4_BAD_ARGUMENT for a null `stts`, MP4_NO_MEMORY also for more than 2^32-2 samples.
  Mp4Result Build(CTimeToSampleBox* stts, CCompositionOffsetBox* ctts, u64 startOffset);

  Mp4Result GetSampleCount(u32* count) const;
  /// Either pointer may be null. MP4_NOT_READY while writing, MP4_NOT_FOUND beyond the last sample,
  /// MP4_ZERO_INDEX for sample 0, MP4_NO_MEMORY.
  Mp4Result GetSampleTimes(u32 sample, u64* decodingTime, u64* compositionTime) {
    const CSampleTimeRun& run = m_Walk.run;
    if (!run.Holds(sample)) return FindSampleTimes(sample, decodingTime, compositionTime);
    if (decodingTime != nullptr) *decodingTime = run.DecodingTimeOf(sample);
    if (compositionTime != nullptr) *compositionTime = run.CompositionTimeOf(sample);
    return MP4_OK;
  }
  /// The stretch of the sample asked for last. It holds none until one is.
  const CSampleTimeRun& LastRun() const { return m_Walk.run; }

  /// The last sample whose decoding time is not above `time`; of several at that very time the first one at
  /// or behind the sample found last, where the search begins unless that one lies after `time`. A time
  /// before the first sample answers sample 0 with MP4_OK, after which the next search fails with
  /// MP4_ZERO_INDEX until one by composition time has succeeded. A time after the last sample's is
  /// MP4_NOT_FOUND, with that sample in `*sample`. Readers rely on both. MP4_NOT_READY while writing,
  /// MP4_NO_MEMORY.
  Mp4Result FindByDecodingTime(u64 time, u32* sample);
  /// The sample with the latest composition time that is not above `time`, the first of equals, among those
  /// before the second sample that lies above it: frames are reordered, so one such sample is passed over.
  /// Sample 1 for a time before it. MP4_NOT_FOUND without samples, MP4_NOT_READY while writing,
  /// MP4_NO_MEMORY.
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
    void OfferRun(const CSampleTimeRun& run);
    bool OneAbove(u64 time) const { return first.sample != 0 && first.time > time; }
    bool TwoAbove(u64 time) const { return second.sample != 0 && second.time > time; }

    CSampleTime first;
    CSampleTime second;
  };
  // A stretch and what both tables have left from its first sample on: a place from which a walk over the
  // stretches can go on. The first step leads to the first stretch.
  struct CWalk {
    u64 Records() const { return u64{timesRecord} + offsetsRecord; }

    CSampleTimeRun run;
    u32 timesRecord = 0;
    u32 timesLeft = 0;
    u32 offsetsRecord = 0;
    u32 offsetsLeft = 0;
  };
  // A place of the index: a stretch, and the latest of all samples before it.
  struct CPlace {
    CWalk walk;
    CLatestTwo latest;
  };

  Mp4Result CountSamples();
  bool Step(CWalk* walk) const;
  Mp4Result FindSampleTimes(u32 sample, u64* decodingTime, u64* compositionTime);
  Mp4Result WalkTo(u32 sample);
  Mp4Result Index();
  u32 PlaceOfSample(u32 sample) const;
  u32 PlaceOfDecodingTime(u64 time, u32 firstPlace, u32 endPlace) const;
  u32 PlaceOfCompositionTime(u64 time) const;
  bool FirstSampleReaching(u64 decodingTime, u32 start, u32* sample) const;
  bool FindReachingBehind(u32 place, u64 decodingTime, u32 start, u32* sample) const;
  u32 LatestNotAfter(u64 compositionTime);
  Mp4Result AddOffset(u32 sample, u32 offset);

  u32 m_ui32SampleCount = 0;
  u32 m_ui32LastFoundSample = 1;

  // Reading.
  const CTimeToSampleBox* m_pTimes = nullptr;
  const CCompositionOffsetBox* m_pOffsets = nullptr;
  u64 m_ui64StartOffset = 0;
  CWalk m_Walk;                // at the sample asked for last
  CDataList<CPlace> m_Places;  // the index, empty until it is needed
  double m_PlacesPerTick = 0;  // on the whole
  u32 m_ui32LastPlace = 1;     // where the last search has led
  u32 m_ui32FallenPlace = 0;   // the first place, if any, for which decoding times have passed 2^64

  // Writing.
  u32 m_ui32Writing = 0;
  u64 m_ui64LastDecodingTime = 0;
  u32 m_ui32LastDelta = 0;
  CTimeToSampleBox* m_pTimeToSampleBox = nullptr;
  std::unique_ptr<CCompositionOffsetBox> m_pCompositionOffsetBox;  // null until a sample needs it
};

}  // namespace kt

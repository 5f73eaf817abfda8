#include "engine/track/sample_time_table.h"

#include <algorithm>
#include <limits>

namespace kt {
namespace {

constexpr u32 kMostSamples = std::numeric_limits<u32>::max() - 1;

// Runs between two entries of m_Latest.
constexpr u32 kRunsPerLatest = 64;

// The runs of a "ctts" in their order, taken off piece by piece; behind them, and without a box, offset 0.
class COffsetRuns {
 public:
  explicit COffsetRuns(const CCompositionOffsetBox* box) : m_box(box) {}

  // Takes off as many samples with one offset as there are, at most `*count`.
  void Take(u32* count, u32* offset) {
    while (m_run.sampleCount == 0 && m_box != nullptr) {
      if (m_box->GetEntry(++m_index, &m_run) != MP4_OK) m_box = nullptr;
    }
    *offset = 0;
    if (m_box == nullptr) return;
    *offset = m_run.sampleOffset;
    *count = std::min(*count, m_run.sampleCount);
    m_run.sampleCount -= *count;
  }

 private:
  const CCompositionOffsetBox* m_box;
  CCompositionOffsetTableEntry m_run{};
  u32 m_index = 0;
};

u64 DecodingTimeOf(const CSampleTimeRun& run, u32 sample) {
  return run.decodingTime + u64{sample - run.firstSample} * run.delta;
}

u64 CompositionTimeOf(const CSampleTimeRun& run, u32 sample) {
  return DecodingTimeOf(run, sample) + run.offset;
}

// How many ticks of `delta` lie between two times of one run, the number rounded down.
u64 StepsBetween(u64 from, u64 to, u32 delta) {
  return delta == 0 ? 0 : (to - from) / delta;
}

}  // namespace

Mp4Result CSampleTimeTable::Build(CTimeToSampleBox* stts, CCompositionOffsetBox* ctts, u64 startOffset) {
  if (stts == nullptr) return MP4_BAD_ARGUMENT;
  Reset();
  m_ui64StartOffset = startOffset;
  u32 samples = 0;
  KT_TRY(CountSamples(stts, &samples));

  COffsetRuns offsets(ctts);
  u64 time = startOffset;
  const auto addSamples = [&](CTimeToSampleTableEntry run) -> Mp4Result {
    while (run.sampleCount > 0) {
      u32 count = run.sampleCount;
      u32 offset = 0;
      offsets.Take(&count, &offset);
      KT_TRY(AddStretch(time, count, run.sampleDelta, offset));
      time += u64{count} * run.sampleDelta;
      run.sampleCount -= count;
    }
    return MP4_OK;
  };
  for (u32 index = 1; m_ui32SampleCount < samples; ++index) {
    CTimeToSampleTableEntry run{1, 0};  // behind the last run: the sample that it stands for when empty
    if (index <= stts->GetEntryCount()) KT_TRY(stts->GetEntry(index, &run));
    KT_TRY(addSamples(run));
  }
  return MP4_OK;
}

void CSampleTimeTable::Reset() {
  m_List.Clear();
  m_Latest.Clear();
  m_LatestOfAll = {};
  m_ui32SampleCount = 0;
  m_ui32LastFoundSample = 1;
  m_ui32CursorRun = 1;
  m_ui32FallingRun = 0;
}

Mp4Result CSampleTimeTable::CountSamples(CTimeToSampleBox* stts, u32* count) {
  u64 total = 0;
  CTimeToSampleTableEntry run{};
  for (u32 index = 1; index <= stts->GetEntryCount(); ++index) {
    KT_TRY(stts->GetEntry(index, &run));
    total += run.sampleCount;
  }
  // The sample one past a run still belongs to it, unless the run is the last one: so an empty last run makes
  // the one past the run before it a sample. Readers rely on it.
  if (stts->GetEntryCount() >= 2 && run.sampleCount == 0) ++total;
  if (total > kMostSamples) return MP4_NO_MEMORY;
  *count = static_cast<u32>(total);
  return MP4_OK;
}

// Appends samples whose times rise evenly, as one run or, where a time passes 2^64 on the way, as several.
Mp4Result CSampleTimeTable::AddStretch(u64 decodingTime, u32 count, u32 delta, u32 offset) {
  while (count > 0) {
    const u64 later = std::max(decodingTime, decodingTime + offset);
    const u64 stepsLeft = StepsBetween(later, std::numeric_limits<u64>::max(), delta);
    const u32 fitting = delta == 0 || stepsLeft >= count ? count : static_cast<u32>(stepsLeft) + 1;
    KT_TRY(AppendRun({decodingTime, m_ui32SampleCount + 1, delta, offset}, fitting));
    decodingTime += u64{fitting} * delta;
    count -= fitting;
  }
  return MP4_OK;
}

Mp4Result CSampleTimeTable::AppendRun(const CSampleTimeRun& run, u32 count) {
  const u32 runs = m_List.GetCount();
  if (runs % kRunsPerLatest == 0) KT_TRY(m_Latest.Append(&m_LatestOfAll));
  // All steps together stay below 2^64, so this happens once at most.
  if (runs > 0 && run.decodingTime < DecodingTimeOf(m_List.At(runs), m_ui32SampleCount)) {
    m_ui32FallingRun = runs + 1;
  }
  KT_TRY(m_List.Append(&run));
  m_ui32SampleCount += count;
  OfferRun(&m_LatestOfAll, run, count);
  return MP4_OK;
}

u32 CSampleTimeTable::LastSampleOf(u32 run) const {
  return run < m_List.GetCount() ? m_List.At(run + 1).firstSample - 1 : m_ui32SampleCount;
}

// The run of a sample of the table: mostly the one of the sample asked for before, or one not far from it. So
// strides that double lead from there to where it has to be.
u32 CSampleTimeTable::RunOfSample(u32 sample) {
  const u32 runs = m_List.GetCount();
  const auto isReachedBy = [&](u32 run) { return m_List.At(run).firstSample <= sample; };
  u32 run = m_ui32CursorRun;
  u32 last = run;
  for (u32 stride = 1; last < runs && isReachedBy(last + 1); stride *= 2) {
    run = last + 1;
    last += std::min(stride, runs - last);
  }
  for (u32 stride = 1; !isReachedBy(run); stride *= 2) {
    last = run - 1;
    run -= std::min(stride, last);
  }
  while (run < last) {
    const u32 middle = last - (last - run) / 2;
    if (isReachedBy(middle)) {
      run = middle;
    } else {
      last = middle - 1;
    }
  }
  return m_ui32CursorRun = run;
}

Mp4Result CSampleTimeTable::GetSampleCount(u32* count) const {
  *count = m_ui32SampleCount;
  return MP4_OK;
}

Mp4Result CSampleTimeTable::GetSampleTimes(u32 sample, u64* decodingTime, u64* compositionTime) {
  if (m_ui32Writing != 0) return MP4_NOT_READY;
  if (sample > m_ui32SampleCount) return MP4_NOT_FOUND;
  if (sample == 0) return MP4_ZERO_INDEX;
  const CSampleTimeRun& run = m_List.At(RunOfSample(sample));
  if (decodingTime != nullptr) *decodingTime = DecodingTimeOf(run, sample);
  if (compositionTime != nullptr) *compositionTime = CompositionTimeOf(run, sample);
  return MP4_OK;
}

Mp4Result CSampleTimeTable::FindByDecodingTime(u64 time, u32* sample) {
  u64 found = 0;
  KT_TRY(GetSampleTimes(m_ui32LastFoundSample, &found, nullptr));
  u32 reached = 0;
  if (!FirstSampleReaching(time, found > time ? 1 : m_ui32LastFoundSample, &reached)) {
    *sample = m_ui32SampleCount;
    return MP4_NOT_FOUND;
  }
  KT_TRY(GetSampleTimes(reached, &found, nullptr));
  // Before the first sample that is sample 0, which the next search stumbles over: readers rely on it.
  *sample = found > time ? reached - 1 : reached;
  m_ui32LastFoundSample = *sample;
  return MP4_OK;
}

// The first sample from `start` on whose decoding time is not below the given one; false when there is none.
bool CSampleTimeTable::FirstSampleReaching(u64 decodingTime, u32 start, u32* sample) {
  const u32 from = RunOfSample(start);
  const u32 end = m_List.GetCount() + 1;
  // Decoding times rise from run to run, but for one fall at most: each side of it is searched by itself.
  const u32 fall = std::max(from, m_ui32FallingRun == 0 ? end : m_ui32FallingRun);
  u32 index = FirstRunReaching(decodingTime, from, fall);
  if (index == fall) index = FirstRunReaching(decodingTime, fall, end);
  if (index == end) return false;
  const CSampleTimeRun& run = m_List.At(index);
  u32 first = run.firstSample;
  if (run.decodingTime < decodingTime) {
    first += static_cast<u32>(StepsBetween(run.decodingTime, decodingTime - 1, run.delta)) + 1;
  }
  *sample = std::max(first, start);
  return true;
}

// The first of the runs `firstRun` to `endRun` - 1, which rise, whose last sample is not below the time;
// `endRun` when there is none.
u32 CSampleTimeTable::FirstRunReaching(u64 decodingTime, u32 firstRun, u32 endRun) const {
  while (firstRun < endRun) {
    const u32 middle = firstRun + (endRun - firstRun) / 2;
    if (DecodingTimeOf(m_List.At(middle), LastSampleOf(middle)) < decodingTime) {
      firstRun = middle + 1;
    } else {
      endRun = middle;
    }
  }
  return firstRun;
}

Mp4Result CSampleTimeTable::FindByCompositionTime(u64 time, u32* sample) {
  if (m_ui32Writing != 0) return MP4_NOT_READY;
  if (m_ui32SampleCount == 0) return MP4_NOT_FOUND;
  const u64 first = CompositionTimeOf(m_List.At(1), 1);
  // A time before sample 1 answers sample 1, unlike in the search by decoding time: readers rely on it.
  *sample = first > time ? 1 : LatestNotAfter(time);
  m_ui32LastFoundSample = *sample;
  return MP4_OK;
}

void CSampleTimeTable::CLatestTwo::Offer(u64 time, u32 sample) {
  if (first.sample == 0 || time > first.time) {
    second = first;
    first = {time, sample};
  } else if (second.sample == 0 || time > second.time) {
    second = {time, sample};
  }
}

// Offers all samples of a run, of which two can count: the last ones or, of equal times, the first ones.
void CSampleTimeTable::OfferRun(CLatestTwo* latest, const CSampleTimeRun& run, u32 count) {
  const u32 offered = std::min<u32>(count, 2);
  const u32 start = run.firstSample + (run.delta == 0 ? 0 : count - offered);
  for (u32 i = 0; i < offered; ++i) latest->Offer(CompositionTimeOf(run, start + i), start + i);
}

// The latest sample not above the time, of those before the second sample above it; sample 1 is not above it.
//
// At the second sample above the time, the two latest of those before are the first sample above it and the
// answer. They are known before every 64th run, so the search begins before the last such run that has at
// most one sample above the time before it, and walks on from there.
u32 CSampleTimeTable::LatestNotAfter(u64 compositionTime) const {
  u32 entry = 1;
  for (u32 last = m_Latest.GetCount(); entry < last;) {
    const u32 middle = last - (last - entry) / 2;
    if (m_Latest.At(middle).TwoAbove(compositionTime)) {
      last = middle - 1;
    } else {
      entry = middle;
    }
  }
  CLatestTwo latest = m_Latest.At(entry);
  for (u32 index = (entry - 1) * kRunsPerLatest + 1; index <= m_List.GetCount(); ++index) {
    const CSampleTimeRun& run = m_List.At(index);
    const u32 count = LastSampleOf(index) - run.firstSample + 1;
    const u64 first = CompositionTimeOf(run, run.firstSample);
    const u64 last = CompositionTimeOf(run, run.firstSample + count - 1);
    if (last <= compositionTime) {
      OfferRun(&latest, run, count);
      continue;
    }
    const u64 below = first > compositionTime ? 0 : StepsBetween(first, compositionTime, run.delta) + 1;
    OfferRun(&latest, run, static_cast<u32>(below));
    // The next sample lies above the time, and so does the one behind it, if the run has one.
    if (latest.OneAbove(compositionTime)) break;
    const u32 above = run.firstSample + static_cast<u32>(below);
    latest.Offer(CompositionTimeOf(run, above), above);
    if (below + 1 < count) break;
  }
  return latest.OneAbove(compositionTime) ? latest.second.sample : latest.first.sample;
}

Mp4Result CSampleTimeTable::GetLastSampleTime(u64* time, u32* duration) {
  if (time == nullptr) return MP4_BAD_ARGUMENT;
  if (m_ui32Writing != 0) {
    *time = m_ui64LastDecodingTime;
    if (duration != nullptr) *duration = m_ui32LastDelta == 0 ? 1 : m_ui32LastDelta;
    return MP4_OK;
  }
  KT_TRY(GetSampleTimes(m_ui32SampleCount, time, nullptr));
  u64 before = 0;
  if (m_ui32SampleCount >= 2) KT_TRY(GetSampleTimes(m_ui32SampleCount - 1, &before, nullptr));
  if (duration != nullptr) *duration = static_cast<u32>(*time) - static_cast<u32>(before);
  return MP4_OK;
}

Mp4Result CSampleTimeTable::BeginWriting(CTimeToSampleBox* stts) {
  if (stts == nullptr) return MP4_BAD_ARGUMENT;
  m_pTimeToSampleBox = stts;
  m_ui32Writing = 1;
  m_ui64LastDecodingTime = 0;
  m_ui32LastDelta = 0;
  return MP4_OK;
}

Mp4Result CSampleTimeTable::AddSample(u32 sample, u64 decodingTime, u64 compositionTime) {
  if (m_ui32Writing == 0) return MP4_NOT_READY;
  if (sample != m_ui32SampleCount + 1) return MP4_BAD_ARGUMENT;
  if (decodingTime > compositionTime) return MP4_BAD_TIMING;
  if (m_ui32SampleCount > 0 && decodingTime <= m_ui64LastDecodingTime) {
    decodingTime = m_ui64LastDecodingTime + 2;
  }
  m_ui32LastDelta = static_cast<u32>(decodingTime) - static_cast<u32>(m_ui64LastDecodingTime);
  m_ui64LastDecodingTime = decodingTime;
  KT_TRY(m_pTimeToSampleBox->AddSampleTime(sample, decodingTime));
  if (m_pCompositionOffsetBox || decodingTime < compositionTime) {
    KT_TRY(AddOffset(sample, static_cast<u32>(compositionTime) - static_cast<u32>(decodingTime)));
  }
  ++m_ui32SampleCount;
  return MP4_OK;
}

Mp4Result CSampleTimeTable::AddOffset(u32 sample, u32 offset) {
  if (!m_pCompositionOffsetBox) {
    m_pCompositionOffsetBox.reset(new (std::nothrow) CCompositionOffsetBox);
    if (!m_pCompositionOffsetBox) return MP4_NO_MEMORY;
    // The earlier samples would need a place in the box, which expects sample 1 and refuses this one: offsets
    // can only begin with sample 1, and the empty box stays. Callers rely on the refusal.
    for (u32 earlier = 1; earlier < sample; ++earlier) {
      KT_TRY(m_pCompositionOffsetBox->AddSampleOffset(sample, offset));
    }
  }
  return m_pCompositionOffsetBox->AddSampleOffset(sample, offset);
}

Mp4Result CSampleTimeTable::FinishWriting(u64* startOffset) {
  if (m_ui32Writing == 0) return MP4_NOT_READY;
  if (m_ui32SampleCount == 0) return MP4_OK;
  KT_TRY(m_pTimeToSampleBox->FinishTimes());
  *startOffset = 0;
  return MP4_OK;
}

}  // namespace kt

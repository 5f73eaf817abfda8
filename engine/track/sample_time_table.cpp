#include "engine/track/sample_time_table.h"

#include <algorithm>
#include <limits>

#include "engine/storage/last_reached.h"

namespace kt {
namespace {

constexpr u32 kMostSamples = std::numeric_limits<u32>::max() - 1;

// Records of the tables from one place of the index to the next, or more where a stretch ends with empty
// runs.
constexpr u32 kRecordsPerPlace = 4;

u64 CompositionTimeOf(const CSampleTimeRun& run, u32 index) {
  return run.decodingTime + u64{index} * run.delta + run.offset;
}

u64 LastDecodingTimeOf(const CSampleTimeRun& run) {
  return run.decodingTime + u64{run.count - 1} * run.delta;
}

// The next record of a run table, which may be null, that has samples; null behind the last.
template <class Table>
auto NextRecord(const Table* table, u32* index) -> decltype(&table->GetList().At(1)) {
  while (table != nullptr && *index < table->GetList().GetCount()) {
    const auto& record = table->GetList().At(++*index);
    if (record.sampleCount != 0) return &record;
  }
  return nullptr;
}

// How many ticks of `delta` lie between two times of one run, the number rounded down.
u64 StepsBetween(u64 from, u64 to, u32 delta) {
  return delta == 0 ? 0 : (to - from) / delta;
}

// When a time passes 2^64 on the way, the stretch ends before it does.
void EndBeforeOverflow(CSampleTimeRun* run) {
  const u64 later = std::max(run->decodingTime, run->decodingTime + run->offset);
  if (later + u64{run->count - 1} * run->delta >= later) return;
  run->count = static_cast<u32>(StepsBetween(later, std::numeric_limits<u64>::max(), run->delta)) + 1;
}

}  // namespace

Mp4Result CSampleTimeTable::Build(CTimeToSampleBox* stts, CCompositionOffsetBox* ctts, u64 startOffset) {
  if (stts == nullptr) return MP4_BAD_ARGUMENT;
  m_pTimes = stts;
  m_pOffsets = ctts;
  m_ui64StartOffset = startOffset;
  m_ui32SampleCount = 0;
  m_ui32LastFoundSample = 1;
  m_Places.Clear();
  m_ui32LastPlace = 1;
  m_ui32FallenPlace = 0;
  m_Walk = {};
  KT_TRY(CountSamples());
  m_Walk.run.decodingTime = startOffset;
  return MP4_OK;
}

Mp4Result CSampleTimeTable::CountSamples() {
  u64 total = 0;
  u32 last = 1;
  for (u32 record = 1; record <= m_pTimes->GetEntryCount(); ++record) {
    CTimeToSampleTableEntry entry{};
    KT_TRY(m_pTimes->GetEntry(record, &entry));
    last = entry.sampleCount;
    total += last;
  }
  // The sample one past a run still belongs to it, unless the run is the last one: so an empty last run makes
  // the one past the run before it a sample. Readers rely on it.
  if (m_pTimes->GetEntryCount() >= 2 && last == 0) ++total;
  if (total > kMostSamples) return MP4_NO_MEMORY;
  m_ui32SampleCount = static_cast<u32>(total);
  return MP4_OK;
}

// Goes on to the next stretch; false behind the last sample.
bool CSampleTimeTable::Step(CWalk* walk) const {
  CSampleTimeRun& run = walk->run;
  const u32 sample = run.firstSample + run.count;
  if (sample > m_ui32SampleCount) return false;
  run.decodingTime += u64{run.count} * run.delta;
  run.firstSample = sample;
  walk->timesLeft -= run.count;
  walk->offsetsLeft -= run.count;
  if (walk->timesLeft == 0) {
    const CTimeToSampleTableEntry* record = NextRecord(m_pTimes, &walk->timesRecord);
    // Behind the last run: the sample that it stands for when empty.
    walk->timesLeft = record == nullptr ? 1 : record->sampleCount;
    run.delta = record == nullptr ? 0 : record->sampleDelta;
  }
  if (walk->offsetsLeft == 0) {
    const CCompositionOffsetTableEntry* record = NextRecord(m_pOffsets, &walk->offsetsRecord);
    walk->offsetsLeft = record == nullptr ? std::numeric_limits<u32>::max() : record->sampleCount;
    run.offset = record == nullptr ? 0 : record->sampleOffset;
  }
  run.count = std::min(walk->timesLeft, walk->offsetsLeft);
  if (run.count > 1) EndBeforeOverflow(&run);
  return true;
}

Mp4Result CSampleTimeTable::Index() {
  CPlace place{};
  CWalk& walk = place.walk;
  walk.run.decodingTime = m_ui64StartOffset;
  u64 lastTime = 0;
  for (bool more = Step(&walk); more;) {
    if (const Mp4Result result = m_Places.Append(&place); result != MP4_OK) {
      m_Places.Clear();
      return result;
    }
    const u32 first = walk.run.firstSample;
    for (const u64 end = walk.Records() + kRecordsPerPlace; more && walk.Records() < end;
         more = Step(&walk)) {
      if (walk.run.decodingTime < lastTime) {
        // All steps together stay below 2^64, so this happens once at most.
        m_ui32FallenPlace = m_Places.GetCount() + (walk.run.firstSample == first ? 0 : 1);
      }
      lastTime = LastDecodingTimeOf(walk.run);
      place.latest.OfferRun(walk.run);
    }
  }
  const u64 ticks = place.latest.first.time - m_ui64StartOffset;
  m_PlacesPerTick = m_Places.GetCount() / (static_cast<double>(ticks) + 1);
  return MP4_OK;
}

Mp4Result CSampleTimeTable::FindSampleTimes(u32 sample, u64* decodingTime, u64* compositionTime) {
  KT_TRY(WalkTo(sample));
  return GetSampleTimes(sample, decodingTime, compositionTime);
}

// Makes `m_Walk` stand at the stretch of a sample, most often the next one.
Mp4Result CSampleTimeTable::WalkTo(u32 sample) {
  if (m_ui32Writing != 0) return MP4_NOT_READY;
  if (sample > m_ui32SampleCount) return MP4_NOT_FOUND;
  if (sample == 0) return MP4_ZERO_INDEX;
  if (sample == m_Walk.run.firstSample + m_Walk.run.count) {
    Step(&m_Walk);
    return MP4_OK;
  }
  if (m_Places.GetCount() == 0) KT_TRY(Index());
  m_ui32LastPlace = PlaceOfSample(sample);
  m_Walk = m_Places.At(m_ui32LastPlace).walk;
  while (sample - m_Walk.run.firstSample >= m_Walk.run.count) Step(&m_Walk);
  return MP4_OK;
}

// The last place that is not behind the sample: mostly not far from where the last search has led.
u32 CSampleTimeTable::PlaceOfSample(u32 sample) const {
  return FindLastReached(1, m_ui32LastPlace, m_Places.GetCount(),
                         [=, this](u32 place) { return m_Places.At(place).walk.run.firstSample <= sample; });
}

Mp4Result CSampleTimeTable::GetSampleCount(u32* count) const {
  *count = m_ui32SampleCount;
  return MP4_OK;
}

Mp4Result CSampleTimeTable::FindByDecodingTime(u64 time, u32* sample) {
  u64 found = 0;
  KT_TRY(GetSampleTimes(m_ui32LastFoundSample, &found, nullptr));
  if (m_Places.GetCount() == 0) KT_TRY(Index());
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
bool CSampleTimeTable::FirstSampleReaching(u64 decodingTime, u32 start, u32* sample) const {
  const u32 from = PlaceOfSample(start);
  const u32 end = m_Places.GetCount() + 1;
  // Decoding times rise from place to place, but for one fall at most: each side of it is searched by itself.
  const u32 fall = m_ui32FallenPlace == 0 ? end : std::clamp(m_ui32FallenPlace, from, end);
  for (u32 place = PlaceOfDecodingTime(decodingTime, from, fall); place < fall; ++place) {
    if (FindReachingBehind(place, decodingTime, start, sample)) return true;
  }
  for (u32 place = PlaceOfDecodingTime(decodingTime, fall, end); place < end; ++place) {
    if (FindReachingBehind(place, decodingTime, start, sample)) return true;
  }
  return false;
}

// The last of the places `firstPlace` to `endPlace` - 1, which rise, that lies below the time, or the first
// one. The wanted sample stands behind it, or else at the next place.
u32 CSampleTimeTable::PlaceOfDecodingTime(u64 time, u32 firstPlace, u32 endPlace) const {
  return FindLastReached(firstPlace, firstPlace, endPlace - 1,
                         [=, this](u32 place) { return m_Places.At(place).walk.run.decodingTime < time; });
}

// Looks for that sample between a place and the next one.
bool CSampleTimeTable::FindReachingBehind(u32 place, u64 decodingTime, u32 start, u32* sample) const {
  const u32 end = place < m_Places.GetCount() ? m_Places.At(place + 1).walk.run.firstSample : 0;
  CWalk walk = m_Places.At(place).walk;
  do {
    const CSampleTimeRun& run = walk.run;
    if (start <= run.firstSample + (run.count - 1) && decodingTime <= LastDecodingTimeOf(run)) {
      u32 first = run.firstSample;
      if (run.decodingTime < decodingTime) {
        first += static_cast<u32>(StepsBetween(run.decodingTime, decodingTime - 1, run.delta)) + 1;
      }
      *sample = std::max(first, start);
      return true;
    }
  } while (walk.run.firstSample + walk.run.count != end && Step(&walk));
  return false;
}

Mp4Result CSampleTimeTable::FindByCompositionTime(u64 time, u32* sample) {
  if (m_ui32Writing != 0) return MP4_NOT_READY;
  if (m_ui32SampleCount == 0) return MP4_NOT_FOUND;
  if (m_Places.GetCount() == 0) KT_TRY(Index());
  const u64 first = CompositionTimeOf(m_Places.At(1).walk.run, 0);
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
void CSampleTimeTable::CLatestTwo::OfferRun(const CSampleTimeRun& run) {
  const u32 offered = std::min<u32>(run.count, 2);
  const u32 start = run.delta == 0 ? 0 : run.count - offered;
  for (u32 i = start; i < start + offered; ++i) Offer(CompositionTimeOf(run, i), run.firstSample + i);
}

// The last place with at most one sample above the time before it: mostly where the last search has led, or
// not far from where it would be if times rose evenly.
u32 CSampleTimeTable::PlaceOfCompositionTime(u64 time) const {
  const u32 places = m_Places.GetCount();
  const auto isReached = [=, this](u32 place) { return !m_Places.At(place).latest.TwoAbove(time); };
  const u32 last = m_ui32LastPlace;
  if (isReached(last) && (last == places || !isReached(last + 1))) return last;
  const double part = static_cast<double>(time - m_ui64StartOffset) * m_PlacesPerTick;
  return FindLastReached(1, part < places ? static_cast<u32>(part) + 1 : places, places, isReached);
}

// The latest sample not above the time, of those before the second sample above it; sample 1 is not above it.
//
// At a place with one sample above the time before it, that one is the latest and the next latest is the best
// so far. From there on a walk is short, since the second sample above the time comes ahead of the next
// place.
u32 CSampleTimeTable::LatestNotAfter(u64 compositionTime) {
  m_ui32LastPlace = PlaceOfCompositionTime(compositionTime);
  const CPlace& place = m_Places.At(m_ui32LastPlace);
  bool oneAbove = place.latest.OneAbove(compositionTime);
  CSampleTime best = oneAbove ? place.latest.second : place.latest.first;
  CWalk walk = place.walk;
  do {
    const CSampleTimeRun& run = walk.run;
    const u64 first = CompositionTimeOf(run, 0);
    u32 below = 0;
    if (CompositionTimeOf(run, run.count - 1) <= compositionTime) {
      below = run.count;
    } else if (first <= compositionTime) {
      below = static_cast<u32>(StepsBetween(first, compositionTime, run.delta)) + 1;
    }
    if (below > 0) {
      const u32 index = run.delta == 0 ? 0 : below - 1;
      const u64 time = CompositionTimeOf(run, index);
      if (best.sample == 0 || time > best.time) best = {time, run.firstSample + index};
      if (time == compositionTime) break;  // none is later, and of equals the first one counts
    }
    if (below < run.count) {
      if (oneAbove || run.count - below > 1) break;
      oneAbove = true;
    }
  } while (Step(&walk));
  return best.sample;
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

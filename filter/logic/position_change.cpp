#include "filter/logic/position_change.h"

#include <algorithm>

#include "filter/logic/time_conversion.h"

namespace kt {

namespace {

/// The sample at the position; its decoding time becomes the base. What can not be found keeps its value.
void FindTarget(CMp4Track* track, u64 ticks, PinPosition* position) {
  u32* const sample = &position->m_currentSample;
  // Behind the last sample's time the search fails, with that sample stored.
  const Mp4Result found = track->FindSampleByDecodingTime(ticks, sample);
  // Before the first sample it gives none, and from then on refuses to search.
  if (found == MP4_ZERO_INDEX || (found == MP4_OK && *sample == 0)) *sample = 1;
  static_cast<void>(track->GetSampleDecodingTime(*sample, &position->m_baseTime));
}

/// Back to where decoding can begin.
void GoToSyncSample(CMp4Track* track, u32* sample) {
  u64 compositionTime = 0;
  u32 syncSample = 0;
  if (track->GetSampleCompositionTime(*sample, &compositionTime)) return;
  if (track->FindSyncSample(compositionTime, &syncSample) == MP4_OK) *sample = syncSample;
}

void MoveTo(CMp4Track* track, const CReaderPin& pin, i64 current, PinPosition* position) {
  if (track) {
    const u64 ticks = static_cast<u64>(HnsToTicks(current, pin.TimeScale()));
    FindTarget(track, ticks, position);
    // Pictures and sound of an adapted file may begin at different times, and stay apart by that.
    if (pin.IsAdapted()) position->m_baseTime = ticks;
    // What is decoded at the position may be shown behind a sync sample that comes too late for it.
    u32 syncSample = 0;
    if (pin.HasPlatformType() && track->FindSyncSample(ticks, &syncSample) == MP4_OK) {
      position->m_currentSample = syncSample;
    } else {
      GoToSyncSample(track, &position->m_currentSample);
    }
  }
  // The worker counts up before it takes a sample.
  if (position->m_currentSample > 0) --position->m_currentSample;
  position->m_startPosition = current;
}

}  // namespace

FilterResult ChangePosition(CReaderPin& pin, const PositionChange& change, i64 length, PinWorker* worker) {
  if ((change.HasCurrent() && !change.current) || (change.HasStop() && !change.stop)) {
    return FilterResult::Pointer;
  }
  const i64 current = change.HasCurrent() ? std::max<i64>(*change.current, 0) : 0;
  if (current > length && change.HasCurrent()) return FilterResult::False;

  PinWorker* const restarted = change.HasCurrent() ? worker : nullptr;
  if (restarted) {
    restarted->BeginFlush();
    restarted->StopWorker();
  }
  // Both positions stand before the worker announces its new segment.
  pin.WithPosition([&](CMp4Track* track, PinPosition& position) {
    if (change.HasCurrent()) MoveTo(track, pin, current, &position);
    if (change.HasStop()) position.m_stopPosition = *change.stop;
  });
  if (restarted) {
    restarted->EndFlush();
    restarted->RunWorker();
  }
  return FilterResult::Ok;
}

}  // namespace kt

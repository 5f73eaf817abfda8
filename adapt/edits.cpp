#include "adapt/edits.h"

#include <algorithm>
#include <limits>
#include <numeric>

#include "adapt/movie.h"

namespace kt::adapt {
namespace {

constexpr i64 kNever = std::numeric_limits<i64>::max();

i64 Clamp(u64 ticks) {
  return static_cast<i64>(std::min(ticks, static_cast<u64>(CSampleTables::kLatestTime)));
}

/// A stretch of media time that is shown.
struct Window {
  i64 start;
  i64 end;
};

// Where the edit ends. One that reaches the end of the media, give or take the rounding of its time scale,
// shows all of it. So does one of a fragmented file that reaches the end of what "moov" holds: it was written
// before there were fragments.
i64 EndOfEdit(const CMovie& movie, const CTrack& track) {
  const EditList& edits = track.edits;
  if (edits.length == 0) return kNever;
  const i64 tick = Clamp(Scale(1, track.timeScale, movie.timeScale)) + 1;
  const i64 end = edits.mediaTime + Clamp(Scale(edits.length, track.timeScale, movie.timeScale));
  const bool grew = track.tables.Count() > track.samplesOfMovie;
  if (end + tick >= track.tables.EndTime()) return kNever;
  if (grew && track.samplesOfMovie > 0 && end <= track.mediaEndOfMovie + tick) return kNever;
  return end;
}

// How many samples of a stretch, from its first on, have a composition time below `time`.
u32 CountBelow(const Stretch& stretch, i64 time) {
  const i64 first = stretch.CompositionTimeOf(stretch.first);
  if (first >= time) return 0;
  if (stretch.delta == 0) return stretch.count;
  const i64 steps = (time - 1 - first) / stretch.delta;
  return steps >= i64{stretch.count} - 1 ? stretch.count : static_cast<u32>(steps) + 1;
}

// The first sample of which something is shown, and the last that begins in time; 0 when there is none.
void FindShown(const CSampleTables& tables, Window window, u32* first, u32* last) {
  *first = 0;
  *last = 0;
  CStretches stretches(tables);
  for (Stretch stretch; stretches.Next(&stretch);) {
    const i64 length = std::max<i64>(stretch.delta, 1);
    const u32 over = CountBelow(stretch, window.start - length + 1);
    if (*first == 0 && over < stretch.count) *first = stretch.first + over;
    const u32 begun = window.end == kNever ? stretch.count : CountBelow(stretch, window.end);
    if (begun > 0) *last = stretch.first + begun - 1;
  }
}

// The last sync sample up to `shown` whose composition time is not above `time`, else the last up to `shown`
// for pictures and sample 1 for sound.
u32 FindStart(const CTrack& track, u32 shown, i64 time) {
  const CSampleTables& tables = track.tables;
  u32 best = 0;
  u32 lastSync = 1;
  CStretches stretches(tables);
  Stretch stretch{};
  bool more = stretches.Next(&stretch);
  u32 index = 1;
  while (more && index <= tables.Sync().GetCount()) {
    const SyncRun& run = tables.Sync().At(index);
    const u32 from = std::max(run.first, stretch.first);
    const u32 end = std::min({run.first + run.count, stretch.first + stretch.count, shown + 1});
    if (from < end) {
      lastSync = end - 1;
      const u32 reached = stretch.first + CountBelow(stretch, time + 1);
      if (reached > from) best = std::min(reached, end) - 1;
    }
    if (run.first + run.count <= stretch.first + stretch.count) {
      ++index;
    } else {
      more = stretches.Next(&stretch);
    }
  }
  if (best != 0) return best;
  return track.IsSound() ? 1 : lastSync;
}

i64 DecodingTimeOf(const CSampleTables& tables, u32 sample) {
  CStretches stretches(tables);
  for (Stretch stretch; stretches.Next(&stretch);) {
    if (sample <= stretch.Last()) return stretch.DecodingTimeOf(sample);
  }
  return tables.EndTime();
}

void CutTrack(const CMovie& movie, CTrack* track) {
  const CSampleTables& tables = track->tables;
  track->range = {1, tables.Count(), tables.StartTime()};
  if (track->edits.furtherEdits > 0) track->notes |= ADAPT_FURTHER_EDITS;
  if (track->edits.hasRate) track->notes |= ADAPT_EDIT_RATE;
  if (!track->edits.hasEdit || tables.Count() == 0) return;
  const Window window{track->edits.mediaTime, EndOfEdit(movie, *track)};
  u32 first = 0;
  u32 last = 0;
  FindShown(tables, window, &first, &last);
  if (first == 0 || last < first) {
    track->range = {1, 0, 0};
  } else {
    const i64 runIn = track->IsSound() ? track->timeScale : 0;
    first = FindStart(*track, first, window.start - runIn);
    track->range = {first, last, DecodingTimeOf(tables, first)};
  }
  if (track->range.Count() < tables.Count()) track->notes |= ADAPT_SAMPLES_OUTSIDE_EDIT;
}

// When the first sample of a track is decoded, where its own edits put it; may lie below 0.
i64 PresentedStart(const CMovie& movie, const CTrack& track) {
  const i64 empty = Clamp(Scale(track.edits.emptyTicks, track.timeScale, movie.timeScale));
  return track.range.decodingTime - i64{track.tables.LargestLead()} - track.edits.mediaTime + empty;
}

// So that the times of all tracks can be counted in the ticks of any, and added, in 63 bits.
bool HasSaneStart(const CMovie& movie, const CTrack& track) {
  constexpr u32 kFinestScale = 1'000'000'000;
  constexpr i64 kLatestSecond = i64{1} << 32;
  if (track.timeScale > kFinestScale) return false;
  const i64 start = PresentedStart(movie, track);
  return start / track.timeScale < kLatestSecond && start / track.timeScale > -kLatestSecond;
}

// An amount of time in parts of a second that every track counts in whole ticks.
struct CommonTime {
  i64 parts;
  u32 partsPerSecond;

  // Both factors are held to what a track may be: see HasSaneStart.
  i64 TicksOf(const CTrack& track) const { return parts * (track.timeScale / partsPerSecond); }
};

// Calls `visit` with each track that the image has samples of.
template <class Visit>
void ForEachTrack(CMovie* movie, Visit visit) {
  for (u32 i = 0; i < movie->trackCount; ++i) {
    CTrack& track = movie->tracks[i];
    if (!track.IsLeftOut() && track.range.Count() > 0) visit(track);
  }
}

// A reader multiplies the movie ticks of a start by the time scale of the media, in 64 bits.
bool StartFits(const CTrack& track, u64 startTicks, u32 movieScale) {
  const u64 ticks = MovieTicks(startTicks, track.timeScale, movieScale);
  return ticks <= std::numeric_limits<u64>::max() / track.timeScale;
}

// What all tracks move by: later, so that none begins below 0. Films that were recorded off the air begin
// years after 0; where a start would be too large to be told in movie ticks, they move to the front.
CommonTime FindCommonDelay(CMovie* movie) {
  u32 divisor = 0;
  ForEachTrack(movie, [&](CTrack& track) { divisor = std::gcd(divisor, track.timeScale); });
  divisor = std::max(divisor, 1u);
  i64 needed = 0;
  i64 spare = kNever;
  bool fits = true;
  ForEachTrack(movie, [&](CTrack& track) {
    const i64 start = PresentedStart(*movie, track);
    // Never below 1, since the divisor is common to all: what an analyser cannot know.
    const i64 ticksPerPart = std::max(track.timeScale / divisor, 1u);
    if (start < 0) needed = std::max(needed, (-start + ticksPerPart - 1) / ticksPerPart);
    if (start >= 0) fits = fits && StartFits(track, static_cast<u64>(start), movie->timeScale);
    spare = std::min(spare, start / ticksPerPart);
  });
  if (needed == 0 && !fits) needed = -spare;
  return {needed, divisor};
}

bool IsExact(const CTrack& track, u32 movieScale) {
  const u64 ticks = MovieTicks(track.startTicks, track.timeScale, movieScale);
  return Scale(ticks, track.timeScale, movieScale) == track.startTicks;
}

// A finer time scale for the image, where that of the file is too coarse to say when the tracks begin.
void ChooseMovieScale(CMovie* movie) {
  u64 factor = 1;
  ForEachTrack(movie, [&](CTrack& track) {
    if (IsExact(track, movie->timeScale)) return;
    factor = std::max(factor, (u64{track.timeScale} + movie->timeScale - 1) / movie->timeScale);
  });
  bool fits = factor * movie->timeScale <= std::numeric_limits<u32>::max();
  const u32 finer = fits ? static_cast<u32>(factor * movie->timeScale) : movie->timeScale;
  ForEachTrack(movie, [&](CTrack& track) { fits = fits && StartFits(track, track.startTicks, finer); });
  movie->scaleFactor = fits ? static_cast<u32>(factor) : 1;
  ForEachTrack(movie, [&](CTrack& track) {
    if (!IsExact(track, movie->ImageScale())) track.notes |= ADAPT_DELAY_ROUNDED;
  });
}

}  // namespace

u64 Scale(u64 value, u32 factor, u32 divisor) {
  constexpr u64 kMost = std::numeric_limits<u64>::max();
  const u64 whole = value / divisor;
  if (factor != 0 && whole > (kMost >> 1) / factor) return kMost;
  return whole * factor + value % divisor * factor / divisor;
}

u64 MovieTicks(u64 mediaTicks, u32 mediaScale, u32 movieScale) {
  const u64 ticks = Scale(mediaTicks, movieScale, mediaScale);
  return Scale(ticks, mediaScale, movieScale) < mediaTicks ? ticks + 1 : ticks;
}

EditList ReadEditList(CBytes box) {
  constexpr u64 kHeader = 8;
  EditList list;
  const bool wide = box.U8(0) == 1;
  const u64 width = wide ? 20 : 12;
  const u64 held = box.From(kHeader).Size() / width;
  const u64 count = std::min<u64>(box.U32(4), held);
  for (u64 i = 0; i < count; ++i) {
    const CBytes edit = box.From(kHeader + i * width);
    const u64 length = wide ? edit.U64(0) : edit.U32(0);
    const i64 mediaTime = wide ? static_cast<i64>(edit.U64(8)) : static_cast<i32>(edit.U32(4));
    const bool isLast = i + 1 == count;
    if (length == 0 && !isLast) continue;  // of no length, it shows nothing
    if (list.hasEdit) {
      ++list.furtherEdits;
      continue;
    }
    if (mediaTime < 0) {
      list.emptyTicks += std::min(length, static_cast<u64>(CSampleTables::kLatestTime) - list.emptyTicks);
      continue;
    }
    list.hasEdit = true;
    list.mediaTime = std::min(mediaTime, CSampleTables::kLatestTime);
    list.length = length;
    list.hasRate = edit.U32(wide ? 16 : 8) != 0x10000;
  }
  return list;
}

void ApplyEdits(CMovie* movie) {
  for (u32 i = 0; i < movie->trackCount; ++i) {
    CTrack& track = movie->tracks[i];
    if (track.IsLeftOut()) continue;
    CutTrack(*movie, &track);
    if (!HasSaneStart(*movie, track)) track.notes |= ADAPT_TIMES_OUT_OF_RANGE;
  }
  const CommonTime delay = FindCommonDelay(movie);
  ForEachTrack(movie, [&](CTrack& track) {
    track.startTicks =
        static_cast<u64>(std::max<i64>(PresentedStart(*movie, track) + delay.TicksOf(track), 0));
  });
  ChooseMovieScale(movie);
}

}  // namespace kt::adapt

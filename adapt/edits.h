#pragma once

#include "adapt/bytes.h"
#include "adapt/sample_tables.h"

namespace kt::adapt {

struct CMovie;
struct CTrack;

/// What of an edit list acts: empty edits ahead of the first real one, and that one's media time and length.
/// ISO/IEC 14496-12, 8.6.6.
struct EditList {
  u64 emptyTicks = 0;  // movie ticks
  i64 mediaTime = 0;   // media ticks; of the composition time that is shown first
  u64 length = 0;      // movie ticks; 0 when the edit goes on to the end
  bool hasEdit = false;
  u32 furtherEdits = 0;  // that do not act
  bool hasRate = false;
};

/// Takes the records that the box of "elst" holds, whatever its count claims.
EditList ReadEditList(CBytes box);

/// The samples of a track that an image keeps; none when `last` lies below `first`.
struct SampleRange {
  u32 first = 1;
  u32 last = 0;
  i64 decodingTime = 0;  // of the first, media ticks

  u32 Count() const { return last < first ? 0 : last - first + 1; }
};

/// Settles for every track which samples stay and when the first of them is decoded in the image.
///
/// What stays: the samples that the edit shows and those that are needed to decode them. In front that is
/// from the last sync sample that is not shown later than the edit begins; sound begins up to a second
/// earlier, since its decoders need a run-in. Behind it ends with the last sample that is shown in the edit.
/// When: where the edit list puts it, and all tracks later by one common delay, so that none begins below 0.
/// The delay is one that every time scale counts in whole ticks, so that nothing moves against anything else.
void ApplyEdits(CMovie* movie);

/// `value * factor / divisor` without a detour through fewer bits, cut at the largest number.
u64 Scale(u64 value, u32 factor, u32 divisor);

/// The movie ticks from which a reader, who rounds down, gets these media ticks, or the next he can get.
u64 MovieTicks(u64 mediaTicks, u32 mediaScale, u32 movieScale);

}  // namespace kt::adapt

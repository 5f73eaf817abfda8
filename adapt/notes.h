#pragma once

#include <ktmp4/types.h>

namespace kt {

/// What adapting did to a track that its user may want to know; one bit each.
enum AdaptNote : u32 {
  // Why a track was left out.
  ADAPT_NO_TRACK_BOXES = 1u << 0,
  ADAPT_TABLES_CONTRADICT = 1u << 1,
  ADAPT_TOO_MANY_SAMPLES = 1u << 2,
  ADAPT_NO_TRACK_ID = 1u << 3,
  ADAPT_TIMES_OUT_OF_RANGE = 1u << 4,
  // What a track that is there has lost.
  ADAPT_NO_SIZES = 1u << 8,
  ADAPT_SAMPLES_OUTSIDE_EDIT = 1u << 9,
  ADAPT_FURTHER_EDITS = 1u << 10,
  ADAPT_EDIT_RATE = 1u << 11,
  ADAPT_ENTRY_BOXES = 1u << 12,
  ADAPT_NO_DECODER_SET_UP = 1u << 13,
  ADAPT_ENTRY_REPLACED = 1u << 14,
  ADAPT_RUNS_IGNORED = 1u << 15,
  ADAPT_TIMES_OVERLAP = 1u << 16,
  ADAPT_DATA_ELSEWHERE = 1u << 17,
  ADAPT_DELAY_ROUNDED = 1u << 18,
};

/// The notes of a track that was left out.
inline constexpr u32 kAdaptLeftOut = ADAPT_NO_TRACK_BOXES | ADAPT_TABLES_CONTRADICT | ADAPT_TOO_MANY_SAMPLES |
                                     ADAPT_NO_TRACK_ID | ADAPT_TIMES_OUT_OF_RANGE;

/// One clause for a person to read, as in "track 2 is left out: its tables contradict each other".
const char* AdaptNoteText(AdaptNote note);

}  // namespace kt

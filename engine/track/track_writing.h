#pragma once

#include <memory>

#include "boxes/tables/chunk_large_offset_box.h"
#include "boxes/tables/chunk_offset_box.h"
#include "boxes/tables/sync_sample_box.h"
#include "engine/track/bit_rate_window.h"
#include "engine/track/chunk_buffer.h"

namespace kt {

/// What a track keeps only while it is being written.
struct CTrackWriting {
  u32 nextSample = 1;
  u32 currentChunk = 1;
  CChunkBuffer chunk;
  CBitRateWindow bitRates;
  bool finishing = false;      // no further samples, whether or not the track can be finished
  bool timesFinished = false;  // the last sample has its duration
  // How far the chunk has come: a step that is done is not done again when a later one has failed.
  enum { kGathered, kInFile, kPlaced } chunkStep = kGathered;
  u64 chunkPosition = 0;  // where it lies in the file
  // Made by the track and given to "stbl" at the end, when it is known which of them the track has.
  std::unique_ptr<CChunkOffsetBox> chunkOffset;
  std::unique_ptr<CChunkLargeOffsetBox> chunkLargeOffset;
  std::unique_ptr<CSyncSampleBox> syncSample;
};

}  // namespace kt

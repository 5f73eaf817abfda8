#pragma once

#include <optional>

#include "tools/files/file_boxes.h"

namespace kt {

/// Where the samples of a track lie in the file, one after the other, out of the payload of its "trak":
/// ISO/IEC 14496-12, 8.7.4 and 8.7.5. Of an empty payload nothing is known.
class SamplePlaces {
 public:
  SamplePlaces() = default;
  explicit SamplePlaces(ByteSpan track);

  /// The offset of the next sample, which has so many bytes; nothing when the tables do not tell.
  std::optional<u64> Next(u32 size);

 private:
  bool EnterNextChunk();

  ByteSpan m_runs;
  u64 m_runCount = 0;
  u64 m_run = 0;
  ByteSpan m_chunks;
  u64 m_chunkCount = 0;
  u64 m_chunk = 0;
  u32 m_offsetSize = 4;
  u64 m_samplesLeft = 0;
  u64 m_position = 0;
};

/// How long the last sample lasts in media ticks, as "stts" tells; nothing when there is none.
std::optional<u32> LastDuration(ByteSpan track);

}  // namespace kt

#include "bench/value_reader.h"

namespace kt {

CValueReader::CValueReader(const std::string& path)
    : m_movie(ktmp4::Movie::Open(path).value()), m_tracks(m_movie.Tracks()) {}

Tally CValueReader::ReadByTrack() {
  Tally tally;
  for (const ktmp4::Track& track : m_tracks) {
    for (const ktmp4::Sample sample : track.Samples()) {
      const std::span<u8> bytes = sample.ReadTo(m_buffer).value();
      const u64 decodingTime = sample.DecodingTime().value().count;
      const u64 compositionTime = sample.CompositionTime().value().count;
      tally.Add(bytes.size(), decodingTime, compositionTime, bytes[0]);
    }
  }
  return tally;
}

}  // namespace kt

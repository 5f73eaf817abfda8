#include "tools/facts/sample_places.h"

#include <algorithm>

namespace kt {
namespace {

constexpr u64 kTableFields = 8;

// How many of the entries that a table tells of are there.
u64 EntryCount(ByteSpan table, u64 entrySize) {
  return std::min<u64>(Number(table, 4, 4), From(table, kTableFields).size() / entrySize);
}

ByteSpan TableAt(ByteSpan track, std::string_view type) {
  return BoxAt(track, {"mdia", "minf", "stbl", type}).value_or(ByteSpan());
}

}  // namespace

SamplePlaces::SamplePlaces(ByteSpan track)
    : m_runs(TableAt(track, "stsc")), m_chunks(TableAt(track, "stco")) {
  if (m_chunks.empty()) {
    m_chunks = TableAt(track, "co64");
    m_offsetSize = 8;
  }
  m_runCount = EntryCount(m_runs, 12);
  m_chunkCount = EntryCount(m_chunks, m_offsetSize);
}

bool SamplePlaces::EnterNextChunk() {
  if (m_chunk == m_chunkCount || m_runCount == 0) return false;
  ++m_chunk;
  const auto firstChunk = [&](u64 run) { return Number(m_runs, kTableFields + 12 * run, 4); };
  while (m_run + 1 < m_runCount && firstChunk(m_run + 1) <= m_chunk) ++m_run;
  m_samplesLeft = Number(m_runs, kTableFields + 12 * m_run + 4, 4);
  m_position = Number(m_chunks, kTableFields + (m_chunk - 1) * m_offsetSize, m_offsetSize);
  return true;
}

std::optional<u64> SamplePlaces::Next(u32 size) {
  while (m_samplesLeft == 0) {
    if (!EnterNextChunk()) return std::nullopt;
  }
  --m_samplesLeft;
  const u64 place = m_position;
  m_position += size;
  return place;
}

std::optional<u32> LastDuration(ByteSpan track) {
  const ByteSpan times = TableAt(track, "stts");
  for (u64 run = EntryCount(times, 8); run > 0; --run) {
    const u64 at = kTableFields + 8 * (run - 1);
    if (Number(times, at, 4) != 0) return static_cast<u32>(Number(times, at + 4, 4));
  }
  return std::nullopt;
}

}  // namespace kt

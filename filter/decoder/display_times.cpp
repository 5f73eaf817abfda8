#include "filter/decoder/display_times.h"

#include "filter/formats/private_block.h"
#include "filter/logic/time_conversion.h"

namespace kt {
namespace {

/// Samples ahead of the position that was sought have stops that say nothing, mostly far away.
constexpr i64 kLongestAhead = i64{3600} * kHnsPerSecond;

bool SaysItsStop(const SampleTimes& told) {
  return told.stop > told.start && (told.start >= 0 || told.stop <= SaturatingAdd(told.start, kLongestAhead));
}

}  // namespace

SampleTimes FittingTimes(const StreamTimes& stream, SampleTimes told, bool hasStop,
                         std::span<const u8> stamp) {
  const i64 length = hasStop && SaysItsStop(told) ? told.stop - told.start : stream.usualLength;
  const i64 behind = static_cast<i64>(GetLittleEndian(stamp, 0, 8) - GetLittleEndian(stamp, 8, 8));
  const i64 start = SaturatingAdd(told.start, SignedTicksToHns(behind, stream.stampScale));
  return {start, SaturatingAdd(start, length)};
}

void CDisplayTimes::Add(std::optional<SampleTimes> times, PictureKind kind) {
  if (kind == PictureKind::Between && !m_inOrderOfDisplay) m_inOrderOfDisplay = false;
  const bool isReference = kind == PictureKind::Reference && m_inOrderOfDisplay == false;
  if (isReference) ShowWaiting(times ? times->start : m_lastStop);
  m_times.push_back(times);
  if (times) m_lastStop = times->stop;
  const bool isWaiting = m_ready + 1 < m_times.size() || (isReference && times);
  if (!isWaiting) m_ready = m_times.size();
  if (m_times.size() > kMostWaiting) Finish();
}

void CDisplayTimes::Finish() {
  ShowWaiting(m_lastStop);
}

void CDisplayTimes::ShowWaiting(i64 start) {
  if (m_ready == m_times.size()) return;
  SampleTimes& waiting = *m_times[m_ready];
  waiting = {start, SaturatingAdd(start, waiting.stop - waiting.start)};
  m_ready = m_times.size();
}

void CDisplayTimes::Clear() {
  m_times.clear();
  m_ready = 0;
}

bool CDisplayTimes::TakeReady(std::optional<SampleTimes>* times) {
  if (m_ready == 0) return false;
  *times = m_times.front();
  m_times.pop_front();
  --m_ready;
  return true;
}

}  // namespace kt

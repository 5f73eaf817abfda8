#pragma once

#include "engine/track/bit_rate_window.h"

namespace kt {

/// The bit rates of the media that a hint track sends, without the headers of its packets: of the busiest
/// second, and on average up to the last sample.
///
/// The window is the one that is used for writing tracks, at a resolution of a millisecond; the average is
/// another, since it goes by the time of the last sample and not by the duration.
class CHintBitRates {
 public:
  /// `time` in media ticks, of which a second has `timeScale`, not 0. MP4_NO_MEMORY.
  Mp4Result AddSample(u32 size, u64 time, u32 timeScale) {
    m_lastTimeMs = time * 1000 / timeScale;
    return m_window.AddSample(size, m_lastTimeMs, 1000);
  }
  /// Bits per second, modulo 2^32; both stay as they are while no time has passed.
  void GetBitrates(u32* maximum, u32* average) const {
    if (m_lastTimeMs == 0) return;
    *maximum = static_cast<u32>(m_window.GetPeakInFull());
    *average = m_window.GetAverageUpTo(m_lastTimeMs);
  }

 private:
  CBitRateWindow m_window;
  u64 m_lastTimeMs = 0;
};

}  // namespace kt

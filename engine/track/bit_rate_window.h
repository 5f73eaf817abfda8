#pragma once

#include <memory>

#include <ktmp4/result.h>

namespace kt {

/// Measures the bit rates of a track while its samples are written or packetised: the most that stands within
/// a window of one second that slides over the samples, and the average over all of them. They end up in the
/// track's decoder config, ISO/IEC 14496-1, 7.2.6.6, and in the figures of a hint track.
class CBitRateWindow {
 public:
  /// Counts the next sample. `time` is its decoding time in media ticks, of which a second has `timeScale`.
  /// Samples more than a second earlier leave the window; the sample itself never does. MP4_NO_MEMORY.
  Mp4Result AddSample(u32 size, u64 time, u32 timeScale);
  /// Frees the window; what was measured stays.
  void Clear();

  /// The largest number of bits per second, each taken modulo 2^32 before they are compared: what a decoder
  /// config says.
  u32 GetPeak() const { return m_peakBits; }
  /// The largest number of bytes per second, in bits.
  u64 GetPeakInFull() const { return m_peakBytes * 8; }
  /// Bits per second of a track of that many media ticks; a track shorter than a second counts as one long.
  /// 0xFFFFFFFF for anything above. `timeScale` must not be 0.
  u32 GetAverage(u64 duration, u32 timeScale) const;
  /// Bits per second of a track that is `milliseconds` long, not 0; modulo 2^32.
  u32 GetAverageUpTo(u64 milliseconds) const { return static_cast<u32>(m_totalBytes * 8000 / milliseconds); }

 private:
  struct Record {
    u64 time;
    u32 size;
  };

  Mp4Result Grow();
  Record& At(u32 index) { return m_records[(m_first + index) & (m_capacity - 1)]; }

  u64 m_totalBytes = 0;
  u64 m_windowBytes = 0;
  u64 m_peakBytes = 0;
  u32 m_peakBits = 0;
  // The samples in the window, as a ring. Its capacity is a power of two.
  std::unique_ptr<Record[]> m_records;
  u32 m_capacity = 0;
  u32 m_first = 0;
  u32 m_count = 0;
};

}  // namespace kt

#include "tools/report/track_series.h"

#include <algorithm>
#include <array>
#include <bit>

#include "tools/facts/sample_places.h"
#include "tools/facts/track_questions.h"
#include "tools/terminal/interrupts.h"

namespace kt {
namespace {

// Tables that claim more than the file holds are not gone through: see `TrackFacts::bytes`.
constexpr u32 kMostOfDoubtful = 1'000'000;
// Lines for sync samples, as close as they can be told apart.
constexpr u32 kSyncSteps = 400;
// Four to each power of two that a size can have.
constexpr std::size_t kSizeClasses = 128;

class Gathering {
 public:
  Gathering(InputFile& input, const TrackFacts& facts, ByteSpan boxes)
      : m_track(input.OpenTrack(facts.index)), m_places(boxes), m_timeScale(facts.timeScale.value_or(0)) {
    m_count = facts.samples.value_or(0);
    if (!facts.bytes && !input.IsAdapted()) m_count = std::min(m_count, kMostOfDoubtful);
  }

  TrackSeries Gather() {
    if (m_count == 0 || m_timeScale == 0) return std::move(m_series);
    TakeSpan();
    m_series.bytes.assign(kSeriesSteps, 0);
    for (u32 sample = 1; sample <= m_count && TakeSample(sample); ++sample) {
      if (sample % 4096 == 0) m_interrupts.Check();
    }
    if (m_series.syncSamples > 0) EndGap(m_series.end);
    if (m_series.samples > 0) TakeSizes();
    return std::move(m_series);
  }

 private:
  double Seconds(u64 ticks) const { return static_cast<double>(ticks) / m_timeScale; }

  // From the first sample to the end of the last, which lasts as long as the samples do in the mean.
  void TakeSpan() {
    u64 first = 0, last = 0;
    if (m_track->GetSampleDecodingTime(1, &first) != MP4_OK) return;
    if (m_track->GetSampleDecodingTime(m_count, &last) != MP4_OK || last < first) last = first;
    m_series.begin = Seconds(first);
    const double step = m_count > 1 ? Seconds(last - first) / (m_count - 1) : 0;
    m_series.end = Seconds(last) + (step > 0 ? step : 1.0 / m_timeScale);
  }

  // In which of so many equal parts of the span a time lies. Times can be so late that the span is lost in
  // them.
  u32 StepAt(double time, u32 steps = kSeriesSteps) const {
    const double span = m_series.end - m_series.begin;
    if (!(span > 0)) return 0;
    return static_cast<u32>(std::clamp((time - m_series.begin) / span * steps, 0.0, steps - 1.0));
  }

  bool TakeSample(u32 sample) {
    u32 size = 0;
    u64 decodingTime = 0, compositionTime = 0;
    if (m_track->GetSampleSize(sample, &size) != MP4_OK ||
        m_track->GetSampleDecodingTime(sample, &decodingTime) != MP4_OK ||
        m_track->GetSampleCompositionTime(sample, &compositionTime) != MP4_OK) {
      m_series.fault = "its tables tell of no sample behind the " + std::to_string(sample - 1) + ".";
      return false;
    }
    const bool isSync = IsSyncSample(*m_track, sample, compositionTime);
    const double time = Seconds(decodingTime);
    m_series.bytes[StepAt(time)] += size;
    ++m_series.samples;
    TakePlace(time, size);
    TrackSeries::SizeClass& sizes = m_sizes[ClassOf(size)];
    ++sizes.samples;
    if (isSync) {
      ++sizes.syncSamples;
      TakeSync(time);
    }
    return true;
  }

  void TakeSync(double time) {
    if (m_series.syncSamples++ > 0) EndGap(time);
    m_lastSync = time;
    bool& isMarked = m_isMarked[StepAt(time, kSyncSteps)];
    if (!isMarked) m_series.syncTimes.push_back(time);
    isMarked = true;
  }

  void EndGap(double time) { m_series.longestGap = std::max(m_series.longestGap, time - m_lastSync); }

  static std::size_t ClassOf(u32 size) {
    if (size == 0) return 0;
    const u32 power = static_cast<u32>(std::bit_width(size)) - 1;
    const u64 quarter = (u64{size} - (u64{1} << power)) * 4 >> power;
    return std::size_t{4} * power + static_cast<std::size_t>(quarter);
  }

  // Those from the first to the last that has samples.
  void TakeSizes() {
    u64 end = 0;
    for (std::size_t i = 0; i < m_sizes.size(); ++i) {
      const u64 power = u64{1} << i / 4;
      m_sizes[i].from = power + power * (i % 4) / 4;
      if (m_sizes[i].samples > 0) end = i + 1;
    }
    const auto first = std::ranges::find_if(m_sizes, [](const auto& each) { return each.samples > 0; });
    m_series.sizes.assign(first, m_sizes.begin() + static_cast<std::ptrdiff_t>(end));
  }

  // A point where a piece of the file begins that has this track alone, and in each step of the time.
  void TakePlace(double time, u32 size) {
    const auto offset = m_places.Next(size);
    if (!offset) return;
    const bool beginsPiece = m_series.places.empty() || *offset != m_nextOffset;
    if (beginsPiece) ++m_series.pieces;
    if (beginsPiece || StepAt(time) != StepAt(m_series.places.back().time)) {
      m_series.places.push_back({time, *offset});
    }
    m_nextOffset = *offset + size;
  }

  const Interrupts m_interrupts;
  const TrackHandle m_track;
  SamplePlaces m_places;
  u64 m_nextOffset = 0;
  const u32 m_timeScale;
  u32 m_count = 0;
  double m_lastSync = 0;
  std::array<TrackSeries::SizeClass, kSizeClasses> m_sizes = {};
  std::array<bool, kSyncSteps> m_isMarked = {};
  TrackSeries m_series;
};

}  // namespace

TrackSeries GatherSeries(InputFile& input, const TrackFacts& facts, ByteSpan boxes) {
  return Gathering(input, facts, boxes).Gather();
}

}  // namespace kt

#pragma once

#include <functional>

#include "filter/logic/position_change.h"
#include "filter/logic/reader_source.h"

namespace kt {

/// What can be asked of positions, in the platform's bits: seeking absolutely, forwards and backwards; the
/// current position, the stop position and the duration.
inline constexpr u32 kSeekingCaps = 63;

/// The worker of a pin; null when it has no worker thread.
using WorkerFinder = std::function<PinWorker*(CReaderPin& pin)>;

/// Positions as the filter answers for them: one operation for each of the platform's IMediaSeeking, those
/// left out being refused with NotImplemented (`ConvertTimeFormat`, `GetAvailable`, `GetPreroll`). Times are
/// in 100 ns units. They are measured on the first pin's track; what that can not tell, or any without a pin,
/// is answered with False and stored as 0. A null output gives Pointer unless told otherwise.
///
/// `SetPositions` is to be called under the filter's state lock, the others need none.
class FilterSeeking {
 public:
  explicit FilterSeeking(const CReaderSource& source) : m_source(source) {}

  u32 GetCapabilities() const { return kSeekingCaps; }
  /// Ok when all of `caps` can be done, False when some, Fail when none.
  FilterResult CheckCapabilities(u32 caps) const;
  /// Ok or False. The same for `IsUsingTimeFormat`.
  FilterResult IsFormatSupported(const Guid& format) const;
  /// The answer to `QueryPreferredFormat` and `GetTimeFormat`.
  const Guid& GetTimeFormat() const { return TIME_FORMAT_MEDIA_TIME; }
  /// Ok or InvalidArgument.
  FilterResult SetTimeFormat(const Guid& format) const;
  FilterResult GetDuration(i64* duration) const;
  /// The stop position that was set, otherwise the duration.
  FilterResult GetStopPosition(i64* stop) const;
  /// The decoding time of the sample last taken; there is none before the first.
  FilterResult GetCurrentPosition(i64* current) const;
  /// Moves the pins one after the other; the first answer that is not Ok ends the walk and is the result. Ok
  /// without a pin.
  FilterResult SetPositions(const PositionChange& change, const WorkerFinder& workerOf) const;
  /// The current position and the duration, which stands for the stop. Either may be null; the stop is filled
  /// also when there is no current position, whose answer then counts.
  FilterResult GetPositions(i64* current, i64* stop) const;
  /// Ok, and nothing changes.
  FilterResult SetRate(double /*rate*/) const { return FilterResult::Ok; }
  double GetRate() const { return 1.0; }

 private:
  const CReaderSource& m_source;
};

/// Positions as one pin answers for them: as the filter does but for what stands here. Only the seek master,
/// the first pin, changes positions, and does it as the filter does; on any other pin `SetPositions` is Ok
/// without a change and without a lock: renderers all pass the same seek on.
class PinSeeking {
 public:
  /// All is borrowed.
  PinSeeking(const FilterSeeking& filter, const CReaderPin& pin) : m_filter(filter), m_pin(pin) {}

  bool IsMaster() const { return m_pin.SeekMaster(); }
  /// Ok for media time on the master and for no format (GUID_NULL) on every pin, NotImplemented otherwise.
  FilterResult SetTimeFormat(const Guid& format) const;
  /// The duration, whatever stop was set; readers rely on it.
  FilterResult GetStopPosition(i64* stop) const { return m_filter.GetDuration(stop); }
  /// NotImplemented on any pin but the master.
  FilterResult GetCurrentPosition(i64* current) const;
  /// Copies `source`; a null format is media time. InvalidArgument for any other format.
  FilterResult ConvertTimeFormat(i64* target, const Guid* targetFormat, i64 source,
                                 const Guid* sourceFormat) const;
  /// From 0 to the duration. Either may be null.
  FilterResult GetAvailable(i64* earliest, i64* latest) const;
  FilterResult GetPreroll(i64* preroll) const;

 private:
  const FilterSeeking& m_filter;
  const CReaderPin& m_pin;
};

}  // namespace kt

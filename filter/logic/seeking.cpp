#include "filter/logic/seeking.h"

namespace kt {

FilterResult FilterSeeking::CheckCapabilities(u32 caps) const {
  const u32 known = caps & kSeekingCaps;
  if (known == 0) return FilterResult::Fail;
  return known == caps ? FilterResult::Ok : FilterResult::False;
}

FilterResult FilterSeeking::IsFormatSupported(const Guid& format) const {
  return format == TIME_FORMAT_MEDIA_TIME ? FilterResult::Ok : FilterResult::False;
}

FilterResult FilterSeeking::SetTimeFormat(const Guid& format) const {
  return format == TIME_FORMAT_MEDIA_TIME ? FilterResult::Ok : FilterResult::InvalidArgument;
}

FilterResult FilterSeeking::GetDuration(i64* duration) const {
  return duration ? m_source.GetDuration(duration) : FilterResult::Pointer;
}

FilterResult FilterSeeking::GetStopPosition(i64* stop) const {
  if (!stop) return FilterResult::Pointer;
  if (const CReaderPin* const master = m_source.SeekPin()) {
    *stop = master->Segment().stop;
    if (*stop > 0) return FilterResult::Ok;
  }
  return GetDuration(stop);
}

FilterResult FilterSeeking::GetCurrentPosition(i64* current) const {
  if (!current) return FilterResult::Pointer;
  *current = 0;
  const CReaderPin* const master = m_source.SeekPin();
  return master ? master->GetCurrentPosition(current) : FilterResult::False;
}

FilterResult FilterSeeking::SetPositions(const PositionChange& change, const WorkerFinder& workerOf) const {
  // The master's length bounds every pin; a later pin whose track is shorter moves as well.
  i64 length = 0;
  static_cast<void>(m_source.GetDuration(&length));
  for (const auto& pin : m_source.Pins()) {
    const FilterResult result = ChangePosition(*pin, change, length, workerOf(*pin));
    if (result != FilterResult::Ok) return result;
  }
  return FilterResult::Ok;
}

FilterResult FilterSeeking::GetPositions(i64* current, i64* stop) const {
  const FilterResult currentResult = current ? GetCurrentPosition(current) : FilterResult::Ok;
  const FilterResult stopResult = stop ? GetDuration(stop) : FilterResult::Ok;
  return currentResult == FilterResult::Ok ? stopResult : currentResult;
}

FilterResult PinSeeking::SetTimeFormat(const Guid& format) const {
  if (format == GUID_NULL) return FilterResult::Ok;
  return format == TIME_FORMAT_MEDIA_TIME && IsMaster() ? FilterResult::Ok : FilterResult::NotImplemented;
}

FilterResult PinSeeking::GetCurrentPosition(i64* current) const {
  return IsMaster() ? m_filter.GetCurrentPosition(current) : FilterResult::NotImplemented;
}

FilterResult PinSeeking::ConvertTimeFormat(i64* target, const Guid* targetFormat, i64 source,
                                           const Guid* sourceFormat) const {
  for (const Guid* const format : {targetFormat, sourceFormat}) {
    if (format && *format != TIME_FORMAT_MEDIA_TIME) return FilterResult::InvalidArgument;
  }
  if (!target) return FilterResult::Pointer;
  *target = source;
  return FilterResult::Ok;
}

FilterResult PinSeeking::GetAvailable(i64* earliest, i64* latest) const {
  if (earliest) *earliest = 0;
  return latest ? m_filter.GetDuration(latest) : FilterResult::Ok;
}

FilterResult PinSeeking::GetPreroll(i64* preroll) const {
  if (!preroll) return FilterResult::Pointer;
  *preroll = 0;
  return FilterResult::Ok;
}

}  // namespace kt

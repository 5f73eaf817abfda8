#include "tools/playing/headless_pin.h"

#include <algorithm>

#include "filter/logic/time_conversion.h"
#include "tools/terminal/failure.h"

namespace kt {
HeadlessPin::HeadlessPin(u32 number, const CReaderSource& source, CReaderPin& pin,
                         DeliverySurroundings surroundings, u64 fileSize)
    : m_number(number),
      m_pin(pin),
      m_delivery(source, pin, surroundings),
      m_connection(Connect(fileSize)),
      m_fileSize(fileSize) {}

std::optional<i32> HeadlessPin::FindType() const {
  MediaType type;
  for (i32 position = 0; m_pin.GetMediaType(position, &type) == FilterResult::Ok; ++position) {
    if (!IsFailure(m_pin.CheckMediaType(type))) return position;
  }
  return std::nullopt;
}

FilterResult HeadlessPin::Connect(u64 fileSize) {
  m_typePosition = FindType();
  MediaType type;
  if (const FilterResult result = m_pin.GetMediaType(m_typePosition.value_or(0), &type); IsFailure(result)) {
    return result;
  }
  // Nobody here decodes what there is no type for.
  if (!m_typePosition && !m_pin.IsAdapted()) return FilterResult::InvalidArgument;
  if (const FilterResult result = m_pin.SetMediaType(type); IsFailure(result)) return result;
  if (const FilterResult result = m_pin.DecideBufferSize(&m_buffers); IsFailure(result)) return result;
  // A few bytes can claim the largest pictures. No sample is larger than the file, but one that is no whole
  // byte pair is filled up to it.
  constexpr u64 kBytePair = 2;
  m_sample.SetRoom(static_cast<std::size_t>(std::min<u64>(m_buffers.size, fileSize + kBytePair)));
  return FilterResult::Ok;
}

i64 HeadlessPin::NextStart() const {
  return m_pin.WithPosition([&](CMp4Track* track, const PinPosition& position) -> i64 {
    u64 ticks = 0;
    if (track == nullptr || track->GetSampleDecodingTime(position.m_currentSample + 1, &ticks)) return 0;
    return TicksToHns(ticks, m_pin.TimeScale());
  });
}

std::optional<DeliveredSample> HeadlessPin::Deliver() {
  m_sample.Reset();
  if (m_pin.IsAdapted() && ExceedsFile()) return std::nullopt;
  if (m_delivery.FillBuffer(m_sample) != FilterResult::Ok) return std::nullopt;
  DeliveredSample sample = m_sample.Said();
  sample.number = m_pin.Position().m_currentSample;
  ++m_delivered;
  m_deliveredBytes += sample.size;
  return sample;
}

// An adapted file may end ahead of its samples, so what they claim is held against it one by one.
bool HeadlessPin::ExceedsFile() {
  u32 size = 0;
  m_pin.WithPosition([&](CMp4Track* track, const PinPosition& position) {
    if (track == nullptr || track->GetSampleSize(position.m_currentSample + 1, &size)) size = 0;
  });
  m_takenBytes += size;
  m_exceedsFile = m_takenBytes > m_fileSize;
  return m_exceedsFile;
}

std::string HeadlessPin::EarlyEnd() const {
  if (m_exceedsFile) return "its samples take more bytes than the file has";
  return m_pin.WithPosition([&](CMp4Track* track, const PinPosition& position) {
    return track == nullptr ? std::string() : ReadFailure(*track, position.m_currentSample);
  });
}

std::string HeadlessPin::ReadFailure(CMp4Track& track, u32 sample) const {
  if (sample >= m_pin.SampleCount()) return {};
  const auto because = [&](Mp4Result result) -> std::string {
    return ResultFailure("cannot read sample " + std::to_string(sample), result).what();
  };
  u32 size = 0;
  if (const Mp4Result result = track.GetSampleSize(sample, &size)) return because(result);
  if (size > m_buffers.size) {
    return "sample " + std::to_string(sample) + " has " + std::to_string(size) + " bytes, the buffer only " +
           std::to_string(m_buffers.size);
  }
  std::vector<u8> bytes(size + 1);
  if (const Mp4Result result = track.ReadSample(sample, size, &size, bytes.data())) return because(result);
  return {};
}

}  // namespace kt

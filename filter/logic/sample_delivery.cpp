#include "filter/logic/sample_delivery.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <span>
#include <string>

#include "filter/formats/private_block.h"
#include "filter/logic/time_conversion.h"

namespace kt {

namespace {

/// A caption goes downstream at most 50 ms early.
constexpr i64 kCaptionLeadHns = 500'000;
constexpr i64 kHnsPerMillisecond = 10'000;
/// A longer wait is cut into steps.
constexpr i64 kLongestSingleWait = 500;
constexpr i64 kWaitSteps = 20;
/// A caption sample: a byte that says nothing here, then the two caption bytes.
constexpr u32 kPairOffset = 1;
constexpr u32 kPairSize = 2;
constexpr u32 kSmallestSideBuffer = 6;

/// A text in a video sample: a group of VOP start code with 3 bytes of its own, then user data that begins
/// with this mark, the length of the text and the text (ISO/IEC 14496-2, 6.2.4 and 6.2.2.1).
constexpr u8 kGroupStart[] = {0x00, 0x00, 0x01, 0xB3};
constexpr u8 kTextMark[] = {0x00, 0x00, 0x01, 0xB2, 0x11, 0x22, 0x33, 0x44, 0x01};
constexpr u32 kTextMarkOffset = 7;
constexpr u32 kTextLengthOffset = 16;
constexpr u32 kTextOffset = 17;

/// The stop stamp is divided unsigned, and readers rely on it: for a sample that ends before the base time a
/// very large number comes out.
i64 StopStamp(u64 ticksFromBase, u32 timeScale) {
  if (static_cast<i64>(ticksFromBase) >= 0) return TicksToHns(ticksFromBase, timeScale);
  return static_cast<i64>(ticksFromBase * kHnsPerSecond / timeScale);
}

}  // namespace

CSampleDelivery::CSampleDelivery(const CReaderSource& source, CReaderPin& pin,
                                 DeliverySurroundings surroundings)
    : m_source(source), m_pin(pin), m_surroundings(surroundings) {}

FilterResult CSampleDelivery::FillBuffer(MediaSample& sample) {
  Taken taken;
  if (TakeSample(sample, &taken) != FilterResult::Ok) return FilterResult::False;
  if (m_pin.TimeScale() == 0) return FilterResult::False;

  const SourceSwitches switches = m_source.Switches();
  if (m_pin.Kind() == PIN_LINE21) {
    const i64 due = TicksToHns(taken.decodingTime, m_pin.TimeScale());
    bool interrupted = false;
    if (!switches.m_forExtractor && WaitUntilDue(taken, due, &interrupted) != FilterResult::Ok) {
      return FilterResult::False;
    }
    if (interrupted) return FilterResult::Ok;
    if (switches.m_captionText) {
      m_surroundings.decoder.Decode(taken.buffer + taken.header, kPairSize, due);
      sample.SetActualDataLength(0);
      return FilterResult::Ok;
    }
  }

  if (taken.header) {
    const std::span<u8> stamp(taken.buffer, kStampSize);
    PutLittleEndian(stamp, 0, 8, taken.compositionTime);
    PutLittleEndian(stamp, 8, 8, taken.decodingTime);
  }
  // So the last sample of a track is not delivered; readers rely on where the stream ends.
  if (!taken.hasNext) return FilterResult::False;
  if (Stamp(taken, sample) != FilterResult::Ok) return FilterResult::False;
  if (switches.m_forExtractor) sample.SetActualDataLength(0);
  return FilterResult::Ok;
}

FilterResult CSampleDelivery::TakeSample(MediaSample& sample, Taken* taken) {
  taken->header = m_pin.HeaderSize();
  taken->buffer = sample.GetPointer();
  const u64 room = taken->buffer ? std::min<u64>(sample.GetSize(), std::numeric_limits<u32>::max()) : 0;

  return m_pin.WithPosition([&](CMp4Track* track, PinPosition& position) {
    const bool follows = position.m_currentSample == m_before.m_currentSample &&
                         position.m_startPosition == m_before.m_startPosition;
    taken->number = ++position.m_currentSample;
    taken->isDiscontinuity = !follows || taken->number == 1;
    taken->position = m_before = position;
    u32 size = 0;
    if (!track || track->GetSampleSize(taken->number, &size)) return FilterResult::False;
    const u64 delivered = m_pin.Kind() == PIN_LINE21 ? std::max(size, kPairSize) : size;
    if (delivered + taken->header > room) return FilterResult::False;
    if (!ReadBytes(*track, size, taken)) return FilterResult::False;

    // Times that can not be told stay as they are, only a missing next sample counts.
    static_cast<void>(track->GetSampleDecodingTime(taken->number, &taken->decodingTime));
    static_cast<void>(track->GetSampleCompositionTime(taken->number, &taken->compositionTime));
    taken->hasNext = track->GetSampleDecodingTime(taken->number + 1, &taken->nextTime) == MP4_OK;
    if (m_pin.HasPlatformType() && taken->number == m_pin.SampleCount()) TellEnd(*track, taken);
    static_cast<void>(track->FindSyncSample(taken->compositionTime, &taken->syncSample));
    return IsBeyondStop(*taken) ? FilterResult::False : FilterResult::Ok;
  });
}

bool CSampleDelivery::ReadBytes(CMp4Track& track, u32 size, Taken* taken) const {
  u8* const target = taken->buffer + taken->header;
  if (m_pin.Kind() != PIN_LINE21) return !track.ReadSample(taken->number, size, &taken->size, target);

  std::vector<u8> sideBuffer(std::max(size, kSmallestSideBuffer));
  if (track.ReadSample(taken->number, size, &taken->size, sideBuffer.data())) return false;
  std::memcpy(target, sideBuffer.data() + kPairOffset, kPairSize);
  taken->size = kPairSize;
  return true;
}

void CSampleDelivery::TellEnd(CMp4Track& track, Taken* taken) const {
  u64 first = 0;
  u64 step = 1;
  if (taken->number >= 2 && !track.GetSampleDecodingTime(1, &first)) {
    step = (taken->decodingTime - first) / (taken->number - 1);
  }
  taken->nextTime = taken->decodingTime + step;
  taken->hasNext = true;
}

bool CSampleDelivery::IsBeyondStop(const Taken& taken) const {
  const i64 stop = taken.position.m_stopPosition;
  return stop > 0 && taken.compositionTime > static_cast<u64>(HnsToTicks(stop, m_pin.TimeScale()));
}

FilterResult CSampleDelivery::WaitUntilDue(const Taken& taken, i64 due, bool* interrupted) {
  // Streaming goes on from the start position, so that plus the stream time is the position now.
  const auto now = [&] {
    return SaturatingAdd(taken.position.m_startPosition, m_surroundings.clock.GetStreamTime());
  };
  const i64 entered = now();
  i64 length = 0;
  static_cast<void>(m_source.GetDuration(&length));
  if (entered > length) return FilterResult::False;

  const auto ahead = [&](i64 position) {
    return SaturatingAdd(due, -SaturatingAdd(position, kCaptionLeadHns));
  };
  if (ahead(entered) <= 0) return FilterResult::Ok;
  const i64 milliseconds = ahead(entered) / kHnsPerMillisecond;
  if (milliseconds <= kLongestSingleWait) {
    // Whatever has ended it, the caption is all but due.
    static_cast<void>(m_surroundings.wait.WaitForRequest(static_cast<u32>(milliseconds)));
    return FilterResult::Ok;
  }
  const i64 step = std::min<i64>(milliseconds / kWaitSteps, std::numeric_limits<i32>::max());
  for (i64 i = 0; i < kWaitSteps && !*interrupted; ++i) {
    *interrupted = m_surroundings.wait.WaitForRequest(static_cast<u32>(step));
    // The graph may have begun to run meanwhile.
    if (ahead(now()) <= 0) break;
  }
  return FilterResult::Ok;
}

FilterResult CSampleDelivery::Stamp(const Taken& taken, MediaSample& sample) {
  sample.SetActualDataLength(taken.size + taken.header);
  const i64 start = m_pin.HasPlatformType() ? StampDisplay(taken, sample) : StampDecoding(taken, sample);

  i64 span = 1;
  if (m_pin.Kind() == PIN_AUDIO) {
    switch (m_pin.Format()) {
      case PIN_FORMAT_MPEG4_AUDIO:
        span = 1024;
        break;
      case PIN_FORMAT_AMR_WIDE:
        span = 320;
        break;
      case PIN_FORMAT_AMR_NARROW:
        span = 160;
        break;
      default:
        if (!m_pin.IsAdapted()) return FilterResult::False;
        break;
    }
  }
  // The number of the sample plus the length of one in ticks: unlike units, as readers expect them.
  sample.SetMediaTime(taken.number, taken.number + span);
  if (m_pin.Kind() == PIN_VIDEO) FindMetadataText(taken, start);
  sample.SetSyncPoint(taken.syncSample == taken.number);
  return FilterResult::Ok;
}

i64 CSampleDelivery::StampDecoding(const Taken& taken, MediaSample& sample) const {
  const u64 base = taken.position.m_baseTime;
  const i64 start = SignedTicksToHns(static_cast<i64>(taken.decodingTime - base), m_pin.TimeScale());
  sample.SetTime(start, StopStamp(taken.nextTime - base, m_pin.TimeScale()));
  return start;
}

// The position that was sought is stream time 0 on every pin, so that pictures and sound stay together.
i64 CSampleDelivery::StampDisplay(const Taken& taken, MediaSample& sample) const {
  const i64 time = TicksToHns(taken.compositionTime, m_pin.TimeScale());
  const i64 length = TicksToHns(taken.nextTime - taken.decodingTime, m_pin.TimeScale());
  const i64 start = SaturatingAdd(time, -taken.position.m_startPosition);
  const i64 stop = SaturatingAdd(start, length);
  sample.SetTime(start, stop);
  sample.SetDiscontinuity(taken.isDiscontinuity);
  sample.SetPreroll(start < 0 && stop <= 0);
  return start;
}

void CSampleDelivery::FindMetadataText(const Taken& taken, i64 start) {
  // A stamped sample begins with its times, where no mark stands.
  if (taken.header || taken.size <= kTextOffset) return;
  const u8* const bytes = taken.buffer;
  if (!std::equal(std::begin(kGroupStart), std::end(kGroupStart), bytes)) return;
  if (!std::equal(std::begin(kTextMark), std::end(kTextMark), bytes + kTextMarkOffset)) return;
  const u32 length = bytes[kTextLengthOffset];
  if (length == 0 || taken.size < kTextOffset + length) return;
  const std::string text(bytes + kTextOffset, bytes + kTextOffset + length);
  m_surroundings.texts.AddMetadataText(start, text.c_str());
}

}  // namespace kt

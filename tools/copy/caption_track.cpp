#include "tools/copy/caption_track.h"

#include <algorithm>

namespace kt {

CaptionTrack::CaptionTrack(std::vector<CaptionSample> samples, FrameClock clock)
    : m_samples(std::move(samples)), m_clock(clock) {}

double CaptionTrack::NextTime() const {
  return static_cast<double>(m_samples[m_next].frame * m_clock.ticksPerFrame) / m_clock.timeScale;
}

double CaptionTrack::FirstCaption() const {
  const auto first = std::ranges::find(m_samples, false, &CaptionSample::isFiller);
  return static_cast<double>(first->frame * m_clock.ticksPerFrame) / m_clock.timeScale;
}

double CaptionTrack::Length() const {
  return static_cast<double>((m_samples.back().frame + 1) * m_clock.ticksPerFrame) / m_clock.timeScale;
}

Mp4Result CaptionTrack::Begin(CMp4File& output) {
  CMp4Track* added = nullptr;
  KT_TRY(output.AddTrack(&added));
  m_output.reset(added);
  KT_TRY(m_output->SetTrackType(MP4_KIND_TEXT));
  KT_TRY(m_output->SetTimeScale(m_clock.timeScale));
  return m_output->SetLine21Format(0, 0, 0);
}

Mp4Result CaptionTrack::WriteNext() {
  const CaptionSample& sample = m_samples[m_next];
  const auto bytes = SampleBytes(sample);
  const u64 time = sample.frame * m_clock.ticksPerFrame;
  ++m_next;
  return m_output->WriteSample(bytes.data(), bytes.size(), time, time, sample.beginsCue ? 1 : 0);
}

Mp4Result CaptionTrack::End(CMp4File& output) {
  KT_TRY(output.CloseTrack(m_output.get()));
  static_cast<void>(m_output.release());  // deleted
  return MP4_OK;
}

}  // namespace kt

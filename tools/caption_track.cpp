#include "tools/caption_track.h"

#include "tools/failure.h"

namespace kt {
namespace {

void Require(Mp4Result result) {
  if (result) throw ResultFailure("cannot write the caption track", result);
}

}  // namespace

CaptionTrack::CaptionTrack(std::vector<CaptionSample> samples, FrameClock clock)
    : m_samples(std::move(samples)), m_clock(clock) {}

double CaptionTrack::NextTime() const {
  return static_cast<double>(m_samples[m_next].frame * m_clock.ticksPerFrame) / m_clock.timeScale;
}

void CaptionTrack::Begin(CMp4File& output) {
  CMp4Track* added = nullptr;
  const Mp4Result result = output.AddTrack(&added);
  m_output.reset(added);
  Require(result);
  Require(m_output->SetTrackType(MP4_KIND_TEXT));
  Require(m_output->SetTimeScale(m_clock.timeScale));
  Require(m_output->SetLine21Format(0, 0, 0));
}

void CaptionTrack::WriteNext() {
  const CaptionSample& sample = m_samples[m_next];
  const auto bytes = SampleBytes(sample);
  const u64 time = sample.frame * m_clock.ticksPerFrame;
  Require(m_output->WriteSample(bytes.data(), bytes.size(), time, time, sample.beginsCue ? 1 : 0));
  ++m_next;
}

void CaptionTrack::End(CMp4File& output) {
  Require(output.CloseTrack(m_output.get()));
  static_cast<void>(m_output.release());  // deleted
}

}  // namespace kt

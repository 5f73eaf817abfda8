#pragma once

#include <memory>
#include <vector>

#include "tools/captions/caption_samples.h"
#include "tools/copy/track_source.h"

namespace kt {

/// A Line 21 track that is made of samples in memory.
class CaptionTrack final : public TrackSource {
 public:
  /// There is at least one sample.
  CaptionTrack(std::vector<CaptionSample> samples, FrameClock clock);

  /// When the first sample that is no filler is shown, in seconds.
  double FirstCaption() const;

  Mp4Result Begin(CMp4File& output) override;
  Mp4Result WriteNext() override;
  Mp4Result End(CMp4File& output) override;
  std::string Name() const override { return "the caption track"; }
  bool IsComplete() const override { return m_next == m_samples.size(); }
  double NextTime() const override;
  u64 SampleCount() const override { return m_samples.size(); }
  double Length() const override;
  u64 ByteCount() const override { return 3 * SampleCount(); }
  u64 WrittenBytes() const override { return 3 * m_next; }

 private:
  const std::vector<CaptionSample> m_samples;
  const FrameClock m_clock;
  std::unique_ptr<CMp4Track> m_output;
  std::size_t m_next = 0;
};

}  // namespace kt

#pragma once

#include <deque>
#include <optional>
#include <vector>

#include "filter/decoder/display_times.h"
#include "filter/formats/media_type.h"
#include "module/graph/transform_filter.h"

namespace kt {

/// The filter that the source puts behind a video track, and that graphs find for its sound. It decodes
/// nothing: what comes in a type of the source's own goes out under one for which decoders are installed,
/// with times of presentation. Bytes are neither changed nor, where downstream allows it, copied.
class CMp4DecoderFilter final : public CTransformFilter {
 public:
  static CUnknown* CreateInstance(IUnknown* owner, HRESULT* result);

 private:
  explicit CMp4DecoderFilter(IUnknown* owner);

  HRESULT CheckInputType(const CMediaType& input) override;
  HRESULT GetMediaType(int position, const CMediaType& input, CMediaType* output) override;
  HRESULT CheckTransform(const CMediaType& input, const CMediaType& output) override;
  LONG BytesAhead(const CMediaType& input) override;
  LONG SamplesHeld() override { return CDisplayTimes::kMostWaiting; }

  HRESULT StartStreaming(const CMediaType& input) override;
  HRESULT Transform(CTransformSample& sample, std::span<const BYTE> ahead) override;
  HRESULT DeliverHeld() override;
  void ForgetHeld() override;

  std::optional<SampleTimes> TimesOf(CTransformSample& sample, std::span<const BYTE> stamp) const;
  PictureKind LookAt(const CTransformSample& sample);
  void DeliverReady();

  // Of the stream, under its lock.
  bool m_looksAtPictures = false;
  StreamTimes m_stream;
  CDisplayTimes m_times;
  /// Those whose times these are.
  std::deque<ComPointer<CTransformSample>> m_samples;
};

}  // namespace kt

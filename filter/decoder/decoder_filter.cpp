#include "filter/decoder/decoder_filter.h"

#include <vfwmsgs.h>

#include <algorithm>
#include <utility>

#include <ktmp4/ktmp4source.h>
#include "filter/formats/private_block.h"
#include "filter/formats/standard_types.h"
#include "filter/logic/time_conversion.h"
#include "filter/platform/platform_type.h"

namespace kt {
namespace {

std::vector<MediaType> OutputTypes(const CMediaType& input) {
  return StandardTypes(PlainMediaType(input));
}

}  // namespace

CUnknown* CMp4DecoderFilter::CreateInstance(IUnknown* owner, HRESULT*) {
  return new CMp4DecoderFilter(owner);
}

CMp4DecoderFilter::CMp4DecoderFilter(IUnknown* owner) : CTransformFilter(owner, ::CLSID_KtMp4Decoder) {}

HRESULT CMp4DecoderFilter::CheckInputType(const CMediaType& input) {
  return OutputTypes(input).empty() ? VFW_E_TYPE_NOT_ACCEPTED : S_OK;
}

HRESULT CMp4DecoderFilter::GetMediaType(int position, const CMediaType& input, CMediaType* output) {
  if (position < 0) return E_INVALIDARG;
  const std::vector<MediaType> types = OutputTypes(input);
  const std::size_t index = static_cast<std::size_t>(position);
  return index < types.size() ? StoreMediaType(types[index], output) : VFW_S_NO_MORE_ITEMS;
}

HRESULT CMp4DecoderFilter::CheckTransform(const CMediaType& input, const CMediaType& output) {
  const MediaType wanted = PlainMediaType(output);
  const bool isOffered = std::ranges::any_of(OutputTypes(input), [&](const MediaType& type) {
    return type.majorType == wanted.majorType && type.subtype == wanted.subtype &&
           type.formatType == wanted.formatType && type.format == wanted.format;
  });
  return isOffered ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
}

LONG CMp4DecoderFilter::BytesAhead(const CMediaType& input) {
  return IsStampedSubtype(FromPlatform(input.subtype)) ? LONG{kStampSize} : 0;
}

HRESULT CMp4DecoderFilter::StartStreaming(const CMediaType& input) {
  const MediaType type = PlainMediaType(input);
  const std::span<const u8> block = type.format;
  const bool isVideo = type.majorType == MEDIATYPE_Video;
  m_stream.stampScale = GetLittleEndian32(block, isVideo ? kPictureScaleOffset : kSoundRateOffset);
  m_stream.usualLength = 1;
  if (isVideo) {
    const std::vector<MediaType> types = StandardTypes(type);
    const u64 length = types.empty() ? 0 : GetLittleEndian(types[0].format, kPictureTimeOffset, 8);
    m_stream.usualLength = std::max<i64>(SaturateToSigned(length), 1);
  }
  m_looksAtPictures = type.subtype == MEDIASUBTYPE_KtMp4Video;
  m_times.SetOrder(m_looksAtPictures && block.size() > kPictureSetUpOffset
                       ? ComesInOrderOfDisplay(block.subspan(kPictureSetUpOffset))
                       : std::nullopt);
  return S_OK;
}

HRESULT CMp4DecoderFilter::Transform(CTransformSample& sample, std::span<const BYTE> ahead) {
  // Each of the times has a sample, whatever fails.
  m_samples.emplace_back(&sample);
  m_times.Add(TimesOf(sample, ahead), LookAt(sample));
  DeliverReady();
  // One that waits still.
  if (m_times.IsWaiting()) Keep(sample);
  return S_OK;
}

std::optional<SampleTimes> CMp4DecoderFilter::TimesOf(CTransformSample& sample,
                                                      std::span<const BYTE> stamp) const {
  SampleTimes told;
  const HRESULT result = sample.GetTime(&told.start, &told.stop);
  if (FAILED(result)) return std::nullopt;
  return FittingTimes(m_stream, told, result == S_OK, stamp);
}

PictureKind CMp4DecoderFilter::LookAt(const CTransformSample& sample) {
  if (!m_looksAtPictures) return PictureKind::None;
  if (!m_times.Order()) m_times.SetOrder(ComesInOrderOfDisplay(sample.Bytes()));
  return m_times.Order() == true ? PictureKind::None : KindOfPicture(sample.Bytes());
}

HRESULT CMp4DecoderFilter::DeliverHeld() {
  m_times.Finish();
  DeliverReady();
  return S_OK;
}

void CMp4DecoderFilter::DeliverReady() {
  std::optional<SampleTimes> times;
  while (m_times.TakeReady(&times)) {
    const ComPointer<CTransformSample> sample = std::move(m_samples.front());
    m_samples.pop_front();
    if (times) sample->SetTime(&times->start, &times->stop);
    Deliver(*sample.Get());
  }
}

void CMp4DecoderFilter::ForgetHeld() {
  m_times.Clear();
  m_samples.clear();
}

}  // namespace kt

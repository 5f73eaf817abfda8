#include "filter/decoder/decoder_filter.h"

#include <vfwmsgs.h>

#include <algorithm>
#include <new>

#include <ktmp4/ktmp4source.h>
#include "filter/formats/private_block.h"
#include "filter/formats/standard_types.h"
#include "filter/logic/time_conversion.h"
#include "filter/platform/platform_type.h"

namespace kt {
namespace {

/// Samples ahead of the position that was sought have stops that say nothing, mostly far away.
constexpr REFERENCE_TIME kLongestAhead = i64{3600} * kHnsPerSecond;

std::vector<MediaType> OutputTypes(const CMediaType& input) {
  return StandardTypes(PlainMediaType(input));
}

bool IsSaid(REFERENCE_TIME start, REFERENCE_TIME stop) {
  return stop > start && (start >= 0 || stop <= SaturatingAdd(start, kLongestAhead));
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
  m_stampScale = GetLittleEndian32(block, isVideo ? kPictureScaleOffset : kSoundRateOffset);
  m_usualLength = 1;
  if (isVideo) {
    const std::vector<MediaType> types = StandardTypes(type);
    const u64 length = types.empty() ? 0 : GetLittleEndian(types[0].format, kPictureTimeOffset, 8);
    m_usualLength = std::max<REFERENCE_TIME>(SaturateToSigned(length), 1);
  }
  m_looksAtPictures = type.subtype == MEDIASUBTYPE_KtMp4Video;
  m_times.SetOrder(m_looksAtPictures && block.size() > kPictureSetUpOffset
                       ? ComesInOrderOfDisplay(block.subspan(kPictureSetUpOffset))
                       : std::nullopt);
  return S_OK;
}

HRESULT CMp4DecoderFilter::Transform(CTransformSample& sample, std::span<const BYTE> ahead) {
  FitTimes(sample, ahead);
  m_times.Add(ComPointer<CTransformSample>(&sample), LookAt(sample));
  DeliverReady();
  // One that waits still.
  if (m_times.IsWaiting()) Keep(sample);
  return S_OK;
}

/// Moves the times by what the stamp says, and gives them a stop behind their start.
void CMp4DecoderFilter::FitTimes(CTransformSample& sample, std::span<const BYTE> stamp) const {
  REFERENCE_TIME start = 0, stop = 0;
  const HRESULT result = sample.GetTime(&start, &stop);
  if (FAILED(result)) return;
  const REFERENCE_TIME length = result == S_OK && IsSaid(start, stop) ? stop - start : m_usualLength;
  const i64 behind = static_cast<i64>(GetLittleEndian(stamp, 0, 8) - GetLittleEndian(stamp, 8, 8));
  start = SaturatingAdd(start, SignedTicksToHns(behind, m_stampScale));
  stop = SaturatingAdd(start, length);
  sample.SetTime(&start, &stop);
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
  while (const ComPointer<CTransformSample> sample = m_times.TakeReady()) Deliver(*sample.Get());
}

}  // namespace kt

#include "wine/decoding_filter.h"

#include <evcode.h>
#include <vfwmsgs.h>

#include <algorithm>

#include "module/com/com_edge.h"
#include "wine/class_id.h"

namespace kt {
namespace {

// Of a picture of which nobody knows how long it is shown: the renderer goes by the next one.
constexpr REFERENCE_TIME kPictureLength = 400'000;

}  // namespace

CDecodingInput::CDecodingInput(CDecodingFilter& filter)
    : CBaseInputPin(filter, L"Input", L"In"), m_filter(filter) {}

HRESULT CDecodingInput::CheckMediaType(const CMediaType& type) {
  const auto setUp = SetUpOf(type);
  return setUp && Decoder(*setUp).IsOpen() ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
}

HRESULT CDecodingInput::Active() {
  const StreamGuard lock(m_filter.m_streamLock);
  return AtEdge([&] { return m_filter.Start(); });
}

HRESULT CDecodingInput::Inactive() {
  m_filter.m_isStopped = true;
  // What streams may be waiting for a buffer.
  m_filter.m_output.Inactive();
  const StreamGuard lock(m_filter.m_streamLock);
  m_filter.Forget();
  return S_OK;
}

HRESULT CDecodingInput::Receive(IMediaSample* sample) {
  if (sample == nullptr) return E_POINTER;
  const StreamGuard lock(m_filter.m_streamLock);
  if (m_filter.m_isStopped) return VFW_E_WRONG_STATE;
  if (m_filter.m_isFlushing) return S_FALSE;
  BYTE* bytes = nullptr;
  REFERENCE_TIME start = 0, stop = 0;
  const LONG length = sample->GetActualDataLength();
  if (length <= 0 || FAILED(sample->GetPointer(&bytes)) || FAILED(sample->GetTime(&start, &stop)))
    return S_OK;
  const std::span<const u8> input(bytes, static_cast<std::size_t>(length));
  const HRESULT result = AtEdge([&] { return m_filter.Decode(input, start); });
  if (FAILED(result) && !m_filter.m_isStopped && !m_filter.m_isFlushing) {
    m_filter.m_output.DeliverEndOfStream();
    Host().NotifyEvent(EC_ERRORABORT, result, 0);
  }
  return result;
}

HRESULT CDecodingInput::EndOfStream() {
  const StreamGuard lock(m_filter.m_streamLock);
  if (m_filter.m_isStopped) return VFW_E_WRONG_STATE;
  if (m_filter.m_isFlushing) return S_FALSE;
  AtEdge([&] { return m_filter.Decode({}, 0); });
  m_filter.Forget();
  return m_filter.m_output.DeliverEndOfStream();
}

HRESULT CDecodingInput::BeginFlush() {
  m_filter.m_isFlushing = true;
  ComPointer<IPin> peer;
  return m_filter.m_output.ConnectedTo(peer.Put()) == S_OK ? peer->BeginFlush() : S_OK;
}

HRESULT CDecodingInput::EndFlush() {
  const StreamGuard lock(m_filter.m_streamLock);
  m_filter.Forget();
  ComPointer<IPin> peer;
  const HRESULT result = m_filter.m_output.ConnectedTo(peer.Put()) == S_OK ? peer->EndFlush() : S_OK;
  m_filter.m_isFlushing = false;
  return result;
}

HRESULT CDecodingInput::NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) {
  const StreamGuard lock(m_filter.m_streamLock);
  if (m_filter.m_isStopped) return VFW_E_WRONG_STATE;
  return m_filter.m_output.DeliverNewSegment(start, stop, rate);
}

CDecodingOutput::CDecodingOutput(CDecodingFilter& filter)
    : CBaseOutputPin(filter, PINDIR_OUTPUT, L"Output", L"Out"), m_filter(filter) {}

HRESULT CDecodingOutput::CheckMediaType(const CMediaType& type) {
  const auto setUp = m_filter.InputSetUp();
  return setUp && ShownType(*setUp) == type ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
}

HRESULT CDecodingOutput::GetMediaType(int position, CMediaType* type) {
  const auto setUp = position == 0 ? m_filter.InputSetUp() : std::nullopt;
  return setUp ? type->Set(ShownType(*setUp)) : VFW_S_NO_MORE_ITEMS;
}

HRESULT CDecodingOutput::CheckConnect(IPin* peer) {
  return m_filter.m_input.IsConnected() ? CBaseOutputPin::CheckConnect(peer) : VFW_E_NOT_CONNECTED;
}

HRESULT CDecodingOutput::DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* properties) {
  CMediaType type;
  const HRESULT asked = ConnectionMediaType(&type);
  if (FAILED(asked)) return asked;
  const LONG size = static_cast<LONG>(type.lSampleSize);
  properties->cBuffers = std::max(properties->cBuffers, 4L);
  properties->cbBuffer = std::max(properties->cbBuffer, size);
  ALLOCATOR_PROPERTIES actual = {};
  const HRESULT result = allocator->SetProperties(properties, &actual);
  return FAILED(result) || actual.cbBuffer >= size ? result : E_FAIL;
}

CUnknown* CDecodingFilter::CreateInstance(IUnknown* owner, HRESULT*) {
  return new CDecodingFilter(owner);
}

// The base only keeps the address of the lock, which is there before the object is.
CDecodingFilter::CDecodingFilter(IUnknown* owner)
    : CBaseFilter(owner, m_decodingStateLock, CLSID_WineDecoder) {}

CBasePin* CDecodingFilter::GetPin(ULONG index) {
  if (index == 0) return &m_input;
  return index == 1 ? &m_output : nullptr;
}

std::optional<DecoderSetUp> CDecodingFilter::InputSetUp() {
  CMediaType input;
  return SUCCEEDED(m_input.ConnectionMediaType(&input)) ? SetUpOf(input) : std::nullopt;
}

HRESULT CDecodingFilter::Start() {
  const auto setUp = InputSetUp();
  if (!setUp) return VFW_E_NOT_CONNECTED;
  m_setUp = *setUp;
  m_isFlushing = false;
  m_isStopped = false;
  return S_OK;
}

HRESULT CDecodingFilter::Decode(std::span<const u8> bytes, REFERENCE_TIME time) {
  if (!m_decoder) m_decoder.emplace(m_setUp);
  // A sample that is broken is passed over, as players do.
  const auto all = m_decoder->Decode(bytes, time);
  HRESULT result = S_OK;
  for (std::size_t i = 0; all && i < all->size() && result == S_OK; ++i) {
    // What is due before the begin is not shown.
    if (all->at(i).time >= 0) result = DeliverDecoded(all->at(i));
  }
  return result;
}

HRESULT CDecodingFilter::DeliverDecoded(const Decoded& decoded) {
  const bool isPicture = m_setUp.width > 0;
  // Pictures of another size, or with more than 8 bits, have no place in what was agreed.
  if (isPicture && decoded.bytes.size() != PictureSize(m_setUp)) return VFW_E_TYPE_NOT_ACCEPTED;
  ComPointer<IMediaSample> sample;
  HRESULT result = m_output.GetDeliveryBuffer(sample.Put());
  if (FAILED(result)) return result;
  BYTE* target = nullptr;
  result = sample->GetPointer(&target);
  if (FAILED(result)) return result;
  const LONG size = isPicture ? m_setUp.width * m_setUp.height * 4 : static_cast<LONG>(decoded.bytes.size());
  if (size > sample->GetSize()) return VFW_E_BUFFER_OVERFLOW;
  REFERENCE_TIME start = decoded.time, stop = start + kPictureLength;
  if (isPicture) {
    ShowPicture(decoded.bytes, m_setUp, target);
  } else {
    std::copy(decoded.bytes.begin(), decoded.bytes.end(), target);
    stop = start + i64{size} * 10'000'000 / m_setUp.channels / 2 / m_setUp.rate;
  }
  sample->SetActualDataLength(size);
  sample->SetTime(&start, &stop);
  sample->SetSyncPoint(TRUE);
  return m_output.Deliver(sample.Get());
}

}  // namespace kt

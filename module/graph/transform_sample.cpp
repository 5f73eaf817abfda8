#include "module/graph/transform_sample.h"

#include <vfwmsgs.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "module/com/com_edge.h"

namespace kt {

bool BringsOtherType(IMediaSample* sample, CBasePin& pin) {
  AM_MEDIA_TYPE* type = nullptr;
  if (sample->GetMediaType(&type) != S_OK || type == nullptr) return false;
  const bool isOther = pin.QueryAccept(type) != S_OK;
  DeleteMediaType(type);
  return isOther;
}

CTransformSample::CTransformSample(IMediaSample* sample, LONG ahead, KeptCount kept)
    : CUnknown(nullptr), m_kept(std::move(kept)), m_upstream(sample) {
  ThrowIfFailed(sample->GetPointer(&m_bytes));
  const LONG size = sample->GetSize();
  const LONG length = sample->GetActualDataLength();
  if (m_bytes == nullptr || ahead < 0 || length < ahead || size < length)
    throw CResultException{E_INVALIDARG};
  m_bytes += ahead;
  m_size = size - ahead;
  m_length = length - ahead;
  m_timeResult = sample->GetTime(&m_start, &m_stop);
  m_mediaTimeResult = sample->GetMediaTime(&m_mediaStart, &m_mediaStop);
  m_isSyncPoint = sample->IsSyncPoint() == S_OK;
  m_isPreroll = sample->IsPreroll() == S_OK;
  m_isDiscontinuity = sample->IsDiscontinuity() == S_OK;
  ++*m_kept;
}

CTransformSample::~CTransformSample() {
  ReleaseUpstream();
}

void CTransformSample::ReleaseUpstream() {
  if (!m_upstream) return;
  m_upstream.Reset();
  --*m_kept;
}

HRESULT CTransformSample::NonDelegatingQueryInterface(REFIID iid, void** object) {
  if (iid == IID_IMediaSample) return GetInterface(static_cast<IMediaSample*>(this), object);
  return CUnknown::NonDelegatingQueryInterface(iid, object);
}

void CTransformSample::OwnBytes() {
  if (!m_upstream) return;
  // Room for a byte, so that a pointer is there also to none.
  std::vector<BYTE> own(static_cast<std::size_t>(std::max(m_length, LONG{1})));
  std::copy_n(m_bytes, m_length, own.begin());
  m_own = std::move(own);
  m_bytes = m_own.data();
  m_size = m_length;
  ReleaseUpstream();
}

HRESULT CTransformSample::CopyTo(IMediaSample* target) {
  BYTE* bytes = nullptr;
  if (target->GetSize() < m_length) return VFW_E_BUFFER_OVERFLOW;
  HRESULT result = target->GetPointer(&bytes);
  if (FAILED(result)) return result;
  if (m_length > 0) std::memcpy(bytes, m_bytes, static_cast<std::size_t>(m_length));
  result = target->SetActualDataLength(m_length);
  if (FAILED(result)) return result;
  REFERENCE_TIME* const none = nullptr;
  target->SetTime(FAILED(m_timeResult) ? none : &m_start, m_timeResult == S_OK ? &m_stop : none);
  const bool hasMediaTime = SUCCEEDED(m_mediaTimeResult);
  target->SetMediaTime(hasMediaTime ? &m_mediaStart : none, hasMediaTime ? &m_mediaStop : none);
  target->SetSyncPoint(m_isSyncPoint);
  target->SetPreroll(m_isPreroll);
  target->SetDiscontinuity(m_isDiscontinuity);
  return S_OK;
}

HRESULT CTransformSample::GetPointer(BYTE** bytes) {
  if (bytes == nullptr) return E_POINTER;
  *bytes = m_bytes;
  return S_OK;
}

HRESULT CTransformSample::GetTime(REFERENCE_TIME* start, REFERENCE_TIME* stop) {
  if (start == nullptr || stop == nullptr) return E_POINTER;
  if (FAILED(m_timeResult)) return m_timeResult;
  *start = m_start;
  *stop = m_stop;
  return m_timeResult;
}

HRESULT CTransformSample::SetTime(REFERENCE_TIME* start, REFERENCE_TIME* stop) {
  m_timeResult = VFW_E_SAMPLE_TIME_NOT_SET;
  if (start == nullptr) return S_OK;
  m_timeResult = stop != nullptr ? S_OK : VFW_S_NO_STOP_TIME;
  m_start = *start;
  m_stop = stop != nullptr ? *stop : *start;
  return S_OK;
}

HRESULT CTransformSample::SetSyncPoint(WINBOOL isSyncPoint) {
  m_isSyncPoint = isSyncPoint;
  return S_OK;
}

HRESULT CTransformSample::SetPreroll(WINBOOL isPreroll) {
  m_isPreroll = isPreroll;
  return S_OK;
}

HRESULT CTransformSample::SetActualDataLength(LONG length) {
  if (length < 0 || length > m_size) return VFW_E_BUFFER_OVERFLOW;
  m_length = length;
  return S_OK;
}

HRESULT CTransformSample::GetMediaType(AM_MEDIA_TYPE** type) {
  if (type == nullptr) return E_POINTER;
  *type = nullptr;
  return S_FALSE;
}

HRESULT CTransformSample::SetMediaType(AM_MEDIA_TYPE* type) {
  return type == nullptr ? S_OK : E_NOTIMPL;
}

HRESULT CTransformSample::SetDiscontinuity(WINBOOL isDiscontinuity) {
  m_isDiscontinuity = isDiscontinuity;
  return S_OK;
}

HRESULT CTransformSample::GetMediaTime(LONGLONG* start, LONGLONG* stop) {
  if (start == nullptr || stop == nullptr) return E_POINTER;
  if (FAILED(m_mediaTimeResult)) return m_mediaTimeResult;
  *start = m_mediaStart;
  *stop = m_mediaStop;
  return S_OK;
}

HRESULT CTransformSample::SetMediaTime(LONGLONG* start, LONGLONG* stop) {
  m_mediaTimeResult = start != nullptr && stop != nullptr ? S_OK : VFW_E_MEDIA_TIME_NOT_SET;
  if (FAILED(m_mediaTimeResult)) return S_OK;
  m_mediaStart = *start;
  m_mediaStop = *stop;
  return S_OK;
}

}  // namespace kt

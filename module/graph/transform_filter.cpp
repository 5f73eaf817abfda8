#include "module/graph/transform_filter.h"

namespace kt {

// The base only keeps the address of the lock, which is there before the object is.
CTransformFilter::CTransformFilter(IUnknown* owner, REFCLSID clsid)
    : CBaseFilter(owner, m_transformStateLock, clsid) {}

CBasePin* CTransformFilter::GetPin(ULONG index) {
  if (index == 0) return &m_input;
  return index == 1 ? &m_output : nullptr;
}

bool CTransformFilter::GetInputType(CMediaType* type) {
  return SUCCEEDED(m_input.ConnectionMediaType(type));
}

HRESULT CTransformFilter::Deliver(CTransformSample& sample) {
  if (m_answer == S_OK) m_answer = m_output.Send(sample);
  return m_answer;
}

void CTransformFilter::Keep(CTransformSample& sample) {
  if (m_input.IsLastBuffer()) sample.OwnBytes();
}

}  // namespace kt

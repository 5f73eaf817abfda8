#include "filter/decoder/display_times.h"

#include <utility>

#include "filter/logic/time_conversion.h"

namespace kt {

void CDisplayTimes::Add(ComPointer<CTransformSample> sample, PictureKind kind) {
  REFERENCE_TIME start = 0, stop = 0;
  const bool isTimed = SUCCEEDED(sample->GetTime(&start, &stop));
  if (kind == PictureKind::Between && !m_inOrderOfDisplay) m_inOrderOfDisplay = false;
  const bool isReference = kind == PictureKind::Reference && m_inOrderOfDisplay == false;
  if (isReference) ShowWaiting(isTimed ? start : m_lastStop);
  m_samples.push_back(std::move(sample));
  if (isTimed) m_lastStop = stop;
  const bool isWaiting = m_ready + 1 < m_samples.size() || (isReference && isTimed);
  if (!isWaiting) m_ready = m_samples.size();
  if (m_samples.size() > kMostWaiting) Finish();
}

void CDisplayTimes::Finish() {
  ShowWaiting(m_lastStop);
}

void CDisplayTimes::ShowWaiting(REFERENCE_TIME start) {
  if (m_ready == m_samples.size()) return;
  CTransformSample& waiting = *m_samples[m_ready].Get();
  REFERENCE_TIME decoded = 0, stop = 0;
  waiting.GetTime(&decoded, &stop);
  stop = SaturatingAdd(start, stop - decoded);
  waiting.SetTime(&start, &stop);
  m_ready = m_samples.size();
}

void CDisplayTimes::Clear() {
  m_samples.clear();
  m_ready = 0;
}

ComPointer<CTransformSample> CDisplayTimes::TakeReady() {
  if (m_ready == 0) return {};
  ComPointer<CTransformSample> sample = std::move(m_samples.front());
  m_samples.pop_front();
  --m_ready;
  return sample;
}

}  // namespace kt

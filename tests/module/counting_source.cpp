#include "module/counting_source.h"

#include <uuids.h>
#include <vfwmsgs.h>

#include <cstring>
#include <memory>

namespace kt::test {

CCountingPin::CCountingPin(CSource& source, const CountingScript& script)
    : CSourceStream(source, L"Numbers"), m_script(script) {}

HRESULT CCountingPin::CheckMediaType(const CMediaType& type) {
  const bool known = type.subtype == kFirstSubtype || type.subtype == kSecondSubtype;
  return type.majortype == MEDIATYPE_Stream && known ? S_OK : E_INVALIDARG;
}

HRESULT CCountingPin::GetMediaType(int position, CMediaType* type) {
  if (position > 1) return VFW_S_NO_MORE_ITEMS;
  type->majortype = MEDIATYPE_Stream;
  type->subtype = position == 0 ? kFirstSubtype : kSecondSubtype;
  type->formattype = FORMAT_None;
  return type->SetFormat(&position, sizeof position);
}

HRESULT CCountingPin::DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* properties) {
  m_asked = *properties;
  properties->cBuffers = 1;
  properties->cbBuffer = sizeof(ULONG);
  ALLOCATOR_PROPERTIES actual = {};
  return allocator->SetProperties(properties, &actual);
}

HRESULT CCountingPin::FillBuffer(IMediaSample* sample) {
  const ULONG number = m_due;
  if (number > m_script.m_samples) return S_FALSE;
  const HRESULT result = m_script.m_fill ? m_script.m_fill(number) : S_OK;
  if (result != S_OK) return result;
  BYTE* bytes = nullptr;
  sample->GetPointer(&bytes);
  std::memcpy(bytes, &number, sizeof number);
  m_due = number + 1;
  return sample->SetActualDataLength(sizeof number);
}

HRESULT CCountingPin::OnThreadCreate() {
  ++m_threads;
  return m_failStart ? E_ABORT : m_script.m_threadCreate;
}

HRESULT CCountingPin::OnThreadDestroy() {
  --m_threads;
  return S_OK;
}

HRESULT CCountingPin::OnThreadStartPlay() {
  return DeliverNewSegment(m_due, 0, 1.0);
}

void CCountingPin::Seek(ULONG number) {
  const CAutoLock lock(Filter().StateLock());
  const bool running = ThreadExists();
  if (running) {
    DeliverBeginFlush();
    CallWorker(CMD_STOP);
  }
  m_due = number;
  if (running) {
    DeliverEndFlush();
    CallWorker(CMD_RUN);
  }
}

CCountingSource::CCountingSource(IUnknown* owner, CountingScript script)
    : CSource(owner, CLSID_CountingSource), m_script(std::move(script)) {
  AddAnotherPin();
}

void CCountingSource::AddAnotherPin() {
  AddPin(std::make_unique<CCountingPin>(*this, m_script));
}

}  // namespace kt::test

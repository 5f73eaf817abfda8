#include "filter/platform/output_pin.h"

#include <uuids.h>

#include <optional>

#include "filter/platform/file_reader_filter.h"
#include "filter/platform/platform_guid.h"
#include "filter/platform/platform_result.h"
#include "filter/platform/platform_type.h"

namespace kt {
namespace {

/// The logic's view of a media sample of the platform.
class CSampleView final : public MediaSample {
 public:
  explicit CSampleView(IMediaSample* sample) : m_sample(sample) {}

  u8* GetPointer() override {
    BYTE* bytes = nullptr;
    return FAILED(m_sample->GetPointer(&bytes)) ? nullptr : bytes;
  }
  u64 GetSize() override {
    const LONG size = m_sample->GetSize();
    return size > 0 ? static_cast<u64>(size) : 0;
  }
  void SetActualDataLength(u32 length) override { m_sample->SetActualDataLength(static_cast<LONG>(length)); }
  void SetTime(i64 start, i64 stop) override { m_sample->SetTime(&start, &stop); }
  void SetMediaTime(i64 start, i64 stop) override { m_sample->SetMediaTime(&start, &stop); }
  void SetSyncPoint(bool isSyncPoint) override { m_sample->SetSyncPoint(isSyncPoint); }
  void SetDiscontinuity(bool isDiscontinuity) override { m_sample->SetDiscontinuity(isDiscontinuity); }
  void SetPreroll(bool isPreroll) override { m_sample->SetPreroll(isPreroll); }

 private:
  IMediaSample* const m_sample;
};

/// The identifiers alone, by which types are told apart.
MediaType IdentifiersOf(const CMediaType& type) {
  MediaType told;
  told.majorType = FromPlatform(type.majortype);
  told.subtype = FromPlatform(type.subtype);
  told.formatType = FromPlatform(type.formattype);
  return told;
}

/// Names of pins are plain ASCII.
std::wstring WideName(const std::string& name) {
  return {name.begin(), name.end()};
}

}  // namespace

CMp4FileReaderOutputPin::CMp4FileReaderOutputPin(CMP4FileReaderFilter& filter, CReaderPin& pin)
    : CSourceStream(filter, WideName(pin.Name())),
      m_filter(filter),
      m_pin(pin),
      m_seeking(filter.Seeking(), pin),
      m_delivery(filter.Source(), pin, filter.Surroundings(m_wait)) {}

HRESULT CMp4FileReaderOutputPin::NonDelegatingQueryInterface(REFIID iid, void** object) {
  if (iid == IID_IMediaSeeking) return GetInterface(static_cast<IMediaSeeking*>(this), object);
  if (iid == IID_IStreamBuilder) return GetInterface(static_cast<IStreamBuilder*>(this), object);
  return CSourceStream::NonDelegatingQueryInterface(iid, object);
}

HRESULT CMp4FileReaderOutputPin::CheckMediaType(const CMediaType& type) {
  return ToPlatform(m_pin.CheckMediaType(IdentifiersOf(type)));
}

HRESULT CMp4FileReaderOutputPin::GetMediaType(int position, CMediaType* type) {
  MediaType offered;
  const FilterResult result = m_pin.GetMediaType(position, &offered);
  return result == FilterResult::Ok ? StoreMediaType(offered, type) : ToPlatform(result);
}

HRESULT CMp4FileReaderOutputPin::SetMediaType(const CMediaType& type) {
  static_cast<void>(m_pin.SetMediaType(IdentifiersOf(type)));
  return CSourceStream::SetMediaType(type);
}

HRESULT CMp4FileReaderOutputPin::DecideBufferSize(IMemAllocator* allocator,
                                                  ALLOCATOR_PROPERTIES* properties) {
  BufferRequest request;
  const FilterResult decided = m_pin.DecideBufferSize(&request);
  if (decided != FilterResult::Ok) return ToPlatform(decided);
  properties->cBuffers = static_cast<long>(request.count);
  properties->cbBuffer = static_cast<long>(request.size);
  ALLOCATOR_PROPERTIES actual = {};
  const HRESULT result = allocator->SetProperties(properties, &actual);
  if (FAILED(result)) return result;
  return ToPlatform(CReaderPin::CheckBufferSize(request, actual.cbBuffer));
}

HRESULT CMp4FileReaderOutputPin::FillBuffer(IMediaSample* sample) {
  CSampleView view(sample);
  return ToPlatform(m_delivery.FillBuffer(view));
}

HRESULT CMp4FileReaderOutputPin::OnThreadStartPlay() {
  const PinSegment segment = m_pin.Segment();
  DeliverNewSegment(segment.start, segment.stop, segment.rate);
  return S_OK;
}

HRESULT CMp4FileReaderOutputPin::Render(IPin* pin, IGraphBuilder* graph) {
  return AtEdge([&] { return m_filter.RenderPin(pin, m_pin, graph); });
}

HRESULT CMp4FileReaderOutputPin::Backout(IPin*, IGraphBuilder*) {
  return S_OK;
}

HRESULT CMp4FileReaderOutputPin::GetCapabilities(DWORD* caps) {
  return m_filter.GetCapabilities(caps);
}

HRESULT CMp4FileReaderOutputPin::CheckCapabilities(DWORD* caps) {
  return m_filter.CheckCapabilities(caps);
}

HRESULT CMp4FileReaderOutputPin::IsFormatSupported(const GUID* format) {
  return m_filter.IsFormatSupported(format);
}

HRESULT CMp4FileReaderOutputPin::QueryPreferredFormat(GUID* format) {
  return m_filter.QueryPreferredFormat(format);
}

HRESULT CMp4FileReaderOutputPin::GetTimeFormat(GUID* format) {
  return m_filter.GetTimeFormat(format);
}

HRESULT CMp4FileReaderOutputPin::IsUsingTimeFormat(const GUID* format) {
  return m_filter.IsUsingTimeFormat(format);
}

HRESULT CMp4FileReaderOutputPin::SetTimeFormat(const GUID* format) {
  return format == nullptr ? E_POINTER : ToPlatform(m_seeking.SetTimeFormat(FromPlatform(*format)));
}

HRESULT CMp4FileReaderOutputPin::GetDuration(LONGLONG* duration) {
  return m_filter.GetDuration(duration);
}

HRESULT CMp4FileReaderOutputPin::GetStopPosition(LONGLONG* stop) {
  return ToPlatform(m_seeking.GetStopPosition(stop));
}

HRESULT CMp4FileReaderOutputPin::GetCurrentPosition(LONGLONG* current) {
  return ToPlatform(m_seeking.GetCurrentPosition(current));
}

HRESULT CMp4FileReaderOutputPin::ConvertTimeFormat(LONGLONG* target, const GUID* targetFormat,
                                                   LONGLONG source, const GUID* sourceFormat) {
  const auto told = [](const GUID* format) {
    return format == nullptr ? std::nullopt : std::optional(FromPlatform(*format));
  };
  const std::optional<Guid> to = told(targetFormat);
  const std::optional<Guid> from = told(sourceFormat);
  return ToPlatform(
      m_seeking.ConvertTimeFormat(target, to ? &*to : nullptr, source, from ? &*from : nullptr));
}

HRESULT CMp4FileReaderOutputPin::SetPositions(LONGLONG* current, DWORD currentFlags, LONGLONG* stop,
                                              DWORD stopFlags) {
  // Only the master needs the state lock, which a renderer that passes a seek on from elsewhere may not get.
  return m_seeking.IsMaster() ? m_filter.SetPositions(current, currentFlags, stop, stopFlags) : S_OK;
}

HRESULT CMp4FileReaderOutputPin::GetPositions(LONGLONG* current, LONGLONG* stop) {
  return m_filter.GetPositions(current, stop);
}

HRESULT CMp4FileReaderOutputPin::GetAvailable(LONGLONG* earliest, LONGLONG* latest) {
  return ToPlatform(m_seeking.GetAvailable(earliest, latest));
}

HRESULT CMp4FileReaderOutputPin::SetRate(double rate) {
  return m_filter.SetRate(rate);
}

HRESULT CMp4FileReaderOutputPin::GetRate(double* rate) {
  return m_filter.GetRate(rate);
}

HRESULT CMp4FileReaderOutputPin::GetPreroll(LONGLONG* preroll) {
  return ToPlatform(m_seeking.GetPreroll(preroll));
}

bool CMp4FileReaderOutputPin::CWait::WaitForRequest(u32 milliseconds) {
  if (!m_pin.CAMThread::WaitForRequest(milliseconds)) return false;
  DWORD request = 0;
  if (m_pin.CheckRequest(&request) && request != CMD_RUN && request != CMD_PAUSE) return true;
  // The worker's loop answers when the sample is out; until then there is no other request.
  Sleep(milliseconds);
  return false;
}

void CMp4FileReaderOutputPin::CWorker::BeginFlush() {
  m_pin.DeliverBeginFlush();
}

void CMp4FileReaderOutputPin::CWorker::StopWorker() {
  m_pin.CallWorker(CMD_STOP);
}

void CMp4FileReaderOutputPin::CWorker::EndFlush() {
  m_pin.DeliverEndFlush();
}

void CMp4FileReaderOutputPin::CWorker::RunWorker() {
  m_pin.CallWorker(CMD_RUN);
}

}  // namespace kt

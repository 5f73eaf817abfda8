#pragma once

#include "filter/logic/sample_delivery.h"
#include "filter/logic/seeking.h"
#include "module/graph/source_stream.h"

namespace kt {

class CMP4FileReaderFilter;

/// An output pin: one track, delivered by a worker of its own. What it decides stands in the logic's pin.
class CMp4FileReaderOutputPin final : public CSourceStream, public IStreamBuilder, public IMediaSeeking {
 public:
  /// `pin` lives as long as the filter, which is the owner of both.
  CMp4FileReaderOutputPin(CMP4FileReaderFilter& filter, CReaderPin& pin);
  DECLARE_IUNKNOWN
  HRESULT NonDelegatingQueryInterface(REFIID iid, void** object) override;

  HRESULT CheckMediaType(const CMediaType& type) override;
  HRESULT GetMediaType(int position, CMediaType* type) override;
  HRESULT SetMediaType(const CMediaType& type) override;
  HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* properties) override;

  // IStreamBuilder
  HRESULT STDMETHODCALLTYPE Render(IPin* pin, IGraphBuilder* graph) override;
  HRESULT STDMETHODCALLTYPE Backout(IPin* pin, IGraphBuilder* graph) override;

  // IMediaSeeking
  HRESULT STDMETHODCALLTYPE GetCapabilities(DWORD* caps) override;
  HRESULT STDMETHODCALLTYPE CheckCapabilities(DWORD* caps) override;
  HRESULT STDMETHODCALLTYPE IsFormatSupported(const GUID* format) override;
  HRESULT STDMETHODCALLTYPE QueryPreferredFormat(GUID* format) override;
  HRESULT STDMETHODCALLTYPE GetTimeFormat(GUID* format) override;
  HRESULT STDMETHODCALLTYPE IsUsingTimeFormat(const GUID* format) override;
  HRESULT STDMETHODCALLTYPE SetTimeFormat(const GUID* format) override;
  HRESULT STDMETHODCALLTYPE GetDuration(LONGLONG* duration) override;
  HRESULT STDMETHODCALLTYPE GetStopPosition(LONGLONG* stop) override;
  HRESULT STDMETHODCALLTYPE GetCurrentPosition(LONGLONG* current) override;
  HRESULT STDMETHODCALLTYPE ConvertTimeFormat(LONGLONG* target, const GUID* targetFormat, LONGLONG source,
                                              const GUID* sourceFormat) override;
  HRESULT STDMETHODCALLTYPE SetPositions(LONGLONG* current, DWORD currentFlags, LONGLONG* stop,
                                         DWORD stopFlags) override;
  HRESULT STDMETHODCALLTYPE GetPositions(LONGLONG* current, LONGLONG* stop) override;
  HRESULT STDMETHODCALLTYPE GetAvailable(LONGLONG* earliest, LONGLONG* latest) override;
  HRESULT STDMETHODCALLTYPE SetRate(double rate) override;
  HRESULT STDMETHODCALLTYPE GetRate(double* rate) override;
  HRESULT STDMETHODCALLTYPE GetPreroll(LONGLONG* preroll) override;

  /// The pin without the platform.
  const CReaderPin& Logic() const { return m_pin; }
  /// Stops and restarts the worker around a change of position; null when there is none.
  PinWorker* Worker() { return ThreadExists() ? &m_worker : nullptr; }

 protected:
  HRESULT FillBuffer(IMediaSample* sample) override;
  HRESULT OnThreadStartPlay() override;

 private:
  /// The wait of a pin whose next caption is not due yet.
  class CWait final : public RequestWait {
   public:
    explicit CWait(CMp4FileReaderOutputPin& pin) : m_pin(pin) {}
    bool WaitForRequest(u32 milliseconds) override;

   private:
    CMp4FileReaderOutputPin& m_pin;
  };
  class CWorker final : public PinWorker {
   public:
    explicit CWorker(CMp4FileReaderOutputPin& pin) : m_pin(pin) {}
    void BeginFlush() override;
    void StopWorker() override;
    void EndFlush() override;
    void RunWorker() override;

   private:
    CMp4FileReaderOutputPin& m_pin;
  };

  CMP4FileReaderFilter& m_filter;
  CReaderPin& m_pin;
  const PinSeeking m_seeking;
  CWait m_wait{*this};
  CWorker m_worker{*this};
  CSampleDelivery m_delivery;
};

}  // namespace kt

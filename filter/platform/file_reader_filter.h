#pragma once

#include <ocidl.h>
#include <strmif.h>

#include <ktmp4/ktmp4source.h>
#include "filter/logic/line21_text_decoder.h"
#include "filter/logic/reader_source.h"
#include "filter/logic/seeking.h"
#include "filter/logic/text_delivery.h"
#include "filter/logic/track_facts.h"
#include "filter/platform/graph_assembly.h"
#include "filter/platform/output_pin.h"
#include "filter/platform/text_roads.h"
#include "module/graph/source.h"

namespace kt {

/// The source filter: the logic's source under the platform's interfaces. What a method decides stands in the
/// logic; here values are handed over and answers given back.
class CMP4FileReaderFilter final : public CSource,
                                   public IFileSourceFilter,
                                   public IMediaSeeking,
                                   public IMP4FileReader,
                                   public ISpecifyPropertyPages,
                                   public IMetadataStorage {
 public:
  /// For the class table. E_OUTOFMEMORY in `result`.
  static CUnknown* CreateInstance(IUnknown* owner, HRESULT* result);

  explicit CMP4FileReaderFilter(IUnknown* owner);
  ~CMP4FileReaderFilter() override;
  DECLARE_IUNKNOWN
  HRESULT NonDelegatingQueryInterface(REFIID iid, void** object) override;

  /// Notes another filter of this class in the graph; `Load` then refuses.
  HRESULT STDMETHODCALLTYPE JoinFilterGraph(IFilterGraph* graph, LPCWSTR name) override;

  // IFileSourceFilter
  /// VFW_E_WRONG_STATE on a filter that is not stopped, and while another `Load` shows one of its messages.
  HRESULT STDMETHODCALLTYPE Load(LPCOLESTR name, const AM_MEDIA_TYPE* type) override;
  HRESULT STDMETHODCALLTYPE GetCurFile(LPOLESTR* name, AM_MEDIA_TYPE* type) override;

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

  // IMP4FileReader
  HRESULT STDMETHODCALLTYPE GetTrackCount(UINT32* count) override;
  HRESULT STDMETHODCALLTYPE GetMovieTimeScale(UINT32* timeScale) override;
  HRESULT STDMETHODCALLTYPE GetTrackId(INT32 index, UINT32* id) override;
  HRESULT STDMETHODCALLTYPE GetTrackType(INT32 index, UINT32* type) override;
  HRESULT STDMETHODCALLTYPE GetSampleCount(INT32 index, UINT32* count) override;
  HRESULT STDMETHODCALLTYPE GetTimeScale(INT32 index, UINT32* timeScale) override;
  HRESULT STDMETHODCALLTYPE GetDuration(INT32 index, UINT64* duration) override;

  // ISpecifyPropertyPages
  HRESULT STDMETHODCALLTYPE GetPages(CAUUID* pages) override;

  // IMetadataStorage
  HRESULT STDMETHODCALLTYPE Enable(INT32 type, INT32 enabled) override;
  HRESULT STDMETHODCALLTYPE GetItem(UINT32 type, UINT64* time, char** text) override;

  // For the pins.

  const CReaderSource& Source() const { return m_source; }
  const FilterSeeking& Seeking() const { return m_seeking; }
  /// What the delivery of a pin works with, whose worker waits by `wait`.
  DeliverySurroundings Surroundings(RequestWait& wait);
  /// Builds what stands downstream of a pin.
  HRESULT RenderPin(IPin* pin, const CReaderPin& logic, IGraphBuilder* graph);

 private:
  class CHost final : public ReaderHost {
   public:
    explicit CHost(CMP4FileReaderFilter& filter) : m_filter(filter) {}
    void ShowError(const char* text) override;
    bool AddPin(CReaderPin& pin) override;

   private:
    CMP4FileReaderFilter& m_filter;
  };
  class CClock final : public StreamClock {
   public:
    explicit CClock(CMP4FileReaderFilter& filter) : m_filter(filter) {}
    i64 GetStreamTime() override { return m_filter.StreamTime(); }

   private:
    CMP4FileReaderFilter& m_filter;
  };

  bool HasCompanion(IFilterGraph* graph);
  /// Null when the pin has no worker thread.
  PinWorker* WorkerOf(const CReaderPin& pin);
  template <class T>
  HRESULT Tell(FilterResult (FileFacts::*get)(i32, T*) const, INT32 index, T* value) const;

  CHost m_host{*this};
  CClock m_clock{*this};
  CTextRoads m_roads{*this};
  CReaderSource m_source{m_host};
  TextStorage m_storage;
  TextDelivery m_texts{m_source, m_storage, m_roads};
  Line21TextDecoder m_captionDecoder{m_texts};
  const FilterSeeking m_seeking{m_source};
  const LoadedFileFacts m_facts{m_source};
  CGraphAssembly m_assembly;
};

}  // namespace kt

#include "filter/platform/file_reader_filter.h"

#include <objbase.h>
#include <uuids.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <new>

#include "filter/platform/code_page.h"
#include "filter/platform/platform_guid.h"
#include "filter/platform/platform_result.h"

namespace kt {
namespace {

/// Memory that the caller frees; null without it.
template <class T>
T* TaskMemory(std::size_t count) {
  return static_cast<T*>(CoTaskMemAlloc(count * sizeof(T)));
}

// The systems of the older line let several of these filters play at once.
bool IsNtPlatform() {
  OSVERSIONINFOA version = {};
  version.dwOSVersionInfoSize = sizeof version;
  return GetVersionExA(&version) && version.dwPlatformId == VER_PLATFORM_WIN32_NT;
}

}  // namespace

CUnknown* CMP4FileReaderFilter::CreateInstance(IUnknown* owner, HRESULT* result) {
  CUnknown* const made = new (std::nothrow) CMP4FileReaderFilter(owner);
  if (made == nullptr) *result = E_OUTOFMEMORY;
  return made;
}

CMP4FileReaderFilter::CMP4FileReaderFilter(IUnknown* owner) : CSource(owner, ::CLSID_KtMp4FileReader) {}

CMP4FileReaderFilter::~CMP4FileReaderFilter() = default;

HRESULT CMP4FileReaderFilter::NonDelegatingQueryInterface(REFIID iid, void** object) {
  if (iid == IID_IFileSourceFilter) return GetInterface(static_cast<IFileSourceFilter*>(this), object);
  if (iid == IID_IMediaSeeking) return GetInterface(static_cast<IMediaSeeking*>(this), object);
  if (iid == ::IID_IMP4FileReader) return GetInterface(static_cast<IMP4FileReader*>(this), object);
  if (iid == IID_ISpecifyPropertyPages) {
    return GetInterface(static_cast<ISpecifyPropertyPages*>(this), object);
  }
  if (iid == ::IID_IMetadataStorage) return GetInterface(static_cast<IMetadataStorage*>(this), object);
  return CSource::NonDelegatingQueryInterface(iid, object);
}

HRESULT CMP4FileReaderFilter::JoinFilterGraph(IFilterGraph* graph, LPCWSTR name) {
  return AtEdge([&] {
    const bool hasCompanion = graph != nullptr && HasCompanion(graph);
    const HRESULT result = CSource::JoinFilterGraph(graph, name);
    if (SUCCEEDED(result) && hasCompanion) m_source.SetSecondInstance(IsNtPlatform());
    return result;
  });
}

// By identity: graph managers differ in whether the filter that joins is listed already.
bool CMP4FileReaderFilter::HasCompanion(IFilterGraph* graph) {
  ComPointer<IEnumFilters> filters;
  if (FAILED(graph->EnumFilters(filters.Put())) || !filters) return false;
  for (;;) {
    ComPointer<IBaseFilter> filter;
    if (filters->Next(1, filter.Put(), nullptr) != S_OK) return false;
    CLSID clsid = {};
    const bool sameClass = SUCCEEDED(filter->GetClassID(&clsid)) && clsid == ::CLSID_KtMp4FileReader;
    if (sameClass && !IsSameObject(filter.Get(), GetOwner())) return true;
  }
}

HRESULT CMP4FileReaderFilter::Load(LPCOLESTR name, const AM_MEDIA_TYPE*) {
  // No worker runs: none reads what is loaded here.
  return ChangeWhileStopped([&] {
    // No name is refused like one that leads nowhere.
    const std::wstring given(name != nullptr ? name : L"");
    const std::string path = ToCodePage(given.c_str());
    const FilterResult result = m_source.Load(name != nullptr ? path.c_str() : nullptr, given);
    if (m_source.Switches().m_vmr9Dropped) m_assembly.DropVmr9();
    return ToPlatform(result);
  });
}

HRESULT CMP4FileReaderFilter::GetCurFile(LPOLESTR* name, AM_MEDIA_TYPE* type) {
  if (name == nullptr) return E_POINTER;
  return AtEdge([&] {
    const std::wstring given = m_source.GivenName();
    *name = TaskMemory<wchar_t>(given.size() + 1);
    // Without memory the name is missing, and that is no failure.
    if (*name != nullptr) std::memcpy(*name, given.c_str(), (given.size() + 1) * sizeof(wchar_t));
    if (type != nullptr) *type = {};
    return S_OK;
  });
}

void CMP4FileReaderFilter::CHost::ShowError(const char* text) {
  MessageBoxA(nullptr, text, "MP4 Error", MB_OK);
}

bool CMP4FileReaderFilter::CHost::AddPin(CReaderPin& pin) {
  try {
    m_filter.CSource::AddPin(std::make_unique<CMp4FileReaderOutputPin>(m_filter, pin));
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

DeliverySurroundings CMP4FileReaderFilter::Surroundings(RequestWait& wait) {
  return {m_clock, wait, m_texts, m_captionDecoder};
}

HRESULT CMP4FileReaderFilter::RenderPin(IPin* pin, const CReaderPin& logic, IGraphBuilder* graph) {
  return m_assembly.Render(pin, logic, m_source.HasVideo(), m_source.HasLine21(), graph);
}

HRESULT CMP4FileReaderFilter::GetCapabilities(DWORD* caps) {
  if (caps == nullptr) return E_POINTER;
  *caps = m_seeking.GetCapabilities();
  return S_OK;
}

HRESULT CMP4FileReaderFilter::CheckCapabilities(DWORD* caps) {
  return caps == nullptr ? E_POINTER : ToPlatform(m_seeking.CheckCapabilities(*caps));
}

HRESULT CMP4FileReaderFilter::IsFormatSupported(const GUID* format) {
  return format == nullptr ? E_POINTER : ToPlatform(m_seeking.IsFormatSupported(FromPlatform(*format)));
}

HRESULT CMP4FileReaderFilter::QueryPreferredFormat(GUID* format) {
  return GetTimeFormat(format);
}

HRESULT CMP4FileReaderFilter::GetTimeFormat(GUID* format) {
  if (format == nullptr) return E_POINTER;
  *format = ToPlatform(m_seeking.GetTimeFormat());
  return S_OK;
}

HRESULT CMP4FileReaderFilter::IsUsingTimeFormat(const GUID* format) {
  return IsFormatSupported(format);
}

HRESULT CMP4FileReaderFilter::SetTimeFormat(const GUID* format) {
  return format == nullptr ? E_POINTER : ToPlatform(m_seeking.SetTimeFormat(FromPlatform(*format)));
}

HRESULT CMP4FileReaderFilter::GetDuration(LONGLONG* duration) {
  return ToPlatform(m_seeking.GetDuration(duration));
}

HRESULT CMP4FileReaderFilter::GetStopPosition(LONGLONG* stop) {
  return ToPlatform(m_seeking.GetStopPosition(stop));
}

HRESULT CMP4FileReaderFilter::GetCurrentPosition(LONGLONG* current) {
  return ToPlatform(m_seeking.GetCurrentPosition(current));
}

HRESULT CMP4FileReaderFilter::ConvertTimeFormat(LONGLONG*, const GUID*, LONGLONG, const GUID*) {
  return E_NOTIMPL;
}

HRESULT CMP4FileReaderFilter::SetPositions(LONGLONG* current, DWORD currentFlags, LONGLONG* stop,
                                           DWORD stopFlags) {
  const PositionChange change{current, currentFlags, stop, stopFlags};
  return ChangeState([&] {
    return ToPlatform(m_seeking.SetPositions(change, [this](CReaderPin& pin) { return WorkerOf(pin); }));
  });
}

PinWorker* CMP4FileReaderFilter::WorkerOf(const CReaderPin& pin) {
  for (ULONG i = 0; CSourceStream* const stream = GetStream(i); ++i) {
    auto* const candidate = static_cast<CMp4FileReaderOutputPin*>(stream);
    if (&candidate->Logic() == &pin) return candidate->Worker();
  }
  return nullptr;
}

// Not under the state lock: whoever is delivered to may ask while a change of state waits for the delivery.
HRESULT CMP4FileReaderFilter::GetPositions(LONGLONG* current, LONGLONG* stop) {
  return ToPlatform(m_seeking.GetPositions(current, stop));
}

HRESULT CMP4FileReaderFilter::GetAvailable(LONGLONG*, LONGLONG*) {
  return E_NOTIMPL;
}

HRESULT CMP4FileReaderFilter::SetRate(double rate) {
  return ToPlatform(m_seeking.SetRate(rate));
}

HRESULT CMP4FileReaderFilter::GetRate(double* rate) {
  if (rate == nullptr) return E_POINTER;
  *rate = m_seeking.GetRate();
  return S_OK;
}

HRESULT CMP4FileReaderFilter::GetPreroll(LONGLONG*) {
  return E_NOTIMPL;
}

HRESULT CMP4FileReaderFilter::GetTrackCount(UINT32* count) {
  return count == nullptr ? E_POINTER : ToPlatform(m_facts.GetTrackCount(count));
}

HRESULT CMP4FileReaderFilter::GetMovieTimeScale(UINT32* timeScale) {
  return timeScale == nullptr ? E_POINTER : ToPlatform(m_facts.GetMovieTimeScale(timeScale));
}

template <class T>
HRESULT CMP4FileReaderFilter::Tell(FilterResult (FileFacts::*get)(i32, T*) const, INT32 index,
                                   T* value) const {
  return value == nullptr ? E_POINTER : ToPlatform((m_facts.*get)(index, value));
}

HRESULT CMP4FileReaderFilter::GetTrackId(INT32 index, UINT32* id) {
  return Tell(&FileFacts::GetTrackId, index, id);
}

HRESULT CMP4FileReaderFilter::GetTrackType(INT32 index, UINT32* type) {
  return Tell(&FileFacts::GetTrackType, index, type);
}

HRESULT CMP4FileReaderFilter::GetSampleCount(INT32 index, UINT32* count) {
  return Tell(&FileFacts::GetSampleCount, index, count);
}

HRESULT CMP4FileReaderFilter::GetTimeScale(INT32 index, UINT32* timeScale) {
  return Tell(&FileFacts::GetTimeScale, index, timeScale);
}

HRESULT CMP4FileReaderFilter::GetDuration(INT32 index, UINT64* duration) {
  return Tell(&FileFacts::GetDuration, index, duration);
}

HRESULT CMP4FileReaderFilter::GetPages(CAUUID* pages) {
  if (pages == nullptr) return E_POINTER;
  static constexpr GUID kPages[] = {::CLSID_KtMp4FileReaderAboutPage, ::CLSID_KtMp4FileReaderPropertyPage};
  pages->cElems = static_cast<ULONG>(std::size(kPages));
  pages->pElems = TaskMemory<GUID>(std::size(kPages));
  if (pages->pElems == nullptr) return E_OUTOFMEMORY;
  std::copy(std::begin(kPages), std::end(kPages), pages->pElems);
  return S_OK;
}

HRESULT CMP4FileReaderFilter::Enable(INT32 type, INT32 enabled) {
  return AtEdge([&] { return ToPlatform(m_storage.Enable(type, enabled)); });
}

HRESULT CMP4FileReaderFilter::GetItem(UINT32 type, UINT64* time, char** text) {
  if (time == nullptr || text == nullptr) return E_POINTER;
  return AtEdge([&] {
    return ToPlatform(m_storage.GetItem(type, [&](u64 itemTime, const std::string& itemText) {
      char* const copy = TaskMemory<char>(itemText.size() + 1);
      if (copy == nullptr) return FilterResult::OutOfMemory;
      std::memcpy(copy, itemText.c_str(), itemText.size() + 1);
      *time = itemTime;
      *text = copy;
      return FilterResult::Ok;
    }));
  });
}

}  // namespace kt

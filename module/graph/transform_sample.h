#pragma once

#include <strmif.h>

#include <atomic>
#include <memory>
#include <span>
#include <vector>

#include "module/com/com_pointer.h"
#include "module/com/unknown.h"
#include "module/graph/base_pin.h"

namespace kt {

/// Whether a sample brings a media type that is not that of the pin's connection.
bool BringsOtherType(IMediaSample* sample, CBasePin& pin);

/// A sample on its way through a transform filter: the bytes of upstream's buffer behind the first ones, with
/// times and flags of its own. It keeps upstream's sample until it goes, and may outlive the filter.
///
/// Like all samples it is used by one thread at a time.
class CTransformSample final : public CUnknown, public IMediaSample {
 public:
  /// How many of upstream's samples are kept. Shared, because samples may be the last to go.
  using KeptCount = std::shared_ptr<std::atomic<LONG>>;

  /// Takes over what `sample` says. The first `ahead` bytes are left out; they have to be there. Throws
  /// `CResultException`.
  CTransformSample(IMediaSample* sample, LONG ahead, KeptCount kept);
  ~CTransformSample() override;
  DECLARE_IUNKNOWN
  HRESULT NonDelegatingQueryInterface(REFIID iid, void** object) override;

  std::span<const BYTE> Bytes() const { return {m_bytes, static_cast<std::size_t>(m_length)}; }
  /// Moves the bytes into memory of its own and gives upstream's sample back. Throws `std::bad_alloc`.
  void OwnBytes();
  /// Writes all that it says into another sample: VFW_E_BUFFER_OVERFLOW when that is too small.
  HRESULT CopyTo(IMediaSample* target);

  // IMediaSample
  HRESULT STDMETHODCALLTYPE GetPointer(BYTE** bytes) override;
  LONG STDMETHODCALLTYPE GetSize() override { return m_size; }
  HRESULT STDMETHODCALLTYPE GetTime(REFERENCE_TIME* start, REFERENCE_TIME* stop) override;
  HRESULT STDMETHODCALLTYPE SetTime(REFERENCE_TIME* start, REFERENCE_TIME* stop) override;
  HRESULT STDMETHODCALLTYPE IsSyncPoint() override { return m_isSyncPoint ? S_OK : S_FALSE; }
  HRESULT STDMETHODCALLTYPE SetSyncPoint(WINBOOL isSyncPoint) override;
  HRESULT STDMETHODCALLTYPE IsPreroll() override { return m_isPreroll ? S_OK : S_FALSE; }
  HRESULT STDMETHODCALLTYPE SetPreroll(WINBOOL isPreroll) override;
  LONG STDMETHODCALLTYPE GetActualDataLength() override { return m_length; }
  HRESULT STDMETHODCALLTYPE SetActualDataLength(LONG length) override;
  /// S_FALSE: it is of the type of its connection.
  HRESULT STDMETHODCALLTYPE GetMediaType(AM_MEDIA_TYPE** type) override;
  /// E_NOTIMPL for a type: what a connection carries does not change.
  HRESULT STDMETHODCALLTYPE SetMediaType(AM_MEDIA_TYPE* type) override;
  HRESULT STDMETHODCALLTYPE IsDiscontinuity() override { return m_isDiscontinuity ? S_OK : S_FALSE; }
  HRESULT STDMETHODCALLTYPE SetDiscontinuity(WINBOOL isDiscontinuity) override;
  HRESULT STDMETHODCALLTYPE GetMediaTime(LONGLONG* start, LONGLONG* stop) override;
  HRESULT STDMETHODCALLTYPE SetMediaTime(LONGLONG* start, LONGLONG* stop) override;

 private:
  void ReleaseUpstream();

  const KeptCount m_kept;
  /// Null once the bytes are its own.
  ComPointer<IMediaSample> m_upstream;
  std::vector<BYTE> m_own;
  BYTE* m_bytes = nullptr;
  LONG m_size = 0;
  LONG m_length = 0;

  /// What `GetTime` answers, and what it stores besides.
  HRESULT m_timeResult;
  REFERENCE_TIME m_start = 0;
  REFERENCE_TIME m_stop = 0;
  HRESULT m_mediaTimeResult;
  LONGLONG m_mediaStart = 0;
  LONGLONG m_mediaStop = 0;
  bool m_isSyncPoint;
  bool m_isPreroll;
  bool m_isDiscontinuity;
};

}  // namespace kt

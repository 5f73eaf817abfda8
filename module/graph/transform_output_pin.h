#pragma once

#include "module/graph/base_output_pin.h"
#include "module/graph/transform_sample.h"

namespace kt {

class CTransformFilter;

/// The output of a transform filter: it is connected while the input is, and delivers in the buffers of the
/// input's allocator where downstream takes these as they are. Where it does not, what is delivered is
/// copied.
///
/// Positions are upstream's matter: each call goes on to the pin that the input is connected with, without a
/// lock. E_NOTIMPL when that has none, VFW_E_NOT_CONNECTED without it.
class CTransformOutputPin final : public CBaseOutputPin, public IMediaSeeking {
 public:
  explicit CTransformOutputPin(CTransformFilter& filter);
  DECLARE_IUNKNOWN
  HRESULT NonDelegatingQueryInterface(REFIID iid, void** object) override;

  /// VFW_E_NOT_CONNECTED without an input.
  HRESULT CheckMediaType(const CMediaType& type) override;
  /// None without an input.
  HRESULT GetMediaType(int position, CMediaType* type) override;
  ULONG TypeVersion() const override { return m_typeVersion; }
  HRESULT CheckConnect(IPin* peer) override;
  HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* properties) override;

  // IQualityControl
  HRESULT STDMETHODCALLTYPE Notify(IBaseFilter* from, Quality quality) override;

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

  // For the filter.

  /// The input's type has changed.
  void ChangeTypes() { ++m_typeVersion; }
  /// The input has agreed on type and allocator: what the output agreed on is fitted to them, or ends. A
  /// failure when downstream can not let go of it.
  HRESULT FollowInput();
  HRESULT GetPeerRequirements(ALLOCATOR_PROPERTIES* properties);
  /// Sends a sample on: what downstream answers, or why there is no buffer for a copy. Throws
  /// `CResultException` when the copy is not possible.
  HRESULT Send(CTransformSample& sample);

 protected:
  HRESULT DecideAllocator() override;

 private:
  bool ServesPeer();
  template <class Call, class... Arguments>
  HRESULT AskUpstream(Call call, Arguments... arguments);

  CTransformFilter& m_filter;
  std::atomic<ULONG> m_typeVersion{0};
  /// Changes while nothing streams.
  bool m_isCopying = false;
};

}  // namespace kt

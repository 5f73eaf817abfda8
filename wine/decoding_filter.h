#pragma once

#include <atomic>
#include <optional>
#include <span>

#include "module/graph/base_filter.h"
#include "module/graph/base_input_pin.h"
#include "module/graph/base_output_pin.h"
#include "module/graph/transform_lock.h"
#include "wine/library_decoder.h"

namespace kt {

class CDecodingFilter;

/// Takes samples of any of `DecodedTypes`. What streams holds the stream lock; a stop and a flush first see
/// to it that it comes back from downstream.
class CDecodingInput final : public CBaseInputPin {
 public:
  explicit CDecodingInput(CDecodingFilter& filter);

  HRESULT CheckMediaType(const CMediaType& type) override;
  HRESULT Active() override;
  HRESULT Inactive() override;

  HRESULT STDMETHODCALLTYPE EndOfStream() override;
  HRESULT STDMETHODCALLTYPE BeginFlush() override;
  HRESULT STDMETHODCALLTYPE EndFlush() override;
  HRESULT STDMETHODCALLTYPE NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) override;

  HRESULT STDMETHODCALLTYPE GetAllocator(IMemAllocator**) override { return VFW_E_NO_ALLOCATOR; }
  HRESULT STDMETHODCALLTYPE NotifyAllocator(IMemAllocator*, WINBOOL) override { return S_OK; }
  HRESULT STDMETHODCALLTYPE GetAllocatorRequirements(ALLOCATOR_PROPERTIES*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Receive(IMediaSample* sample) override;

 private:
  CDecodingFilter& m_filter;
};

/// Offers the one type that comes out.
class CDecodingOutput final : public CBaseOutputPin {
 public:
  explicit CDecodingOutput(CDecodingFilter& filter);
  HRESULT CheckMediaType(const CMediaType& type) override;
  HRESULT GetMediaType(int position, CMediaType* type) override;
  HRESULT CheckConnect(IPin* peer) override;
  HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* properties) override;

 private:
  CDecodingFilter& m_filter;
};

/// What Wine does not come with: a filter that decodes pictures or sound, by libavcodec of the machine that
/// Wine runs on.
class CDecodingFilter final : public CBaseFilter {
 public:
  static CUnknown* CreateInstance(IUnknown* owner, HRESULT* result);

  ULONG GetPinCount() override { return 2; }
  CBasePin* GetPin(ULONG index) override;

 private:
  friend class CDecodingInput;
  friend class CDecodingOutput;

  explicit CDecodingFilter(IUnknown* owner);
  bool IsCalledByWorker() override { return m_streamLock.IsCaller(); }
  /// Of the input's connection; none without one.
  std::optional<DecoderSetUp> InputSetUp();

  // Under the stream lock.
  HRESULT Start();
  HRESULT Decode(std::span<const u8> bytes, REFERENCE_TIME time);
  HRESULT DeliverDecoded(const Decoded& decoded);
  void Forget() { m_decoder.reset(); }

  CCritSec m_decodingStateLock;
  CStreamLock m_streamLock;
  CDecodingInput m_input{*this};
  CDecodingOutput m_output{*this};

  /// Samples are refused.
  std::atomic<bool> m_isStopped{true};
  std::atomic<bool> m_isFlushing{false};
  DecoderSetUp m_setUp;
  /// Made anew with the first sample behind a flush.
  std::optional<Decoder> m_decoder;
};

}  // namespace kt

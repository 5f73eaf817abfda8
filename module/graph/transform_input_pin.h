#pragma once

#include <atomic>

#include "module/graph/base_input_pin.h"
#include "module/graph/transform_sample.h"

namespace kt {

class CTransformFilter;

/// The input of a transform filter. It accepts connections, and samples under the filter's stream lock.
///
/// The allocator that it offers has as many buffers as its upstream wants, and besides those that the filter
/// holds back. Of any other allocator it never holds the last buffer that is free.
class CTransformInputPin final : public CBaseInputPin {
 public:
  explicit CTransformInputPin(CTransformFilter& filter);

  HRESULT CheckMediaType(const CMediaType& type) override;
  HRESULT SetMediaType(const CMediaType& type) override;
  HRESULT BreakConnect() override;
  /// VFW_E_NO_ALLOCATOR before upstream has told of one.
  HRESULT Active() override;
  HRESULT Inactive() override;

  // IPin. What streams answers VFW_E_WRONG_STATE in the stopped state.
  HRESULT STDMETHODCALLTYPE EndOfStream() override;
  HRESULT STDMETHODCALLTYPE BeginFlush() override;
  HRESULT STDMETHODCALLTYPE EndFlush() override;
  HRESULT STDMETHODCALLTYPE NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) override;

  // IQualityControl
  /// `sink` is not counted, as the platform has it: whoever sets it takes it away in time.
  HRESULT STDMETHODCALLTYPE SetSink(IQualityControl* sink) override;

  // IMemInputPin
  HRESULT STDMETHODCALLTYPE GetAllocator(IMemAllocator** allocator) override;
  HRESULT STDMETHODCALLTYPE NotifyAllocator(IMemAllocator* allocator, WINBOOL readOnly) override;
  /// Those of downstream; E_NOTIMPL without one.
  HRESULT STDMETHODCALLTYPE GetAllocatorRequirements(ALLOCATOR_PROPERTIES* properties) override;
  /// What downstream answers. S_FALSE while flushing; VFW_E_WRONG_STATE, VFW_E_NOT_CONNECTED;
  /// VFW_E_SAMPLE_REJECTED_EOS behind the end of the stream; VFW_E_RUNTIME_ERROR behind an error;
  /// VFW_E_INVALIDMEDIATYPE for a sample with a type of its own, which ends the stream; E_POINTER.
  HRESULT STDMETHODCALLTYPE Receive(IMediaSample* sample) override;

  // For the filter.

  /// The allocator of the connection; null before there is one.
  const ComPointer<IMemAllocator>& Allocator() const { return m_allocator; }
  const ALLOCATOR_PROPERTIES& BufferProperties() const { return m_properties; }
  bool IsReadOnly() const { return m_readOnly; }
  LONG BytesAhead() const { return m_bytesAhead; }
  /// Whether no buffer of the allocator is free.
  bool IsLastBuffer() const { return *m_kept >= m_properties.cBuffers; }
  /// Hands a message to the sink, else to upstream. VFW_E_NOT_FOUND without either.
  HRESULT PassNotify(const Quality& quality);

 private:
  enum class Stream { Open, Ended, Failed };

  HRESULT TakeAllocator(IMemAllocator* allocator, bool readOnly);
  void AddBuffers(IMemAllocator* allocator);
  HRESULT CheckStreaming() const;
  template <class Work>
  HRESULT RunStream(Work work);
  HRESULT TransformSample(IMediaSample* sample);
  HRESULT Fail(HRESULT failure);

  CTransformFilter& m_filter;
  std::atomic<IQualityControl*> m_sink{nullptr};

  // Changed under the state lock, while nothing streams.
  ComPointer<IMemAllocator> m_own;
  ComPointer<IMemAllocator> m_allocator;
  ALLOCATOR_PROPERTIES m_properties = {};
  bool m_readOnly = false;
  LONG m_bytesAhead = 0;

  /// Set under the stream lock, and cleared ahead of it.
  std::atomic<bool> m_isStreaming{false};
  std::atomic<bool> m_isFlushing{false};
  const CTransformSample::KeptCount m_kept = std::make_shared<std::atomic<LONG>>(0);
  // Under the stream lock.
  Stream m_stream = Stream::Open;
};

}  // namespace kt

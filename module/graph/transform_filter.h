#pragma once

#include <span>

#include "module/graph/base_filter.h"
#include "module/graph/transform_input_pin.h"
#include "module/graph/transform_lock.h"
#include "module/graph/transform_output_pin.h"

namespace kt {

/// A filter with one input and one output pin, in that order, that hands samples on with other times, under
/// another type, or later than they come.
///
/// The threads that stream through it are upstream's. They hold the stream lock and never need the state
/// lock. A stop takes all buffers back before it waits for the stream lock, so that what waits for a buffer
/// comes back; what downstream blocks comes back when downstream is stopped or flushed, as graphs do first. A
/// change of state that comes out of such a thread would wait for itself and is refused: VFW_E_WRONG_STATE.
class CTransformFilter : public CBaseFilter {
 public:
  CTransformFilter(IUnknown* owner, REFCLSID clsid);

  ULONG GetPinCount() override { return 2; }
  CBasePin* GetPin(ULONG index) override;

 protected:
  friend class CTransformInputPin;
  friend class CTransformOutputPin;

  // For derived filters. The types are asked for from any thread, without a lock.

  /// S_OK for a type that the filter can work with.
  virtual HRESULT CheckInputType(const CMediaType& input) = 0;
  /// The output's type at a position: S_OK, VFW_S_NO_MORE_ITEMS behind the last, or a failure.
  virtual HRESULT GetMediaType(int position, const CMediaType& input, CMediaType* output) = 0;
  /// S_OK for a type under which it can hand on what comes in the other one.
  virtual HRESULT CheckTransform(const CMediaType& input, const CMediaType& output) = 0;
  /// How many bytes at the beginning of each sample are not handed on.
  virtual LONG BytesAhead(const CMediaType&) { return 0; }
  /// How many samples it may hold back.
  virtual LONG SamplesHeld() { return 0; }

  // All below under the stream lock. What they throw is a failure.

  /// The filter leaves the stopped state; both connections stand as long as it does not return there.
  virtual HRESULT StartStreaming(const CMediaType&) { return S_OK; }
  /// A sample has come, `ahead` are the bytes that are left out; none when the sample has none at all. A
  /// failure ends the stream and aborts the graph's play.
  virtual HRESULT Transform(CTransformSample& sample, std::span<const BYTE> ahead) = 0;
  /// Delivers what is held back: the stream or its segment ends.
  virtual HRESULT DeliverHeld() { return S_OK; }
  /// Lets go of what is held back: after a flush, and when the filter stops.
  virtual void ForgetHeld() {}

  /// Sends a sample on; its reference stays the caller's. What downstream answers is what upstream is
  /// answered. After any other answer than S_OK nothing is sent until upstream calls again.
  HRESULT Deliver(CTransformSample& sample);
  /// To be called with a sample that is held back beyond `Transform`: its bytes are copied when upstream
  /// would have no buffer left.
  void Keep(CTransformSample& sample);

  bool IsCalledByWorker() override { return m_streamLock.IsCaller(); }

 private:
  /// False without a connection.
  bool GetInputType(CMediaType* type);

  CCritSec m_transformStateLock;
  CStreamLock m_streamLock;
  /// The first answer of downstream that is not S_OK, during a call from upstream. Under the stream lock.
  HRESULT m_answer = S_OK;
  CTransformInputPin m_input{*this};
  CTransformOutputPin m_output{*this};
};

}  // namespace kt

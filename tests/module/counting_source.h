#pragma once

#include <uuids.h>
#include <vfwmsgs.h>

#include <functional>
#include <memory>
#include <optional>

#include "module/frame_test.h"
#include "module/graph/source.h"
#include "module/recording_sink.h"

namespace kt::test {

/// The two subtypes that the pin offers, in this order.
inline constexpr GUID kFirstSubtype = {0x1, 0, 0, {1, 2, 3, 4, 5, 6, 7, 8}};
inline constexpr GUID kSecondSubtype = {0x2, 0, 0, {1, 2, 3, 4, 5, 6, 7, 8}};

inline CMediaType StreamType(const GUID& subtype, const GUID& format = FORMAT_None) {
  CMediaType type;
  type.majortype = MEDIATYPE_Stream;
  type.subtype = subtype;
  type.formattype = format;
  return type;
}

/// Delivers samples without an end that have their number as media time, unless `m_fill` has other plans.
/// `m_write` does the rest.
class CCountingPin final : public CSourceStream {
 public:
  explicit CCountingPin(CSource& source) : CSourceStream(source, L"Numbers") {}

  HRESULT CheckMediaType(const CMediaType& type) override {
    if (m_type) return *m_type == type ? S_OK : E_INVALIDARG;
    const bool known = type.subtype == kFirstSubtype || type.subtype == kSecondSubtype;
    return type.majortype == MEDIATYPE_Stream && known ? S_OK : E_INVALIDARG;
  }
  HRESULT GetMediaType(int position, CMediaType* type) override {
    if (position > (m_type ? 0 : 1)) return VFW_S_NO_MORE_ITEMS;
    if (m_type) return type->Set(*m_type);
    type->Set(StreamType(position == 0 ? kFirstSubtype : kSecondSubtype));
    return type->SetFormat(&position, sizeof position);
  }
  HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* properties) override {
    if (m_refusals > 0 && m_refusals-- > 0) return E_FAIL;
    m_asked = *properties;
    properties->cBuffers = 1;
    properties->cbBuffer = m_bufferSize;
    ALLOCATOR_PROPERTIES actual = {};
    return allocator->SetProperties(properties, &actual);
  }

  std::function<HRESULT()> m_fill;
  std::function<HRESULT(ULONG number, IMediaSample* sample)> m_write;
  /// The only one that it offers, instead of the two.
  std::optional<CMediaType> m_type;
  long m_bufferSize = 1;
  /// So many allocators do not suit it, the peer's first.
  int m_refusals = 0;
  /// What the worker's start answers.
  HRESULT m_start = S_OK;
  /// What the peer asked for when the buffers were decided last.
  ALLOCATOR_PROPERTIES m_asked = {};

 protected:
  HRESULT OnThreadCreate() override { return m_start; }
  HRESULT FillBuffer(IMediaSample* sample) override {
    if (m_fill) return m_fill();
    LONGLONG number = ++m_number, next = number + 1;
    const HRESULT result = sample->SetMediaTime(&number, &next);
    return m_write ? m_write(static_cast<ULONG>(number), sample) : result;
  }

 private:
  LONGLONG m_number = 0;
};

class CCountingSource final : public CSource {
 public:
  explicit CCountingSource(IUnknown* owner = nullptr) : CSource(owner, CLSID{}) { AddAnotherPin(); }
  void AddAnotherPin() { AddPin(std::make_unique<CCountingPin>(*this)); }
  CCountingPin& Pin(ULONG index = 0) { return static_cast<CCountingPin&>(*GetPin(index)); }
};

/// A source and a sink, stopped and apart again at the end.
struct SourceAndSink {
  explicit SourceAndSink(SinkScript script = {}) : sink(std::move(script)) {}
  ~SourceAndSink() {
    sink->Stop();
    source->Stop();
    source->Pin().Disconnect();
    sink->Pin().Disconnect();
  }
  HRESULT Connect(const AM_MEDIA_TYPE* type = nullptr) { return source->Pin().Connect(&sink->Pin(), type); }
  /// As a graph does it: what is downstream first.
  HRESULT Run() {
    const HRESULT result = sink->Run(0);
    return result == S_OK ? source->Run(0) : result;
  }
  /// Whether both pins say that they are connected, or both that they are not.
  void ExpectConnected(bool connected) {
    EXPECT_EQ(source->Pin().IsConnected(), connected);
    EXPECT_EQ(sink->Pin().IsConnected(), connected);
  }

  Held<CCountingSource> source;
  Held<CRecordingSink> sink;
};

}  // namespace kt::test

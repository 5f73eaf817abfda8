#pragma once

#include <atomic>
#include <functional>

#include "module/source.h"

namespace kt::test {

/// {44B2A8D6-8BD0-4C57-9D0A-55C0B6D0B7C1}
inline constexpr CLSID CLSID_CountingSource = {
    0x44b2a8d6, 0x8bd0, 0x4c57, {0x9d, 0x0a, 0x55, 0xc0, 0xb6, 0xd0, 0xb7, 0xc1}};
/// The two subtypes that the pin offers, in this order.
inline constexpr GUID kFirstSubtype = {0x1, 0, 0, {1, 2, 3, 4, 5, 6, 7, 8}};
inline constexpr GUID kSecondSubtype = {0x2, 0, 0, {1, 2, 3, 4, 5, 6, 7, 8}};

/// What a counting source does.
struct CountingScript {
  ULONG m_samples = 10;
  HRESULT m_threadCreate = S_OK;
  /// Called with the number of the sample that is due; what it answers or throws is what filling does, but
  /// S_OK fills.
  std::function<HRESULT(ULONG)> m_fill = nullptr;
};

class CCountingPin final : public CSourceStream {
 public:
  CCountingPin(CSource& source, const CountingScript& script);

  HRESULT CheckMediaType(const CMediaType& type) override;
  HRESULT GetMediaType(int position, CMediaType* type) override;
  HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* properties) override;

  /// Goes on with this sample, at once when the worker runs.
  void Seek(ULONG number);

  /// Number of the sample that is due.
  std::atomic<ULONG> m_due{1};
  std::atomic<int> m_threads{0};
  /// This pin's worker can not start, with E_ABORT.
  bool m_failStart = false;
  /// What the peer asked for when the buffers were decided last.
  ALLOCATOR_PROPERTIES m_asked = {};

 protected:
  HRESULT FillBuffer(IMediaSample* sample) override;
  HRESULT OnThreadCreate() override;
  HRESULT OnThreadDestroy() override;
  HRESULT OnThreadStartPlay() override;

 private:
  const CountingScript& m_script;
};

/// A source with one pin, whose samples hold their number. The last one has the number `m_samples`.
class CCountingSource final : public CSource {
 public:
  explicit CCountingSource(IUnknown* owner, CountingScript script = {});

  CCountingPin& Pin() { return static_cast<CCountingPin&>(*GetPin(0)); }
  void AddAnotherPin();

  CountingScript m_script;
};

}  // namespace kt::test

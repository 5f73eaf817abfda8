#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "module/graph/base_filter.h"
#include "module/graph/source_stream.h"

namespace kt {

/// A filter that is where samples come from: it owns its pins, each with a worker of its own.
class CSource : public CBaseFilter {
 public:
  CSource(IUnknown* owner, REFCLSID clsid);
  ~CSource() override;

  ULONG GetPinCount() override;
  CBasePin* GetPin(ULONG index) override;

  /// Adds a pin, which then lives as long as the filter. Throws `std::bad_alloc`.
  void AddPin(std::unique_ptr<CSourceStream> pin);

 protected:
  CSourceStream* GetStream(ULONG index);
  bool IsCalledByWorker() override;

 private:
  CCritSec m_sourceStateLock;
  std::mutex m_pinLock;
  std::vector<std::unique_ptr<CSourceStream>> m_pins;
};

}  // namespace kt

#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "filter/logic/sample_delivery.h"

namespace kt::test {

/// A media buffer that remembers what it was told last.
class FakeMediaSample : public MediaSample {
 public:
  using Span = std::pair<i64, i64>;

  explicit FakeMediaSample(std::size_t room) : bytes(room, 0xEE) {}
  virtual ~FakeMediaSample() = default;

  u8* GetPointer() override { return bytes.data(); }
  u64 GetSize() override { return bytes.size(); }
  void SetActualDataLength(u32 value) override { length = value; }
  void SetTime(i64 start, i64 stop) override { time = {start, stop}; }
  void SetMediaTime(i64 start, i64 stop) override { mediaTime = {start, stop}; }
  void SetSyncPoint(bool isSyncPoint) override { sync = isSyncPoint; }
  void SetDiscontinuity(bool isDiscontinuity) override { flags += isDiscontinuity ? "d" : "-"; }
  void SetPreroll(bool isPreroll) override { flags += isPreroll ? "p" : "-"; }

  std::vector<u8> bytes;
  std::optional<u32> length;
  std::optional<Span> time, mediaTime;
  std::optional<bool> sync;
  std::string flags;
};

}  // namespace kt::test

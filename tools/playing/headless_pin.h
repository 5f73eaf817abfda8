#pragma once

#include <optional>
#include <string>
#include <vector>

#include "filter/logic/sample_delivery.h"

namespace kt {

/// One sample as a pin hands it downstream. Times are in 100 ns units.
struct DeliveredSample {
  u32 number = 0;
  /// None for captions that were decoded to text.
  std::optional<i64> start;
  std::optional<i64> stop;
  u32 size = 0;
  bool isSyncPoint = false;
};

/// The media buffer of a pin; it is used again for each sample.
class HostSample final : public MediaSample {
 public:
  void SetRoom(std::size_t bytes) { m_bytes.resize(bytes); }
  /// Forgets what was said of the sample before.
  void Reset() { m_said = {}; }
  const DeliveredSample& Said() const { return m_said; }

  u8* GetPointer() override { return m_bytes.data(); }
  u64 GetSize() override { return m_bytes.size(); }
  void SetActualDataLength(u32 length) override { m_said.size = length; }
  void SetTime(i64 start, i64 stop) override {
    m_said.start = start;
    m_said.stop = stop;
  }
  void SetMediaTime(i64 /*start*/, i64 /*stop*/) override {}
  void SetSyncPoint(bool isSyncPoint) override { m_said.isSyncPoint = isSyncPoint; }
  void SetDiscontinuity(bool /*isDiscontinuity*/) override {}
  void SetPreroll(bool /*isPreroll*/) override {}

 private:
  std::vector<u8> m_bytes;
  DeliveredSample m_said;
};

/// A pin with a host in place of the graph: connected with the first of its types that it takes itself, it
/// gives its samples one after the other.
class HeadlessPin {
 public:
  /// All is borrowed. `number` counts the source's pins from 1; `fileSize` in bytes.
  HeadlessPin(u32 number, const CReaderSource& source, CReaderPin& pin, DeliverySurroundings surroundings,
              u64 fileSize);

  u32 Number() const { return m_number; }
  CReaderPin& Pin() const { return m_pin; }
  /// What the pin answered to the connection; it delivers when that is no failure.
  FilterResult Connection() const { return m_connection; }
  /// The position of the type among the pin's; nothing when it takes none of them itself. One of an adapted
  /// file delivers all the same.
  std::optional<i32> TypePosition() const { return m_typePosition; }
  const BufferRequest& Buffers() const { return m_buffers; }

  /// Position in the file at which the next sample starts, in 100 ns units; 0 when the track cannot tell,
  /// since the stream then ends at once.
  i64 NextStart() const;
  /// The next sample, or nothing at the end of the stream.
  std::optional<DeliveredSample> Deliver();
  u32 DeliveredCount() const { return m_delivered; }
  u64 DeliveredBytes() const { return m_deliveredBytes; }
  /// Why the stream ended ahead of the end of its track; empty when it ended where it should. Asked behind
  /// the end of the stream.
  std::string EarlyEnd() const;

 private:
  std::optional<i32> FindType() const;
  FilterResult Connect(u64 fileSize);
  // Whether the next sample would be more than the file can hold.
  bool ExceedsFile();
  std::string ReadFailure(CMp4Track& track, u32 sample) const;

  const u32 m_number;
  CReaderPin& m_pin;
  CSampleDelivery m_delivery;
  HostSample m_sample;
  BufferRequest m_buffers;
  std::optional<i32> m_typePosition;
  FilterResult m_connection;
  u32 m_delivered = 0;
  u64 m_deliveredBytes = 0;
  const u64 m_fileSize;
  u64 m_takenBytes = 0;  // of an adapted file
  bool m_exceedsFile = false;
};

}  // namespace kt

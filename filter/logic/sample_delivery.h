#pragma once

#include "filter/logic/caption_decoder.h"
#include "filter/logic/reader_source.h"

namespace kt {

/// A media buffer on its way downstream. Times are in 100 ns units.
class MediaSample {
 public:
  virtual u8* GetPointer() = 0;
  /// Room in bytes.
  virtual u64 GetSize() = 0;
  virtual void SetActualDataLength(u32 length) = 0;
  virtual void SetTime(i64 start, i64 stop) = 0;
  /// `start` is the sample's number.
  virtual void SetMediaTime(i64 start, i64 stop) = 0;
  virtual void SetSyncPoint(bool isSyncPoint) = 0;
  /// Told of samples under a type of the platform alone: whether it does not follow the one before, and
  /// whether it is there for the decoder and not to be shown.
  virtual void SetDiscontinuity(bool isDiscontinuity) = 0;
  virtual void SetPreroll(bool isPreroll) = 0;

 protected:
  ~MediaSample() = default;
};

/// The time of the running graph.
class StreamClock {
 public:
  /// 100 ns units since the start of the run; 0 unless the graph runs and has a clock.
  virtual i64 GetStreamTime() = 0;

 protected:
  ~StreamClock() = default;
};

/// How a pin's worker waits.
class RequestWait {
 public:
  /// Returns when `milliseconds` have passed, or at once when the worker is asked for something other than to
  /// run or to pause: then true, and the request is left for the worker's loop to answer.
  virtual bool WaitForRequest(u32 milliseconds) = 0;

 protected:
  ~RequestWait() = default;
};

/// Takes the texts that ride in video samples.
class TextReceiver {
 public:
  /// `time` is the start stamp of the sample, so it counts from the last seek: below 0 for a sample between
  /// the sync sample and the position that was sought.
  virtual void AddMetadataText(i64 time, const char* text) = 0;

 protected:
  ~TextReceiver() = default;
};

/// What a delivery works with besides the pin. The clock, the receiver and the decoder belong to the whole
/// filter, the wait to the pin's worker.
struct DeliverySurroundings {
  StreamClock& clock;
  RequestWait& wait;
  TextReceiver& texts;
  CaptionDecoder& decoder;
};

/// Delivers the samples of one pin, in the order of their numbers. One worker calls it.
class CSampleDelivery {
 public:
  /// Everything is borrowed.
  CSampleDelivery(const CReaderSource& source, CReaderPin& pin, DeliverySurroundings surroundings);

  /// Fills `sample` with the pin's next one. Ok: it is to be delivered. False: the stream has ended, which is
  /// also the answer to whatever can not be read.
  ///
  /// A sample goes out only when the one behind it has a time, so the last one of a track never does, unless
  /// the connected type is one of the platform's: it then lasts as long as the samples do on average. Line 21
  /// pins wait here until 50 ms before the sample is due. A request ends the wait; one that cuts a wait of
  /// more than half a second short also gives the sample back as it is, with Ok.
  FilterResult FillBuffer(MediaSample& sample);

 private:
  /// One sample with everything that the track says of it.
  struct Taken {
    u8* buffer = nullptr;
    u32 header = 0;
    u32 number = 0;
    /// Bytes behind the header.
    u32 size = 0;
    u64 decodingTime = 0;
    u64 compositionTime = 0;
    /// The decoding time of the next sample, and whether there is one.
    u64 nextTime = 0;
    bool hasNext = false;
    u32 syncSample = 0;
    PinPosition position;
    bool isDiscontinuity = false;
  };

  FilterResult TakeSample(MediaSample& sample, Taken* taken);
  /// Reads the sample's bytes behind the header; false when that fails.
  bool ReadBytes(CMp4Track& track, u32 size, Taken* taken) const;
  /// Tells when the last sample of the track ends.
  void TellEnd(CMp4Track& track, Taken* taken) const;
  bool IsBeyondStop(const Taken& taken) const;
  /// Waits until the caption is due. Ok also sets `*interrupted` when the sample is to go out as it is; False
  /// when the file is over.
  FilterResult WaitUntilDue(const Taken& taken, i64 due, bool* interrupted);
  FilterResult Stamp(const Taken& taken, MediaSample& sample);
  /// Sets the times and tells the start: by decoding times from the base, or when the sample is shown.
  i64 StampDecoding(const Taken& taken, MediaSample& sample) const;
  i64 StampDisplay(const Taken& taken, MediaSample& sample) const;
  void FindMetadataText(const Taken& taken, i64 start);

  const CReaderSource& m_source;
  CReaderPin& m_pin;
  const DeliverySurroundings m_surroundings;
  /// What was taken last.
  PinPosition m_before;
};

}  // namespace kt

#pragma once

#include <string>

#include <ktmp4/mp4_file.h>

namespace kt {

/// A track on its way into a file that is written, sample by sample. In this order: `Begin`, `WriteNext`
/// until `IsComplete`, `End`. These answer what the writer answers; what keeps the source from giving its
/// samples is thrown as `Failure`.
class TrackSource {
 public:
  virtual ~TrackSource() = default;

  /// Adds the track to `output`, which has to outlive the source's use of it.
  virtual Mp4Result Begin(CMp4File& output) = 0;
  virtual Mp4Result WriteNext() = 0;
  virtual Mp4Result End(CMp4File& output) = 0;

  /// For messages: "track 1 of "x.mp4"".
  virtual std::string Name() const = 0;
  virtual bool IsComplete() const = 0;
  /// When the next sample is decoded, in seconds behind the first one.
  virtual double NextTime() const = 0;
  virtual u64 SampleCount() const = 0;
  /// How long the written track lasts, in seconds. Asked once the samples are known.
  virtual double Length() const = 0;
  /// Bytes of all samples.
  virtual u64 ByteCount() const = 0;
  /// Bytes of the samples written so far.
  virtual u64 WrittenBytes() const = 0;
};

}  // namespace kt

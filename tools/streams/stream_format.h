#pragma once

#include <functional>
#include <memory>
#include <string>

#include <ktmp4/mp4_track.h>
#include "tools/facts/sample_entry.h"

namespace kt {

/// How the samples of a track become a file of their own.
enum class StreamFormat {
  kRaw,     ///< as they are
  kAdts,    ///< AAC, each frame behind a header: ISO/IEC 14496-3, 1.A.2.2
  kAnnexB,  ///< H.264 and H.265 behind start codes: ISO/IEC 14496-10 and 23008-2, annex B
  kM4v,     ///< MPEG-4 visual behind its set-up: ISO/IEC 14496-2
  kAmr,     ///< AMR frames behind the magic number: RFC 4867, 5
};

/// Takes bytes of the stream, in their order.
using StreamSink = std::function<void(ByteSpan bytes)>;

/// Makes the bytes of a stream of samples. What a format cannot say is thrown as `Failure`.
class StreamFramer {
 public:
  virtual ~StreamFramer() = default;
  /// What stands ahead of the first sample.
  virtual void Begin(const StreamSink&) {}
  /// `name` is what a message calls the sample: "sample 3 of track 1 of "x.mp4"".
  virtual void Add(ByteSpan sample, bool isSync, const std::string& name, const StreamSink& sink) = 0;
};

/// A framer for the samples of an entry, the decoder set-up of which is `setUp`. Both are borrowed. Throws a
/// `Failure` when they are not what the format holds; `name` is what it calls the track.
std::unique_ptr<StreamFramer> MakeFramer(StreamFormat format, const SampleEntry& entry, ByteSpan setUp,
                                         const std::string& name);

}  // namespace kt

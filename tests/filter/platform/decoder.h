#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include <ktmp4/types.h>
#include "filter/platform/stand_in.h"

namespace kt::test {

/// A picture in I420, or a piece of sound in 16 bits, with its time in units of 100 ns.
struct Decoded {
  i64 time = 0;
  std::string bytes;
};

/// What a decoder has to know. `codec` is libavcodec's name for it.
struct DecoderSetUp {
  std::string codec = {};
  std::vector<u8> info = {};
  int rate = 0;
  int channels = 0;
  int width = 0;
  int height = 0;
  /// Of H.264: how many bytes tell the length of a unit.
  std::size_t lengthBytes = 0;
};

struct LibraryDecoder;

/// A decoder out of this machine's libavcodec, which Wine loads into the program.
class Decoder {
 public:
  explicit Decoder(const DecoderSetUp& setUp);
  bool IsOpen() const { return m_decoder != nullptr; }
  /// All that is complete with this sample; without bytes, all that is left.
  std::vector<Decoded> Decode(std::span<const u8> sample, i64 time);

 private:
  struct Close {
    void operator()(LibraryDecoder* decoder) const;
  };
  std::size_t m_lengthBytes = 0;
  std::unique_ptr<LibraryDecoder, Close> m_decoder;
};

/// What has gone through a stand-in decoder.
struct DecodedStream {
  DecoderSetUp setUp;
  std::vector<Decoded> decoded;
};

/// Of the types that installed decoders take, those that filters prefer, or one of those behind them for each
/// coding.
enum class TakenTypes { First, Further };

/// A decoder filter for pictures or sound that knows none but standard types. Its output is what the
/// platform's renderers take; what is due before the begin is not shown.
StandInScript DecodingStandIn(const GUID& majorType, TakenTypes taken, std::shared_ptr<DecodedStream> stream);

}  // namespace kt::test

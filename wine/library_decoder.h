#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <ktmp4/types.h>
#include "module/graph/media_type.h"

namespace kt {

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
  /// Above 0 for pictures, and of sound 0.
  int width = 0;
  int height = 0;
  /// Of H.264: how many bytes tell the length of a unit.
  std::size_t lengthBytes = 0;
};

/// Which of the types that installed decoders take: the one that filters prefer, or one behind it.
enum class TakenTypes { First, Further, Both };

/// A type that is decoded.
struct DecodedType {
  GUID majorType;
  GUID subtype;
  GUID format;
  const char* codec;
  TakenTypes taken;
};
std::span<const DecodedType> DecodedTypes();

/// Out of a type as it stands in the list and its format block. None for any other type, and for a block
/// whose numbers contradict it.
std::optional<DecoderSetUp> SetUpOf(const AM_MEDIA_TYPE& type);

/// What the platform's renderers take: pictures in 32 bits, the lowest line first, and sound in 16.
CMediaType ShownType(const DecoderSetUp& setUp);

/// How many bytes a decoded picture has.
std::size_t PictureSize(const DecoderSetUp& setUp);
/// Turns a decoded picture of that size into one of the shown type. ITU-R BT.601.
void ShowPicture(const std::string& picture, const DecoderSetUp& setUp, BYTE* target);

struct LibraryDecoder;

/// A decoder out of this machine's libavcodec, which Wine loads into the program.
class Decoder {
 public:
  /// Not open when there is no such decoder, or no such library.
  explicit Decoder(const DecoderSetUp& setUp);
  bool IsOpen() const { return m_decoder != nullptr; }
  /// All that is complete with this sample; without bytes, all that is left. None when it is refused.
  std::optional<std::vector<Decoded>> Decode(std::span<const u8> sample, i64 time);

 private:
  struct Close {
    void operator()(LibraryDecoder* decoder) const;
  };
  std::size_t m_lengthBytes = 0;
  std::unique_ptr<LibraryDecoder, Close> m_decoder;
};

}  // namespace kt

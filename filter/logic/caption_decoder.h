#pragma once

#include <ktmp4/types.h>

namespace kt {

/// Takes the byte pairs of a caption track (CEA-608) that are to become text.
class CaptionDecoder {
 public:
  /// `time` is the position of the pair in the file, in 100 ns units.
  virtual void Decode(const u8* bytes, i32 count, i64 time) = 0;

 protected:
  ~CaptionDecoder() = default;
};

}  // namespace kt

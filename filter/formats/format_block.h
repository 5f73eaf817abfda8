#pragma once

#include <span>
#include <vector>

#include "filter/formats/media_type.h"

namespace kt {

/// What the header of a picture format says. Lengths are in pixels.
struct PictureFacts {
  u32 width = 0;
  u32 height = 0;
  /// The ratio of the picture's sides as it is shown, where its pixels are no squares; otherwise 0.
  u32 shapeWidth = 0;
  u32 shapeHeight = 0;
  /// Mean time of a picture in 100 ns units, 0 when it is not known.
  i64 timePerPicture = 0;
  /// As `FourCc` makes it: the code stands in the block in file order.
  u32 compression = 0;
};

/// The platform's VIDEOINFOHEADER (88 bytes) and `behind`, which its sizes do not count.
std::vector<u8> VideoInfoBlock(const PictureFacts& facts, std::span<const u8> behind);
/// The same as VIDEOINFOHEADER2 (112 bytes), which tells the shape of the picture as well.
std::vector<u8> VideoInfo2Block(const PictureFacts& facts, std::span<const u8> behind);

/// What MPEG2VIDEOINFO says beyond the picture.
struct SequenceFacts {
  u32 profile = 0;
  u32 level = 0;
  u32 flags = 0;
};

/// The platform's MPEG2VIDEOINFO: the header of `VideoInfo2Block`, five numbers, and the sequence header.
std::vector<u8> Mpeg2VideoBlock(const PictureFacts& facts, const SequenceFacts& sequence,
                                std::span<const u8> sequenceHeader);

/// What the header of a sound format says.
struct SoundFacts {
  u16 tag = 0;
  u16 channels = 0;
  /// Per second.
  u32 sampleRate = 0;
  u32 bytesPerSecond = 0;
  u16 blockAlign = 1;
  u16 bitsPerSample = 0;
};

/// The platform's WAVEFORMATEX (18 bytes) and `behind`, whose size it counts: at most 65,535 bytes, and none
/// of more.
std::vector<u8> WaveFormatBlock(const SoundFacts& facts, std::span<const u8> behind);

/// The types of coded samples, whose sizes differ: of pictures, and of sound behind a `WaveFormatBlock`.
MediaType CodedPictures(const Guid& subtype, const Guid& formatType, std::vector<u8> block);
MediaType CodedSound(const Guid& subtype, std::vector<u8> block);

}  // namespace kt

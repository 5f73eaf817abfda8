#pragma once

#include <cstddef>
#include <cstdint>

// What the shared library shows of itself; all else in it is hidden.
#ifdef _WIN32
#define KT_API
#else
#define KT_API __attribute__((visibility("default")))
#endif

namespace kt {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;
using i8 = std::int8_t;
using i16 = std::int16_t;
using i32 = std::int32_t;
using i64 = std::int64_t;

/// A four-character code ("moov") as the number that the file holds for it, read big-endian.
constexpr u32 FourCc(const char (&text)[5]) {
  return static_cast<u32>(static_cast<u8>(text[0])) << 24 | static_cast<u32>(static_cast<u8>(text[1])) << 16 |
         static_cast<u32>(static_cast<u8>(text[2])) << 8 | static_cast<u32>(static_cast<u8>(text[3]));
}

/// How a file is opened.
enum Mp4FileMode : u32 { MP4_MODE_READ = 0, MP4_MODE_WRITE = 1 };

/// The flavour of a file: its brands when written, its "ftyp" when read.
enum Mp4FileType : u32 { MP4_TYPE_MP4 = 0, MP4_TYPE_3GP = 1, MP4_TYPE_M4A = 2 };

/// What a track carries; decided by its media header box and, where there is none, its handler.
enum Mp4TrackKind : u32 {
  MP4_KIND_UNKNOWN = 0,
  MP4_KIND_VIDEO = 1,
  MP4_KIND_AUDIO = 2,
  MP4_KIND_HINT = 3,
  MP4_KIND_OBJECT_DESCRIPTOR = 4,
  MP4_KIND_SCENE_DESCRIPTION = 5,
  MP4_KIND_TEXT = 6,
};

/// The coding format of a track's samples, by the code of its first sample entry.
enum Mp4SampleFormat : u32 {
  MP4_FORMAT_UNKNOWN = 0,
  MP4_FORMAT_MP4V = 1,
  MP4_FORMAT_MP4A = 2,
  MP4_FORMAT_MP4S = 3,
  MP4_FORMAT_S263 = 4,
  MP4_FORMAT_SAWB = 5,
  MP4_FORMAT_SAMR = 6,
};

}  // namespace kt

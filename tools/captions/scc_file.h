#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <ktmp4/types.h>

namespace kt {

/// Two bytes of Line 21 with their parity bits (CEA-608).
using BytePair = std::array<u8, 2>;

/// How the time codes of a caption file count frames.
enum class FrameCount {
  kThirty,   ///< 30 frames a second
  kNonDrop,  ///< 29.97 a second, every number is used: an hour of code lasts 3603.6 s
  kDrop,     ///< 29.97 a second, and two numbers are left out in nine of ten minutes to keep pace
};

/// The frames of a way to count in a track: frame n stands at n times `ticksPerFrame`.
struct FrameClock {
  u32 timeScale;
  u32 ticksPerFrame;
};
/// Each way has a time scale of its own, by which a track tells how its captions were counted.
FrameClock ClockOf(FrameCount count);
/// What a track's time scale tells; with one that tells nothing, drop frame, which keeps pace with clocks.
FrameCount FrameCountOf(u32 timeScale);

/// Byte pairs that go out one to a frame, from `frame` on.
struct SccCue {
  u64 frame = 0;
  std::vector<BytePair> pairs;
  /// Where it stands in the file, counted from 1; 0 for one that comes from elsewhere.
  u32 line = 0;
};

/// What a Scenarist caption file ("Scenarist_SCC V1.0") holds.
struct SccFile {
  FrameCount count = FrameCount::kNonDrop;
  std::vector<SccCue> cues;
};

/// Frames a second, when a person says how many there are.
enum class FrameRate { kThirty, kNtsc };

/// Reads the text of a caption file. Codes with a semicolon are drop frame, others count at `rate` or,
/// without one, at 29.97. Throws a `Failure` that begins with the number of the line.
SccFile ReadScc(std::string_view text, std::optional<FrameRate> rate);

/// The frame of a time code as a caption file has it, counted as `count` says; nothing when it is none.
std::optional<u64> FrameOfCode(std::string_view text, FrameCount count);

/// The first line of a caption file.
inline constexpr std::string_view kSccHead = "Scenarist_SCC V1.0";

/// "01:02:03;04". Up to the last frame the hours have two digits.
std::string TimeCode(u64 frame, FrameCount count);
/// The frame with the last code, 99:59:59:29.
u64 LastFrame(FrameCount count);

}  // namespace kt

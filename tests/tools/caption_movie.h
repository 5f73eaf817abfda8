#pragma once

#include "support/line21_script.h"
#include "support/movie_builder.h"

namespace kt::test {

/// Byte pairs that go out one to a tick of a 30th of a second, from `second` on.
struct CaptionLine {
  u32 second;
  std::vector<Line21Pair> pairs;
};

inline constexpr u32 kPairsPerSecond = 30;

inline CaptionLine ScriptLine(u32 second, std::string_view script) {
  return {second, Line21Pairs(script)};
}

/// A caption track that begins at time 0 with a pair without data, and its media data: samples of three
/// bytes, the first of which means nothing. A line has to end before the next one begins.
inline Movie CaptionMovie(const std::vector<CaptionLine>& lines) {
  Bytes bytes;
  std::vector<std::pair<u32, u32>> durations;
  u32 samples = 0;
  u32 lastTime = 0;
  const auto add = [&](u32 time, const Line21Pair& pair) {
    if (samples > 0) durations.push_back({1, time - lastTime});
    lastTime = time;
    bytes.U8(0xFF).U8(pair[0]).U8(pair[1]);
    ++samples;
  };
  add(0, {0x80, 0x80});
  for (const CaptionLine& line : lines) {
    for (std::size_t i = 0; i < line.pairs.size(); ++i) {
      add(line.second * kPairsPerSecond + static_cast<u32>(i) + 1, line.pairs[i]);
    }
  }
  durations.push_back({1, 1});
  Track track;
  track.mdhd = Mdhd(kPairsPerSecond, lastTime + 1);
  track.hdlr = Hdlr("text");
  track.mediaHeader = Nmhd();
  track.stsd = Stsd({Box("ln21", Bytes().Zeros(6).U16(1))});
  track.stts = Stts(durations);
  track.stsz = ConstantStsz(3, samples);
  track.stsc = Stsc({{1, samples}});
  track.chunkOffsets = Stco({24});
  Movie movie = MovieOf(track);
  movie.mdat = Box("mdat", bytes);
  return movie;
}

}  // namespace kt::test

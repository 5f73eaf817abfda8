#pragma once

#include <vector>

#include <ktmp4/types.h>

namespace kt {

/// Samples of AAC to be written, all of one size, of bytes of no meaning.
struct Sound {
  u32 samples = 1'000'000;
  u32 sampleSize = 200;

  static constexpr u32 kRate = 44100;
  static constexpr u32 kTicksPerSample = 1024;
};

/// The bytes of a sample, which differ from sample to sample.
inline void FillSample(std::vector<u8>& bytes, u32 index) {
  for (std::size_t i = 0; i < bytes.size(); i += 16) bytes[i] = static_cast<u8>(index + i);
}

}  // namespace kt

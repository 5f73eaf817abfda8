#pragma once

#include <string>
#include <vector>

#include <ktmp4/ktmp4.hpp>
#include "bench/our_reader.h"

namespace kt {

/// A file read through the values of `ktmp4.hpp`.
class CValueReader {
 public:
  explicit CValueReader(const std::string& path);

  /// As `COurReader::ReadByTrack`.
  Tally ReadByTrack();

 private:
  ktmp4::Movie m_movie;
  std::vector<ktmp4::Track> m_tracks;
  std::vector<u8> m_buffer = std::vector<u8>(1 << 16);
};

}  // namespace kt

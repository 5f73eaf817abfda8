#pragma once

#include <string>
#include <vector>

#include "bench/our_reader.h"

struct AVFormatContext;

namespace kt {

/// The same file through libavformat. Only the file format is asked: streams are not probed, no parser runs
/// over the packets, and edit lists are ignored as this library ignores them.
class CPeerReader {
 public:
  explicit CPeerReader(const std::string& path);
  CPeerReader(const CPeerReader&) = delete;
  CPeerReader& operator=(const CPeerReader&) = delete;
  ~CPeerReader();

  /// Every sample in the order that av_read_frame gives them.
  Tally ReadAll();
  /// av_seek_frame, backwards to a key frame, of stream `stream` (and, with it, of all others).
  u64 Seek(int stream, const std::vector<u64>& times);
  /// av_index_search_timestamp: the look-up alone, by decoding time.
  u64 SearchIndex(int stream, const std::vector<u64>& times);

 private:
  AVFormatContext* m_context = nullptr;
};

}  // namespace kt

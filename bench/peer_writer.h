#pragma once

#include <string>

#include "bench/sound.h"

struct AVFormatContext;
struct AVPacket;

namespace kt {

/// The same file of sound through libavformat's muxer.
class CPeerWriter {
 public:
  explicit CPeerWriter(const std::string& path);
  CPeerWriter(const CPeerWriter&) = delete;
  CPeerWriter& operator=(const CPeerWriter&) = delete;
  ~CPeerWriter();

  /// av_write_frame: the packets go to the muxer as they are, without a queue for interleaving.
  void Write(const Sound& sound);
  void Finish();

 private:
  AVFormatContext* m_context = nullptr;
  AVPacket* m_packet;
};

/// Copies all streams, in the order in which av_read_frame gives the packets.
void PeerRemux(const std::string& from, const std::string& to);
/// The same with "-movflags rtphint", which hints each packet as it is written.
void PeerHintedRemux(const std::string& from, const std::string& to);
/// Samples of all tracks of a file, those of hints among them.
u64 PeerCountSamples(const std::string& file);

}  // namespace kt

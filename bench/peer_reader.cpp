#include "bench/peer_reader.h"

#include "bench/check.h"
#include "bench/libav.h"

namespace kt {
CPeerReader::CPeerReader(const std::string& path) {
  m_context = avformat_alloc_context();
  m_context->flags |= AVFMT_FLAG_NOPARSE;
  AVDictionary* options = nullptr;
  av_dict_set(&options, "ignore_editlist", "1", 0);
  CheckPeer(avformat_open_input(&m_context, path.c_str(), nullptr, &options), path.c_str());
  av_dict_free(&options);
}

CPeerReader::~CPeerReader() {
  avformat_close_input(&m_context);
}

Tally CPeerReader::ReadAll() {
  Tally tally;
  AVPacket* packet = av_packet_alloc();
  while (av_read_frame(m_context, packet) >= 0) {
    tally.Add(static_cast<u64>(packet->size), static_cast<u64>(packet->dts), static_cast<u64>(packet->pts),
              packet->data[0]);
    av_packet_unref(packet);
  }
  av_packet_free(&packet);
  return tally;
}

u64 CPeerReader::Seek(int stream, const std::vector<u64>& times) {
  u64 found = 0;
  for (const u64 time : times) {
    if (av_seek_frame(m_context, stream, static_cast<i64>(time), AVSEEK_FLAG_BACKWARD) >= 0) ++found;
  }
  return found;
}

u64 CPeerReader::SearchIndex(int stream, const std::vector<u64>& times) {
  u64 sum = 0;
  for (const u64 time : times) {
    const int entry =
        av_index_search_timestamp(m_context->streams[stream], static_cast<i64>(time), AVSEEK_FLAG_BACKWARD);
    sum += static_cast<u64>(entry + 1);
  }
  return sum;
}

}  // namespace kt

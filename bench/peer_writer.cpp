#include "bench/peer_writer.h"

#include "bench/check.h"
#include "bench/libav.h"

namespace kt {
namespace {

AVFormatContext* OpenOutput(const std::string& path) {
  AVFormatContext* context = nullptr;
  CheckPeer(avformat_alloc_output_context2(&context, nullptr, "mp4", path.c_str()), path.c_str());
  CheckPeer(avio_open(&context->pb, path.c_str(), AVIO_FLAG_WRITE), path.c_str());
  return context;
}

// Without the boxes and edits that this library does not write either.
void WriteHeader(AVFormatContext* context, bool hinted = false) {
  AVDictionary* options = nullptr;
  if (hinted) av_dict_set(&options, "movflags", "rtphint", 0);
  av_dict_set(&options, "write_btrt", "0", 0);
  av_dict_set(&options, "use_editlist", "0", 0);
  CheckPeer(avformat_write_header(context, &options), "avformat_write_header");
  av_dict_free(&options);
}

void CloseOutput(AVFormatContext* context) {
  avio_closep(&context->pb);
  avformat_free_context(context);
}

void Remux(const std::string& from, const std::string& to, bool hinted) {
  AVFormatContext* input = avformat_alloc_context();
  input->flags |= AVFMT_FLAG_NOPARSE;
  AVDictionary* options = nullptr;
  av_dict_set(&options, "ignore_editlist", "1", 0);
  CheckPeer(avformat_open_input(&input, from.c_str(), nullptr, &options), from.c_str());
  av_dict_free(&options);
  AVFormatContext* output = OpenOutput(to);
  for (unsigned i = 0; i < input->nb_streams; ++i) {
    AVStream* stream = avformat_new_stream(output, nullptr);
    CheckPeer(avcodec_parameters_copy(stream->codecpar, input->streams[i]->codecpar), "copying parameters");
    stream->time_base = input->streams[i]->time_base;
    if (stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO && stream->codecpar->width == 0) {
      // The muxer asks for a size that only a probe would find.
      stream->codecpar->width = 640;
      stream->codecpar->height = 360;
    }
  }
  WriteHeader(output, hinted);
  AVPacket* packet = av_packet_alloc();
  while (av_read_frame(input, packet) >= 0) {
    const int index = packet->stream_index;
    av_packet_rescale_ts(packet, input->streams[index]->time_base, output->streams[index]->time_base);
    packet->pos = -1;
    CheckPeer(av_write_frame(output, packet), "av_write_frame");
    av_packet_unref(packet);
  }
  av_packet_free(&packet);
  CheckPeer(av_write_trailer(output), "av_write_trailer");
  CloseOutput(output);
  avformat_close_input(&input);
}

}  // namespace

CPeerWriter::CPeerWriter(const std::string& path) : m_context(OpenOutput(path)), m_packet(av_packet_alloc()) {
  AVStream* stream = avformat_new_stream(m_context, nullptr);
  AVCodecParameters* parameters = stream->codecpar;
  parameters->codec_type = AVMEDIA_TYPE_AUDIO;
  parameters->codec_id = AV_CODEC_ID_AAC;
  parameters->sample_rate = static_cast<int>(Sound::kRate);
  parameters->frame_size = static_cast<int>(Sound::kTicksPerSample);
  av_channel_layout_default(&parameters->ch_layout, 2);
  parameters->extradata = static_cast<u8*>(av_mallocz(2 + AV_INPUT_BUFFER_PADDING_SIZE));
  parameters->extradata[0] = 0x12;
  parameters->extradata[1] = 0x10;
  parameters->extradata_size = 2;
  stream->time_base = {1, static_cast<int>(Sound::kRate)};
  WriteHeader(m_context);
}

CPeerWriter::~CPeerWriter() {
  av_packet_free(&m_packet);
  CloseOutput(m_context);
}

void CPeerWriter::Write(const Sound& sound) {
  std::vector<u8> bytes(sound.sampleSize);
  for (u32 i = 0; i < sound.samples; ++i) {
    FillSample(bytes, i);
    m_packet->data = bytes.data();
    m_packet->size = static_cast<int>(bytes.size());
    m_packet->stream_index = 0;
    m_packet->dts = m_packet->pts = static_cast<i64>(i) * Sound::kTicksPerSample;
    m_packet->duration = Sound::kTicksPerSample;
    m_packet->flags = AV_PKT_FLAG_KEY;
    CheckPeer(av_write_frame(m_context, m_packet), "av_write_frame");
  }
}

void CPeerWriter::Finish() {
  CheckPeer(av_write_trailer(m_context), "av_write_trailer");
}

void PeerRemux(const std::string& from, const std::string& to) {
  Remux(from, to, false);
}

void PeerHintedRemux(const std::string& from, const std::string& to) {
  Remux(from, to, true);
}

u64 PeerCountSamples(const std::string& file) {
  AVFormatContext* context = nullptr;
  CheckPeer(avformat_open_input(&context, file.c_str(), nullptr, nullptr), file.c_str());
  u64 samples = 0;
  for (unsigned i = 0; i < context->nb_streams; ++i)
    samples += static_cast<u64>(context->streams[i]->nb_frames);
  avformat_close_input(&context);
  return samples;
}

}  // namespace kt

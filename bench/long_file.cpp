#include "bench/long_file.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <random>

#include "bench/check.h"
#include "bench/libav.h"

namespace kt {
namespace {

// Any decoder configuration does, since nothing is decoded.
void SetExtraData(AVCodecParameters* parameters, std::initializer_list<u8> bytes) {
  void* data = av_mallocz(bytes.size() + AV_INPUT_BUFFER_PADDING_SIZE);
  std::memcpy(data, bytes.begin(), bytes.size());
  parameters->extradata = static_cast<u8*>(data);
  parameters->extradata_size = static_cast<int>(bytes.size());
}

class CLongFileWriter {
 public:
  CLongFileWriter(const LongFile& wanted, const std::string& path) : m_wanted(wanted) {
    CheckPeer(avformat_alloc_output_context2(&m_context, nullptr, "mp4", path.c_str()), path.c_str());
    if (wanted.withVideo) AddVideo();
    while (m_context->nb_streams < 2) AddSound();
    CheckPeer(avio_open(&m_context->pb, path.c_str(), AVIO_FLAG_WRITE), path.c_str());
    // A "btrt" behind "esds" would make the reader refuse the file; the pixel shape is left out as well.
    AVDictionary* options = nullptr;
    av_dict_set(&options, "write_btrt", "0", 0);
    av_dict_set(&options, "video_track_timescale", "12800", 0);
    // Without edits both sides give a sample the same times.
    av_dict_set(&options, "use_editlist", "0", 0);
    if (wanted.fragmented) av_dict_set(&options, "movflags", "frag_keyframe+empty_moov+default_base_moof", 0);
    CheckPeer(avformat_write_header(m_context, &options), path.c_str());
    av_dict_free(&options);
  }
  CLongFileWriter(const CLongFileWriter&) = delete;
  CLongFileWriter& operator=(const CLongFileWriter&) = delete;
  ~CLongFileWriter() {
    avio_closep(&m_context->pb);
    avformat_free_context(m_context);
    av_packet_free(&m_packet);
  }

  // Tracks take turns; what stands together of one track becomes a chunk.
  void Write() {
    std::array<u32, 2> written{};
    for (u64 turn = 1; written[0] < Total(0) || written[1] < Total(1); ++turn) {
      for (u32 stream = 0; stream < 2; ++stream) {
        const u32 end = std::min(Total(stream), EndOfTurn(stream, turn));
        for (; written[stream] < end; ++written[stream]) WriteSample(stream, written[stream]);
      }
    }
    CheckPeer(av_write_trailer(m_context), "end of the file");
  }

 private:
  bool IsVideo(u32 stream) const { return stream == 0 && m_wanted.withVideo; }

  u32 Total(u32 stream) const {
    const u64 seconds = m_wanted.seconds;
    return static_cast<u32>(IsVideo(stream)
                                ? seconds * LongFile::kPictureRate
                                : seconds * LongFile::kSoundRate / LongFile::kTicksPerSoundSample);
  }

  u32 EndOfTurn(u32 stream, u64 turn) const {
    if (m_wanted.samplesPerChunk > 0) return static_cast<u32>(turn * m_wanted.samplesPerChunk);
    return static_cast<u32>(IsVideo(stream)
                                ? turn * LongFile::kPictureRate / 2
                                : turn * LongFile::kSoundRate / 2 / LongFile::kTicksPerSoundSample);
  }

  void AddVideo() {
    AVCodecParameters* parameters = avformat_new_stream(m_context, nullptr)->codecpar;
    parameters->codec_type = AVMEDIA_TYPE_VIDEO;
    parameters->codec_id = AV_CODEC_ID_MPEG4;
    parameters->width = 640;
    parameters->height = 360;
    SetExtraData(parameters, {0x00, 0x00, 0x01, 0xB0, 0x01, 0x00, 0x00, 0x01, 0xB5, 0x89, 0x13});
    m_context->streams[0]->time_base = {1, LongFile::kPictureRate * LongFile::kTicksPerPicture};
  }

  void AddSound() {
    AVStream* stream = avformat_new_stream(m_context, nullptr);
    AVCodecParameters* parameters = stream->codecpar;
    parameters->codec_type = AVMEDIA_TYPE_AUDIO;
    parameters->codec_id = AV_CODEC_ID_AAC;
    parameters->sample_rate = LongFile::kSoundRate;
    parameters->frame_size = LongFile::kTicksPerSoundSample;
    av_channel_layout_default(&parameters->ch_layout, 2);
    SetExtraData(parameters, {0x12, 0x10});
    stream->time_base = {1, LongFile::kSoundRate};
  }

  u32 Size(bool video, bool key) {
    const u32 noise = static_cast<u32>(m_random());
    if (m_wanted.small) return 8 + noise % 16;
    if (m_wanted.samplesPerChunk > 0) return 40 + noise % 50;
    if (!video) return 120 + noise % 200;
    return key ? 1000 + noise % 500 : 200 + noise % 800;
  }

  void WriteSample(u32 stream, u32 index) {
    i64 time = index;
    i64 shown = index;
    bool key = true;
    if (IsVideo(stream)) {
      // Decoding order 0 3 1 2 6 4 5 ...: a reference comes before the two pictures shown ahead of it. Shown
      // times are one picture late, so that none lies before its decoding time.
      const bool reference = index % 3 == 1;
      shown = index == 0 ? 1 : reference ? time + 3 : time;
      key = (shown - 1) % LongFile::kPicturesPerKeyFrame == 0;
      time *= LongFile::kTicksPerPicture;
      shown *= LongFile::kTicksPerPicture;
    } else {
      time *= LongFile::kTicksPerSoundSample;
      shown = time;
    }
    m_bytes.resize(Size(IsVideo(stream), key));
    for (std::size_t i = 0; i < m_bytes.size(); i += 16) m_bytes[i] = static_cast<u8>(index + i);
    m_packet->data = m_bytes.data();
    m_packet->size = static_cast<int>(m_bytes.size());
    m_packet->stream_index = static_cast<int>(stream);
    m_packet->dts = time;
    m_packet->pts = shown;
    m_packet->duration = IsVideo(stream) ? LongFile::kTicksPerPicture : LongFile::kTicksPerSoundSample;
    m_packet->flags = key ? AV_PKT_FLAG_KEY : 0;
    CheckPeer(av_write_frame(m_context, m_packet), "writing a sample");
  }

  const LongFile m_wanted;
  AVFormatContext* m_context = nullptr;
  AVPacket* m_packet = av_packet_alloc();
  std::mt19937 m_random{20};
  std::vector<u8> m_bytes;
};

}  // namespace

std::string MakeLongFile(const LongFile& wanted, const std::string& folder) {
  const std::string path =
      folder + "/" + (wanted.small ? "small-" : "") + (wanted.withVideo ? "film" : "sound") + "-" +
      std::to_string(wanted.seconds) + "s-" +
      (wanted.fragmented ? "fragments" : "chunk" + std::to_string(wanted.samplesPerChunk)) + ".mp4";
  if (std::filesystem::exists(path)) return path;
  const std::string unfinished = path + ".unfinished";
  std::fprintf(stderr, "Writing %s\n", path.c_str());
  CLongFileWriter(wanted, unfinished).Write();
  std::filesystem::rename(unfinished, path);
  return path;
}

std::vector<u64> RandomTimes(u32 count, u64 end) {
  std::mt19937_64 random(4711);
  std::vector<u64> times(count);
  for (u64& time : times) time = random() % std::max<u64>(end, 1);
  return times;
}

}  // namespace kt

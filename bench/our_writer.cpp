#include "bench/our_writer.h"

#include <ktmp4/mp4_hint_track.h>
#include "bench/check.h"

namespace kt {
namespace {

std::unique_ptr<CMp4File> OpenFile(const std::string& path, u32 mode) {
  CMp4File* file = nullptr;
  Check(CreateMp4File(&file), "CreateMp4File");
  Check(file->Open(path.c_str(), mode, MP4_TYPE_MP4), path.c_str());
  return std::unique_ptr<CMp4File>(file);
}

// One track on its way from file to file.
class CTrackCopy {
 public:
  CTrackCopy(CMp4File& from, CMp4File& to, u32 index) {
    Check(from.OpenTrack(index, &m_from), "OpenTrack");
    Check(to.AddTrack(&m_to), "AddTrack");
    u32 kind = 0, format = 0, infoSize = 0;
    Check(m_from->GetTrackType(&kind), "GetTrackType");
    Check(m_from->GetSampleFormat(&format), "GetSampleFormat");
    Check(m_from->GetTimeScale(&m_timeScale), "GetTimeScale");
    Check(m_from->GetSampleCount(&m_samples), "GetSampleCount");
    Check(m_from->GetDecoderSpecificInfo(1, static_cast<u32>(m_buffer.size()), &infoSize, m_buffer.data()),
          "GetDecoderSpecificInfo");
    Check(m_to->SetTrackType(kind), "SetTrackType");
    Check(m_to->SetTimeScale(m_timeScale), "SetTimeScale");
    if (kind == MP4_KIND_AUDIO) {
      Check(m_to->SetAudioFormat(0x100, 0, m_buffer.data(), infoSize, format), "SetAudioFormat");
    } else {
      u16 width = 0, height = 0;
      Check(m_from->GetVideoSize(&width, &height), "GetVideoSize");
      Check(m_to->SetVideoFormat(width, height, m_buffer.data(), infoSize, format), "SetVideoFormat");
    }
  }

  bool IsComplete() const { return m_next > m_samples; }
  double NextTime() const { return static_cast<double>(m_nextTime) / m_timeScale; }

  void CopyNext() {
    u32 size = 0, sync = 0;
    u64 shown = 0;
    Check(m_from->ReadSample(m_next, static_cast<u32>(m_buffer.size()), &size, m_buffer.data()),
          "ReadSample");
    Check(m_from->GetSampleCompositionTime(m_next, &shown), "GetSampleCompositionTime");
    Check(m_from->FindSyncSample(shown, &sync), "FindSyncSample");
    Check(m_to->WriteSample(m_buffer.data(), size, m_nextTime, shown, sync == m_next ? 1 : 0), "WriteSample");
    if (++m_next <= m_samples) {
      Check(m_from->GetSampleDecodingTime(m_next, &m_nextTime), "GetSampleDecodingTime");
    }
  }

  void Finish(CMp4File& from, CMp4File& to) {
    Check(from.CloseTrack(m_from), "CloseTrack");
    Check(to.CloseTrack(m_to), "CloseTrack");
  }

 private:
  CMp4Track* m_from = nullptr;
  CMp4Track* m_to = nullptr;
  u32 m_timeScale = 0;
  u32 m_samples = 0;
  u32 m_next = 1;
  u64 m_nextTime = 0;
  std::vector<u8> m_buffer = std::vector<u8>(1 << 16);
};

void Hint(CMp4File& file, u32 media, u32 hintType) {
  CMp4HintTrack* track = nullptr;
  Check(file.AddHintTrack(&track, hintType), "AddHintTrack");
  Check(track->AddReferencedTrack(media), "AddReferencedTrack");
  Check(track->SetMaxPacketSize(1450), "SetMaxPacketSize");
  Check(file.CloseHintTrack(track), "CloseHintTrack");
}

void Remux(const std::string& from, const std::string& to, bool hinted) {
  const auto input = OpenFile(from, MP4_MODE_READ);
  const auto output = OpenFile(to, MP4_MODE_WRITE);
  CTrackCopy tracks[] = {{*input, *output, 1}, {*input, *output, 2}};
  while (!tracks[0].IsComplete() || !tracks[1].IsComplete()) {
    const bool second =
        tracks[0].IsComplete() || (!tracks[1].IsComplete() && tracks[1].NextTime() < tracks[0].NextTime());
    tracks[second ? 1 : 0].CopyNext();
  }
  for (CTrackCopy& track : tracks) track.Finish(*input, *output);
  if (hinted) {
    Check(output->AddSceneTracks(1, 2, 0), "AddSceneTracks");
    Hint(*output, 1, MP4_HINT_VIDEO);
    Hint(*output, 2, MP4_HINT_AAC);
  }
  Check(input->Close(), "Close");
  Check(output->Close(), "Close");
}

}  // namespace

COurWriter::COurWriter(const std::string& path) : m_file(OpenFile(path, MP4_MODE_WRITE)) {
  Check(m_file->AddTrack(&m_track), "AddTrack");
  Check(m_track->SetTrackType(MP4_KIND_AUDIO), "SetTrackType");
  Check(m_track->SetTimeScale(Sound::kRate), "SetTimeScale");
  Check(m_track->SetAudioFormat(0x100, 0, "\x12\x10", 2, MP4_FORMAT_MP4A), "SetAudioFormat");
}

void COurWriter::Write(const Sound& sound) {
  std::vector<u8> bytes(sound.sampleSize);
  for (u32 i = 0; i < sound.samples; ++i) {
    FillSample(bytes, i);
    const u64 time = u64{i} * Sound::kTicksPerSample;
    Check(m_track->WriteSample(bytes.data(), sound.sampleSize, time, time, 1), "WriteSample");
  }
}

void COurWriter::Finish() {
  Check(m_file->CloseTrack(m_track), "CloseTrack");
  Check(m_file->Close(), "Close");
}

void OurRemux(const std::string& from, const std::string& to) {
  Remux(from, to, false);
}

void OurHintedRemux(const std::string& from, const std::string& to) {
  Remux(from, to, true);
}

}  // namespace kt

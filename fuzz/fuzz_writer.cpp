// Writes a file by any sequence of calls, in any state, and looks at it: a file that closed after a track of
// it closed opens again, and its tracks hold what they took.

#include <fuzzer/FuzzedDataProvider.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

#include <ktmp4/mp4_file.h>
#include <ktmp4/mp4_hint_track.h>
#include "fuzz/memory_file.h"

namespace {

using namespace kt;
using kt::fuzz::Ignore;
using kt::fuzz::Require;

constexpr int kMaxCalls = 400;
constexpr std::size_t kMaxTracks = 12;
constexpr u32 kMaxSampleSize = 70'000;

class Writer {
 public:
  explicit Writer(FuzzedDataProvider& input) : m_input(input), m_bytes(kMaxSampleSize, 0x5A) {
    CMp4File* made = nullptr;
    Require(CreateMp4File(&made) == MP4_OK, "create");
    m_file.reset(made);
  }

  void Open(const std::string& name) {
    m_fileType = m_input.ConsumeBool() ? MP4_TYPE_MP4 : MP4_TYPE_3GP;
    Require(m_file->Open(name.c_str(), MP4_MODE_WRITE, m_fileType) == MP4_OK, "open to write");
  }

  void Call() {
    switch (m_input.ConsumeIntegralInRange(0, 9)) {
      case 0:
        return AddTrack();
      case 1:
        return CloseTrack();
      case 2:
        return AddHintTrack();
      case 3:
        return CallHintTrack();
      case 4:
        return CallFile();
      default:
        return CallTrack();
    }
  }

  // Closes, with a scene where one is asked for.
  bool Close() {
    Mp4Result closed = m_file->Close();
    if (closed == MP4_NO_SCENE_TRACKS) {
      Ignore(m_file->AddSceneTracks(Number(), Number(), Number()));
      closed = m_file->Close();
    }
    return closed == MP4_OK;
  }

  u32 FileType() const { return m_fileType; }
  u32 ClosedTracks() const { return m_closedTracks; }

 private:
  u32 Number() {
    constexpr std::array<u32, 10> kNumbers = {0,      1,      2,       3,          90'000,
                                              0x7FFF, 0xFFFF, 0x10000, 0x7FFFFFFF, 0xFFFFFFFF};
    return m_input.ConsumeBool() ? m_input.PickValueInArray(kNumbers) : m_input.ConsumeIntegral<u32>();
  }

  // Most times rise by little, since a track takes no sample after one that it has refused.
  u64 Time() {
    if (m_input.ConsumeIntegralInRange(0, 15) == 0) return m_input.ConsumeIntegral<u64>();
    return m_time += m_input.ConsumeIntegral<u8>();
  }

  // One of those that are open; there is one.
  template <class Track>
  auto Pick(std::vector<std::unique_ptr<Track>>& open) {
    return open.begin() + m_input.ConsumeIntegralInRange<std::ptrdiff_t>(0, std::ssize(open) - 1);
  }

  void AddTrack() {
    CMp4Track* added = nullptr;
    if (m_tracks.size() + m_hints.size() >= kMaxTracks || m_file->AddTrack(&added) != MP4_OK) return;
    m_tracks.emplace_back(added);
    Ignore(added->SetTrackType(m_input.ConsumeIntegralInRange<u32>(0, 7)));
    if (m_input.ConsumeBool()) Ignore(added->SetTimeScale(90'000));
    SetFormat(*added);
  }

  void SetFormat(CMp4Track& track) {
    constexpr std::array<u32, 6> kFormats = {MP4_FORMAT_MP4V, MP4_FORMAT_S263, MP4_FORMAT_MP4A,
                                             MP4_FORMAT_SAWB, MP4_FORMAT_SAMR, 0};
    const u32 format = m_input.PickValueInArray(kFormats);
    const u32 infoSize = m_input.ConsumeIntegralInRange<u32>(0, 40);
    switch (m_input.ConsumeIntegralInRange(0, 3)) {
      case 0:
        return Ignore(track.SetVideoFormat(320, Number(), m_bytes.data(), infoSize, format));
      case 1:
        return Ignore(track.SetAudioFormat(0x100, 0, m_bytes.data(), infoSize, format));
      case 2:
        return Ignore(track.SetLine21Format(Number(), Number(), Number()));
      default:
        return;
    }
  }

  void CallTrack() {
    if (m_tracks.empty()) return;
    CMp4Track& track = **Pick(m_tracks);
    switch (m_input.ConsumeIntegralInRange(0, 9)) {
      case 0:
        return Ignore(track.SetTimeScale(Number()));
      case 1:
        return Ignore(track.SetDimensions(Number(), Number()));
      case 2:
        return SetFormat(track);
      case 3:
        return AskTrack(track);
      case 4:
        return Ignore(track.SetCopyright("eng", "notice", Number() % 4));
      default:
        return WriteSample(track);
    }
  }

  void AskTrack(CMp4Track& track) {
    u64 time = 0;
    u32 sample = 0;
    Ignore(track.GetSampleDecodingTime(Number(), &time));
    Ignore(track.FindSyncSample(time, &sample));
    Ignore(track.ReadSample(Number(), static_cast<u32>(m_bytes.size()), &sample, m_bytes.data()));
  }

  void WriteSample(CMp4Track& track) {
    const u32 size = m_input.ConsumeIntegralInRange(0, 20) == 0
                         ? m_input.ConsumeIntegralInRange<u32>(0, kMaxSampleSize)
                         : m_input.ConsumeIntegral<u8>();
    const u64 decoding = Time();
    const u64 composition = decoding + m_input.ConsumeIntegralInRange<u32>(0, 100);
    Ignore(track.WriteSample(m_bytes.data(), size, decoding, composition, m_input.ConsumeBool()));
  }

  void CloseTrack() {
    if (m_tracks.empty()) return;
    const auto picked = Pick(m_tracks);
    if (m_file->CloseTrack(picked->get()) != MP4_OK) return;
    static_cast<void>(picked->release());
    m_tracks.erase(picked);
    ++m_closedTracks;
  }

  void AddHintTrack() {
    CMp4HintTrack* added = nullptr;
    if (m_tracks.size() + m_hints.size() >= kMaxTracks) return;
    if (m_file->AddHintTrack(&added, m_input.ConsumeIntegralInRange<u32>(0, 5)) != MP4_OK) return;
    m_hints.emplace_back(added);
  }

  void CallHintTrack() {
    if (m_hints.empty()) return;
    const auto picked = Pick(m_hints);
    CMp4HintTrack& hint = **picked;
    switch (m_input.ConsumeIntegralInRange(0, 7)) {
      case 0:
        return Ignore(hint.SetMaxPacketSize(static_cast<u16>(Number())));
      case 1:
        return Ignore(hint.SetMaxSamplesPerPacket(Number()));
      case 2:
        return Ignore(hint.SetRtpTimeScale(Number()));
      case 3:
        return Ignore(hint.SetTimeScale(Number()));
      case 4:
        return Ignore(hint.DumpHintSample(Number()));
      case 5:
        if (m_file->CloseHintTrack(&hint) != MP4_OK) return;
        static_cast<void>(picked->release());
        m_hints.erase(picked);
        return;
      default:
        return Ignore(hint.AddReferencedTrack(m_input.ConsumeIntegralInRange<u32>(0, 6)));
    }
  }

  void CallFile() {
    switch (m_input.ConsumeIntegralInRange(0, 5)) {
      case 0:
        return Ignore(m_file->AddSceneTracks(Number() % 4, Number() % 4, Number() % 4));
      case 1:
        return Ignore(m_file->SetCopyright("eng", "notice", Number() % 4));
      case 2:
        return Ignore(m_file->SetCreationDate(Number() % 3000, 1, 2, 3, 4, 5));
      case 3:
        return Ignore(m_file->Dump());
      default: {
        CMp4Track* opened = nullptr;
        if (m_tracks.size() >= kMaxTracks || m_file->OpenTrack(Number() % 8, &opened) != MP4_OK) return;
        AskTrack(*opened);
        Require(m_file->CloseTrack(opened) == MP4_OK, "a track that is read closes");
      }
    }
  }

  FuzzedDataProvider& m_input;
  std::vector<u8> m_bytes;
  // Tracks that were not closed are deleted, ahead of their file.
  std::unique_ptr<CMp4File> m_file;
  std::vector<std::unique_ptr<CMp4Track>> m_tracks;
  std::vector<std::unique_ptr<CMp4HintTrack>> m_hints;
  u32 m_fileType = MP4_TYPE_MP4;
  u32 m_closedTracks = 0;
  u64 m_time = 0;
};

void Read(const std::string& name, u32 fileType) {
  CMp4File* made = nullptr;
  Require(CreateMp4File(&made) == MP4_OK, "create");
  const std::unique_ptr<CMp4File> file(made);
  Require(file->Open(name.c_str(), MP4_MODE_READ, fileType) == MP4_OK, "what was closed opens");
  u32 count = 0;
  Ignore(file->GetTrackCount(&count));
  std::vector<u8> bytes(kMaxSampleSize);
  for (u32 index = 1; index <= count; ++index) {
    CMp4Track* opened = nullptr;
    if (file->OpenTrack(index, &opened) != MP4_OK) continue;
    const std::unique_ptr<CMp4Track> track(opened);
    u32 samples = 0, size = 0;
    Ignore(track->GetSampleCount(&samples));
    for (u32 sample = 1; sample <= samples; ++sample) {
      Ignore(track->ReadSample(sample, kMaxSampleSize, &size, bytes.data()));
    }
  }
  Ignore(file->Dump());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size) {
  kt::fuzz::SilenceStandardOutput();
  FuzzedDataProvider input(data, size);
  const std::string name = kt::fuzz::NameOfSecondFile();
  bool closed = false;
  u32 fileType = 0, tracks = 0;
  {
    Writer writer(input);
    writer.Open(name);
    for (int i = 0; i < kMaxCalls && input.remaining_bytes() > 0; ++i) writer.Call();
    closed = writer.Close();
    fileType = writer.FileType();
    tracks = writer.ClosedTracks();
  }
  if (closed && tracks > 0) Read(name, fileType);
  return 0;
}

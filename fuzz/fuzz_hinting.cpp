// Presents the input as a file, copies its tracks into another file, hints them, closes that and reads it
// again: whatever was closed opens, and its hints and session description are whole. The low byte of a
// leading "ftyp" box's minor version chooses payload formats, limits and the type, so that every file is a
// seed.

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <ktmp4/mp4_file.h>
#include <ktmp4/mp4_hint_track.h>
#include "fuzz/memory_file.h"

namespace {

using namespace kt;
using kt::fuzz::Ignore;
using kt::fuzz::Require;

constexpr std::size_t kChoice = 15;
constexpr u32 kMaxTracks = 5;
constexpr u32 kMaxSamples = 150;
constexpr u32 kMaxSampleSize = 1 << 14;

std::unique_ptr<CMp4File> MakeFile() {
  CMp4File* made = nullptr;
  Require(CreateMp4File(&made) == MP4_OK, "create");
  return std::unique_ptr<CMp4File>(made);
}

// A track that is deleted whatever comes of it; one that the file has taken back is let go of.
std::unique_ptr<CMp4Track> OpenTrack(CMp4File& file, u32 index) {
  CMp4Track* track = nullptr;
  Ignore(file.OpenTrack(index, &track));
  return std::unique_ptr<CMp4Track>(track);
}

void SetFormat(CMp4Track& from, CMp4Track& to, u32 kind) {
  u32 format = 0, size = 0;
  u16 width = 0, height = 0;
  Ignore(from.GetSampleFormat(&format));
  Ignore(from.GetDecoderSpecificInfoSize(1, &size));
  std::vector<u8> info(size);
  if (size > 0) Ignore(from.GetDecoderSpecificInfo(1, size, &size, info.data()));
  Ignore(from.GetVideoSize(&width, &height));
  switch (kind) {
    case MP4_KIND_VIDEO:
      return Ignore(to.SetVideoFormat(width, height, info.data(), size, format));
    case MP4_KIND_AUDIO:
      return Ignore(to.SetAudioFormat(0x100, 0, info.data(), size, format));
    default:
      return Ignore(to.SetLine21Format(0, 0, 0));
  }
}

void CopySamples(CMp4Track& from, CMp4Track& to) {
  std::vector<u8> bytes(kMaxSampleSize);
  for (u32 sample = 1; sample <= kMaxSamples; ++sample) {
    u32 size = 0;
    u64 decoding = 0, composition = 0;
    if (from.ReadSample(sample, kMaxSampleSize, &size, bytes.data()) != MP4_OK) return;
    Ignore(from.GetSampleDecodingTime(sample, &decoding));
    Ignore(from.GetSampleCompositionTime(sample, &composition));
    if (to.WriteSample(bytes.data(), size, decoding, composition, sample % 12 == 1) != MP4_OK) return;
  }
}

// Answers whether there is a complete copy, which has the next index of the new file.
bool CopyTrack(CMp4Track& from, CMp4File& output) {
  u32 kind = 0, timeScale = 0;
  Ignore(from.GetTrackType(&kind));
  Ignore(from.GetTimeScale(&timeScale));
  if (kind != MP4_KIND_VIDEO && kind != MP4_KIND_AUDIO) kind = MP4_KIND_TEXT;
  CMp4Track* added = nullptr;
  Require(output.AddTrack(&added) == MP4_OK, "add a track");
  std::unique_ptr<CMp4Track> track(added);
  Ignore(track->SetTrackType(kind));
  Ignore(track->SetTimeScale(timeScale));
  SetFormat(from, *track, kind);
  CopySamples(from, *track);
  if (output.CloseTrack(track.get()) != MP4_OK) return false;
  static_cast<void>(track.release());
  return true;
}

void HintTrack(CMp4File& output, u32 media, u32 choice) {
  constexpr std::array<u16, 4> kPacketSizes = {500, 60, 5, 65535};
  CMp4HintTrack* added = nullptr;
  Require(output.AddHintTrack(&added, choice % 4) == MP4_OK, "add a hint track");
  std::unique_ptr<CMp4HintTrack> track(added);
  Ignore(track->AddReferencedTrack(media));
  if (choice % 16 == 7) Ignore(track->AddReferencedTrack(1));
  Ignore(track->SetMaxPacketSize(kPacketSizes[choice / 4 % 4]));
  if (choice & 16) Ignore(track->SetMaxSamplesPerPacket(1 + choice % 7));
  if (choice & 32) Ignore(track->SetRtpTimeScale(choice * 1000));
  if (output.CloseHintTrack(track.get()) == MP4_OK) static_cast<void>(track.release());
}

void CheckText(std::string_view text) {
  Require(text.ends_with("\r\n"), "a session description ends with a line");
}

// The hints of one track, if it is a hint track: all of them can be read.
void CheckHints(CMp4File& file, u32 index) {
  CMp4HintTrack* opened = nullptr;
  if (file.OpenHintTrack(index, &opened) != MP4_OK) return;
  const std::unique_ptr<CMp4HintTrack> hints(opened);
  u32 count = 0;
  Require(OpenTrack(file, index)->GetSampleCount(&count) == MP4_OK, "count");
  for (u32 sample = 1; sample <= count; ++sample) {
    Require(hints->DumpHintSample(sample) == MP4_OK, "a hint sample that was written is read");
  }
  std::vector<char> text(1 << 18);
  Require(hints->GetTrackSdp(text.data(), static_cast<u32>(text.size())) == MP4_OK,
          "a track has a description");
  CheckText(text.data());
}

void CheckFile(const std::string& name, u32 fileType) {
  const auto file = MakeFile();
  Require(file->Open(name.c_str(), MP4_MODE_READ, fileType) == MP4_OK, "what was closed opens");
  u32 count = 0;
  Ignore(file->GetTrackCount(&count));
  for (u32 index = 1; index <= count; ++index) CheckHints(*file, index);
  std::vector<char> text(1 << 20);
  if (file->GetMovieSdp(text.data(), static_cast<u32>(text.size())) == MP4_OK) CheckText(text.data());
  Ignore(file->Dump());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size) {
  if (size <= kChoice) return 0;
  kt::fuzz::SilenceStandardOutput();
  const u32 choice = data[kChoice];
  const auto input = MakeFile();
  if (input->Open(kt::fuzz::NameOfFileWith(data, size).c_str(), MP4_MODE_READ, MP4_TYPE_MP4) != MP4_OK)
    return 0;
  const u32 fileType = choice >> 6 & 1;
  const std::string name = kt::fuzz::NameOfSecondFile();
  const auto output = MakeFile();
  Require(output->Open(name.c_str(), MP4_MODE_WRITE, fileType) == MP4_OK, "open to write");
  u32 copies = 0;
  for (u32 index = 1; index <= kMaxTracks; ++index) {
    const auto track = OpenTrack(*input, index);
    if (track == nullptr) continue;
    if (!CopyTrack(*track, *output)) return 0;
    ++copies;
  }
  for (u32 media = 1; media <= copies; ++media) HintTrack(*output, media, choice + media);
  if (choice & 128) Ignore(output->AddSceneTracks(1, 2, 3));
  Mp4Result closed = output->Close();
  if (closed == MP4_NO_SCENE_TRACKS && output->AddSceneTracks(1 + choice % 3, 1, 2) == MP4_OK) {
    closed = output->Close();
  }
  if (closed == MP4_OK && copies > 0) CheckFile(name, fileType);
  return 0;
}

// Presents the input as a file, opens it and asks everything that a reader can ask: every track's facts, its
// samples, their times, the three searches, the dump. By the input's size it is a file or the bytes at hand.
// Linux only: the file is one in memory.

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <ktmp4/mp4_file.h>
#include <ktmp4/mp4_hint_track.h>
#include <ktmp4/sample_info.h>
#include <ktmp4/track_presentation.h>
#include "fuzz/memory_file.h"

namespace {

using namespace kt;
using kt::fuzz::Ignore;
using kt::fuzz::Require;

constexpr u32 kMaxTracks = 40;
constexpr u32 kFirstSamples = 300;
constexpr u32 kLastSamples = 20;
constexpr u32 kMaxSampleBuffer = 1 << 17;

// What an operation answers is of no interest here; that it comes back is.
template <class Source>
void AskCopyrights(Source* source) {
  for (const u32 index : {0u, 1u, 2u}) {
    char language[3];
    u32 size = 0;
    if (source->GetCopyright(language, nullptr, &size, index) != MP4_OK) continue;
    const auto notice = std::make_unique<char[]>(size);
    Ignore(source->GetCopyright(language, notice.get(), &size, index));
    Require(size == 0 || notice[size - 1] == 0, "a notice ends with a zero byte");
  }
}

template <class Source>
void AskDate(Source* source) {
  u32 part[6] = {};
  Ignore(source->GetCreationDate(&part[0], &part[1], &part[2], &part[3], &part[4], &part[5]));
}

void AskFacts(CMp4Track* track) {
  u16 narrow[2] = {};
  u32 wide[2] = {};
  u64 duration = 0;
  Ignore(track->GetTrackType(&wide[0]));
  Ignore(track->GetSampleFormat(&wide[0]));
  Ignore(track->GetTrackId(&wide[0]));
  Ignore(track->GetTimeScale(&wide[0]));
  Ignore(track->GetDuration(&duration));
  Ignore(track->GetDimensions(&wide[0], &wide[1]));
  Ignore(track->GetVideoSize(&narrow[0], &narrow[1]));
  Ignore(track->GetChannelCount(&narrow[0]));
  Ignore(track->GetSampleRate(&wide[0]));
  char language[4];
  i32 matrix[9];
  Ignore(GetTrackLanguage(track, language));
  Ignore(GetTrackMatrix(track, matrix));
  AskDate(track);
  AskCopyrights(track);
  for (const u32 entry : {0u, 1u, 2u, 3u}) {
    u32 size = 0;
    if (track->GetDecoderSpecificInfoSize(entry, &size) != MP4_OK) continue;
    const auto info = std::make_unique<u8[]>(size);
    Ignore(track->GetDecoderSpecificInfo(entry, size, &size, info.get()));
    if (size > 0) Ignore(track->GetDecoderSpecificInfo(entry, size - 1, &size, info.get()));
  }
}

void ReadSample(CMp4Track* track, u32 sample) {
  u32 size = 0;
  if (track->GetSampleSize(sample, &size) != MP4_OK) size = 0;
  // Exactly as large as the sample, so that a byte too much is seen.
  const u32 capacity = std::min(size, kMaxSampleBuffer);
  const auto buffer = std::make_unique<u8[]>(capacity);
  u32 read = 0;
  if (track->ReadSample(sample, capacity, &read, buffer.get()) == MP4_OK) {
    Require(read == size, "a sample that was read has the size that was told");
  }
  SampleInfo told;
  SampleInfo info;
  if (ReadSampleAndInfo(track, sample, capacity, buffer.get(), &info) != MP4_OK) return;
  Require(GetSampleInfo(track, sample, &told) == MP4_OK, "what comes with the bytes is told without them");
  Require(info.size == told.size && info.decodingTime == told.decodingTime &&
              info.compositionTime == told.compositionTime,
          "and is the same");
}

// In one call there is what there is in three.
void AskInfo(CMp4Track* track, u32 sample) {
  SampleInfo info;
  SampleInfo single;
  Mp4Result result = track->GetSampleSize(sample, &single.size);
  if (result == MP4_OK) result = track->GetSampleDecodingTime(sample, &single.decodingTime);
  if (result == MP4_OK) result = track->GetSampleCompositionTime(sample, &single.compositionTime);
  Require(GetSampleInfo(track, sample, &info) == result, "one call answers what three do");
  if (result != MP4_OK) return;
  Require(info.size == single.size && info.decodingTime == single.decodingTime &&
              info.compositionTime == single.compositionTime,
          "one call tells what three do");
}

void AskTimes(CMp4Track* track, u32 sample, std::vector<u64>* times) {
  u64 decoding = 0;
  u64 composition = 0;
  u64 again = 0;
  const Mp4Result result = track->GetSampleDecodingTime(sample, &decoding);
  if (result == MP4_OK) times->push_back(decoding);
  if (track->GetSampleCompositionTime(sample, &composition) == MP4_OK) times->push_back(composition);
  Require(track->GetSampleDecodingTime(sample, &again) == result, "asking twice gives the same answer");
  Require(again == decoding, "asking twice gives the same time");
}

void Search(CMp4Track* track, u64 time) {
  u32 sample = 0;
  Ignore(track->FindSampleByCompositionTime(time, &sample));
  Ignore(track->FindSyncSample(time, &sample));
  Ignore(track->FindSampleByDecodingTime(time, &sample));
}

std::vector<u32> SamplesOfInterest(u32 count) {
  std::vector<u32> samples;
  for (u32 sample = 0; sample <= std::min(count, kFirstSamples); ++sample) samples.push_back(sample);
  for (u32 back = 0; back < std::min(count, kLastSamples); ++back) samples.push_back(count - back);
  for (const u32 sample : {count / 2, count + 1, 0x7FFFFFFFu, 0xFFFFFFFEu, 0xFFFFFFFFu, 1u}) {
    samples.push_back(sample);
  }
  return samples;
}

void Exercise(CMp4Track* track) {
  AskFacts(track);
  u32 count = 0;
  Ignore(track->GetSampleCount(&count));
  std::vector<u64> times = {0, 1, 0x7FFFFFFF, 0xFFFFFFFF, ~u64{0} >> 1, ~u64{0}};
  for (const u32 sample : SamplesOfInterest(count)) {
    ReadSample(track, sample);
    AskTimes(track, sample, &times);
    AskInfo(track, sample);
  }
  const std::size_t step = times.size() / 60 + 1;
  for (std::size_t i = 0; i < times.size(); i += step) {
    Search(track, times[i]);
    Search(track, times[i] - 1);
    Search(track, times[times.size() - 1 - i] + 1);
  }
}

void AskFile(CMp4File* file) {
  u32 value = 0;
  Ignore(file->IsOpen(&value));
  Ignore(file->GetMovieTimeScale(&value));
  Ignore(file->GetFileType(&value));
  AskDate(file);
  AskCopyrights(file);
  char text[64];
  Ignore(file->GetMovieSdp(text, sizeof(text)));
}

// Most tracks are no hint tracks, and say so.
void AskHints(CMp4File* file, u32 index) {
  CMp4HintTrack* opened = nullptr;
  const Mp4Result result = file->OpenHintTrack(index, &opened);
  Require((result == MP4_OK) == (opened != nullptr), "a hint track that opens is there");
  const std::unique_ptr<CMp4HintTrack> hints(opened);
  if (!hints) return;
  char text[64];
  u32 id = 0;
  u64 time = 0;
  Ignore(hints->GetTrackSdp(text, sizeof(text)));
  Ignore(GetReferencedTrack(hints.get(), 1, &id));
  for (u32 sample = 0; sample <= kLastSamples; ++sample) {
    Ignore(hints->GetPacketTime(sample, &time));
    Ignore(hints->DumpHintSample(sample));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size) {
  kt::fuzz::SilenceStandardOutput();
  CMp4File* made = nullptr;
  const bool isAtHand = (size & 2) != 0;
  Require((isAtHand ? CreateMp4FileOver(data, size, &made) : CreateMp4File(&made)) == MP4_OK, "create");
  const std::string name = isAtHand ? "" : kt::fuzz::NameOfFileWith(data, size);
  const std::unique_ptr<CMp4File> file(made);
  Ignore(file->SetTraceLevel(size & 1));
  const Mp4Result opened = file->Open(name.c_str(), MP4_MODE_READ, static_cast<u32>(size % 3));
  AskFile(file.get());
  // A refused file has a partial tree, of which tracks can still be asked for.
  u32 count = 0;
  Ignore(file->GetTrackCount(&count));
  std::vector<CMp4Track*> left;
  for (u32 index = 0; index <= std::min(count, kMaxTracks) + 1; ++index) {
    CMp4Track* track = nullptr;
    if (file->OpenTrack(index, &track) != MP4_OK) continue;
    Exercise(track);
    AskHints(file.get(), index);
    if (index % 2 == 0) {
      Require(file->CloseTrack(track) == MP4_OK, "a track that is read closes");
    } else {
      left.push_back(track);
    }
  }
  Ignore(file->Dump());
  Require(file->Close() == (opened == MP4_OK ? MP4_OK : MP4_NOT_FOUND), "close");
  // Tracks outlive a file that was closed.
  for (CMp4Track* track : left) {
    if (opened == MP4_OK) {
      u64 time = 0;
      Require(track->GetSampleDecodingTime(1, &time) == MP4_NOT_READY, "a track without a file");
    }
    AskFacts(track);
    Require(file->CloseTrack(track) == MP4_OK, "a track that was left closes");
  }
  return 0;
}

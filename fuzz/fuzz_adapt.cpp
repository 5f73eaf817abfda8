// Presents the input as a file and opens it adapted. What comes out has to be what it promises: an image that
// is in proportion to the input, that the strict reader takes without falling back to the file, and of which
// every track binds; times in order; sample entries that can be read to their last byte. By the input's size
// it is opened as a file or as the bytes at hand. Linux only: the file is one in memory.

#include <algorithm>
#include <memory>
#include <string>

#include <ktmp4/adapting_file.h>
#include "adapt/adapted_file.h"
#include "fuzz/memory_file.h"

namespace {

using namespace kt;
using kt::fuzz::Ignore;
using kt::fuzz::Require;

constexpr u32 kMostAsked = 200;
constexpr u32 kMostSamples = 2000;
constexpr u32 kLargestSample = 1 << 17;

void AskSample(CMp4Track* track, u32 sample, u64* before) {
  u64 decoding = 0;
  u64 composition = 0;
  u32 size = 0;
  u32 read = 0;
  u32 sync = 0;
  Require(track->GetSampleSize(sample, &size) == MP4_OK, "every sample has a size");
  Require(track->GetSampleDecodingTime(sample, &decoding) == MP4_OK, "every sample is decoded");
  Require(track->GetSampleCompositionTime(sample, &composition) == MP4_OK, "every sample is shown");
  Require(decoding <= composition && *before <= decoding, "times are in order");
  *before = decoding;
  // Exactly as large as the sample, so that a byte too much is seen.
  const u32 capacity = std::min(size, kLargestSample);
  const auto buffer = std::make_unique<u8[]>(capacity);
  if (track->ReadSample(sample, capacity, &read, buffer.get()) == MP4_OK) {
    Require(read == size, "a sample that was read has the size that was told");
  }
  if (sample <= kMostAsked) Ignore(track->FindSyncSample(composition, &sync));
}

void AskTrack(CMp4Track* track) {
  u32 count = 0;
  u32 size = 0;
  u64 before = 0;
  u64 duration = 0;
  Require(track->GetSampleCount(&count) == MP4_OK, "a bound track counts its samples");
  for (u32 sample = 1; sample <= std::min(count, kMostSamples); ++sample) AskSample(track, sample, &before);
  Require(track->GetSampleSize(count + 1, &size) != MP4_OK, "no sample has a size alone");
  Ignore(track->GetDuration(&duration));
  if (track->GetDecoderSpecificInfoSize(1, &size) != MP4_OK) return;
  const auto info = std::make_unique<u8[]>(size);
  Ignore(track->GetDecoderSpecificInfo(1, size, &size, info.get()));
}

// The boxes behind the fields of each entry are memory of the file object, to the last byte.
void AskEntries(CMp4File* file, u32 track) {
  AdaptedEntry entry;
  for (u32 index = 1; GetAdaptedEntry(file, track, index, &entry) == MP4_OK; ++index) {
    Require(entry.position == track && entry.index == index, "an entry is the one that was asked for");
    const volatile u8* const boxes = entry.boxes;
    for (u32 i = 0; i < entry.boxesSize; ++i) static_cast<void>(boxes[i]);
  }
}

// Tells how many tracks the file object has to have.
u32 AskAdapting(CMp4File* file, const CAdaptedFile& adapted) {
  u32 count = 0;
  u32 kept = 0;
  Require(GetAdaptedTrackCount(file, &count) == MP4_OK, "an image is not refused");
  Require(count == adapted.TrackCount(), "adapting twice finds the same tracks");
  AdaptedTrack track;
  for (u32 position = 1; position <= count; ++position) {
    Require(GetAdaptedTrack(file, position, &track) == MP4_OK, "every track has its story");
    Require(track.notes == adapted.Track(position - 1).notes, "adapting twice tells the same");
    kept += track.position != 0 ? 1 : 0;
  }
  Require(GetAdaptedTrack(file, count + 1, &track) == MP4_NOT_FOUND, "there are no further tracks");
  return kept;
}

CAdaptedFile* Adapt(const std::string& name) {
  CStorage storage;
  auto adapted = std::make_unique<CAdaptedFile>();
  Require(storage.Open(name.c_str(), MP4_MODE_READ) == MP4_OK, "open");
  const Mp4Result result = adapted->Read(&storage);
  Require(storage.Close() == MP4_OK, "close");
  return result == MP4_OK ? adapted.release() : nullptr;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size) {
  const std::string name = kt::fuzz::NameOfFileWith(data, size);
  const std::unique_ptr<CAdaptedFile> adapted(Adapt(name));
  if (adapted) {
    Require(adapted->ImageSize() <= (1u << 20) + 64 * size, "an image is in proportion to its file");
    adapted->ReleaseImage();
  }
  CMp4File* made = nullptr;
  Require(((size & 2) != 0 ? CreateAdaptingMp4FileOver(data, size, &made) : CreateAdaptingMp4File(&made)) ==
              MP4_OK,
          "create");
  const std::unique_ptr<CMp4File> file(made);
  const Mp4Result opened = file->Open(name.c_str(), MP4_MODE_READ, MP4_TYPE_MP4);
  Require(!adapted || opened == MP4_OK, "a file that was adapted opens");
  if (opened != MP4_OK) return 0;
  u32 tracks = 0;
  Ignore(file->GetTrackCount(&tracks));
  if (adapted) Require(AskAdapting(file.get(), *adapted) == tracks, "all tracks that were kept are there");
  for (u32 index = 1; index <= std::min(tracks, kMostAsked); ++index) {
    AskEntries(file.get(), index);
    CMp4Track* track = nullptr;
    const Mp4Result bound = file->OpenTrack(index, &track);
    Require(!adapted || bound == MP4_OK, "a track of an image opens");
    if (bound != MP4_OK) continue;
    if (adapted) AskTrack(track);
    Require(file->CloseTrack(track) == MP4_OK, "close");
  }
  return 0;
}

// Presents the input as a file and adapts it. What comes out has to be what it promises: an image that is in
// proportion to the input, that the strict reader opens, and of which it binds every track. Linux only: the
// files are in memory.

#include <algorithm>
#include <memory>
#include <vector>

#include <ktmp4/mp4_file.h>
#include "adapt/adapted_file.h"
#include "fuzz/memory_file.h"

namespace {

using namespace kt;
using kt::fuzz::Ignore;
using kt::fuzz::Require;

constexpr std::size_t kHeaderSize = 8;
constexpr u32 kMostAsked = 200;

// The input inside of a "free" box, so that the positions of its samples stay, and the image behind it.
std::vector<u8> WithImage(const u8* data, std::size_t size, const CAdaptedFile& adapted) {
  std::vector<u8> file(data, data + size);
  for (unsigned i = 0; i < 4; ++i) file[i] = static_cast<u8>(size >> (24 - 8 * i));
  std::copy_n("free", 4, file.begin() + 4);
  file.insert(file.end(), adapted.Image(), adapted.Image() + adapted.ImageSize());
  return file;
}

void AskSamples(CMp4Track* track) {
  u32 count = 0;
  u64 before = 0;
  Require(track->GetSampleCount(&count) == MP4_OK, "a bound track counts its samples");
  for (u32 sample = 1; sample <= std::min(count, kMostAsked); ++sample) {
    u64 decoding = 0;
    u64 composition = 0;
    u32 size = 0;
    u32 read = 0;
    Require(track->GetSampleSize(sample, &size) == MP4_OK, "every sample has a size");
    Require(track->GetSampleDecodingTime(sample, &decoding) == MP4_OK, "every sample is decoded");
    Require(track->GetSampleCompositionTime(sample, &composition) == MP4_OK, "every sample is shown");
    Require(decoding <= composition && before <= decoding, "times are in order");
    before = decoding;
    u8 buffer[64];
    if (size <= sizeof(buffer)) Ignore(track->ReadSample(sample, sizeof(buffer), &read, buffer));
  }
  u32 size = 0;
  Require(track->GetSampleSize(count + 1, &size) != MP4_OK, "no sample has a size alone");
}

void OpenStrictly(const std::vector<u8>& bytes, const CAdaptedFile& adapted) {
  CMp4File* made = nullptr;
  Require(CreateMp4File(&made) == MP4_OK, "create");
  const std::unique_ptr<CMp4File> file(made);
  const std::string name = kt::fuzz::NameOfFileWith(bytes.data(), bytes.size());
  Require(file->Open(name.c_str(), MP4_MODE_READ, MP4_TYPE_MP4) == MP4_OK,
          "the strict reader opens an image");
  u32 tracks = 0;
  u32 wanted = 0;
  for (u32 i = 0; i < adapted.TrackCount(); ++i) wanted += adapted.Track(i).position != 0 ? 1 : 0;
  Require(file->GetTrackCount(&tracks) == MP4_OK && tracks == wanted, "all tracks are there");
  for (u32 index = 1; index <= std::min(tracks, kMostAsked); ++index) {
    CMp4Track* track = nullptr;
    Require(file->OpenTrack(index, &track) == MP4_OK, "a track of an image opens");
    AskSamples(track);
    Require(file->CloseTrack(track) == MP4_OK, "close");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size) {
  if (size < kHeaderSize) return 0;
  CStorage storage;
  const std::string name = kt::fuzz::NameOfFileWith(data, size);
  Require(storage.Open(name.c_str(), MP4_MODE_READ) == MP4_OK, "open");
  CAdaptedFile adapted;
  const Mp4Result result = adapted.Read(&storage);
  Require(storage.Close() == MP4_OK, "close");
  if (result != MP4_OK) return 0;
  Require(adapted.ImageSize() <= (1u << 20) + 64 * size, "an image is in proportion to its file");
  OpenStrictly(WithImage(data, size, adapted), adapted);
  return 0;
}

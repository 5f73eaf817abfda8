#pragma once

#include <algorithm>
#include <string>

#include "adapt/adapted_file.h"
#include "support/movie_builder.h"
#include "support/open_storage.h"

namespace kt::test {

/// What the strict reader says of a track: each sample as "bytes decoding/composition", "*" behind sync
/// samples.
inline std::string SamplesOf(CMp4Track& track) {
  std::string text;
  const u32 count = Got(track, &CMp4Track::GetSampleCount);
  for (u32 sample = 1; sample <= count; ++sample) {
    const Bytes bytes = SampleOf(track, sample);
    const u64 composition = Got(track, &CMp4Track::GetSampleCompositionTime, sample);
    const bool isSync = Ask(track, &CMp4Track::FindSyncSample, composition).value == sample;
    text += (sample == 1 ? "" : " ") + std::string(bytes.begin(), bytes.end()) +
            std::to_string(Got(track, &CMp4Track::GetSampleDecodingTime, sample)) + "/" +
            std::to_string(composition) + (isSync ? "*" : "");
  }
  return text;
}

/// A file of these bytes, adapted and opened.
class Adapted {
 public:
  explicit Adapted(const Bytes& file) : m_bytes(file), m_file(file), result(image.Read(m_file)) {}
  explicit Adapted(const Track& track) : Adapted(MovieOf(track).Build()) {}

  /// A file that the strict reader takes: this one inside of a "free" box, so that its samples stay where
  /// they are, and the image behind it.
  Bytes Plain() const {
    Bytes file = WithDeclaredSize(m_bytes, static_cast<u32>(m_bytes.size()));
    std::copy_n("free", 4, file.begin() + 4);
    return file.Add({image.Image(), image.Image() + image.ImageSize()});
  }
  /// What the strict reader says of all tracks, one for each line; of a file that is not adapted the result.
  std::string Samples() const {
    if (result != MP4_OK) return Mp4ResultName(result);
    OpenedMovie movie(Plain());
    EXPECT_EQ(movie.result, MP4_OK);
    std::string text;
    const u32 tracks = Got(*movie, &CMp4File::GetTrackCount);
    for (u32 index = 1; index <= tracks; ++index)
      text += (index == 1 ? "" : "\n") + SamplesOf(*movie.OpenTrack(index));
    return text;
  }
  u32 Notes(u32 track = 0) { return image.Track(track).notes; }

 private:
  const Bytes m_bytes;
  FileOf<> m_file;

 public:
  CAdaptedFile image;
  const Mp4Result result;
};

}  // namespace kt::test
